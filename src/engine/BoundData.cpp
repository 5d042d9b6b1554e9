#include "BoundData.h"

#include "ModuleState.h"
#include "WriteUnit.h"

#include <oquivran/DataObject.h>
#include <oquivran/RuntimeError.h>

namespace oquivran {

DataObject& BoundData::object(Database database)
{
    const ModuleState& state = moduleState();
    DataObject* data = database == Database::Discharge ? state.dataObject : state.secondDataObject;
    if (!data)
        throw RuntimeError(91, QStringLiteral("Object variable or With block variable not set"));
    return *data;
}

bool BoundData::open(const QString& sql, Recordset& rs, Database database)
{
    DataObject& data = object(database);
    data.setSql(sql);
    return data.open(rs);
}

bool BoundData::forEachRow(const QString& sql, const std::function<bool(const Recordset&)>& visit,
                           Database database)
{
    DataObject& data = object(database);
    data.setSql(sql);
    return data.forEachRow(visit);
}

qint32 BoundData::execute(const QString& sql, Database database)
{
    DataObject& data = object(database);
    if (database == Database::Discharge)
        WriteUnit::checkWritable();
    data.setSql(sql);
    return data.execute();
}

} // namespace oquivran
