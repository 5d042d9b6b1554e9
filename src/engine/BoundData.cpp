#include "BoundData.h"

#include "ModuleState.h"
#include "SharedStatement.h"
#include "StatementPipeline.h"
#include "WriteUnit.h"

#include <oquivran/DataObject.h>
#include <oquivran/PgDataObject.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/SqlDataObject.h>

#include <typeinfo>

namespace oquivran {

namespace {

// The pipeline of one of the component's own data objects; null for any other, a host's class
// derived from one included, whose own open() and execute() must see the text.
StatementPipeline* ownPipeline(const DataObject& data)
{
    const std::type_info& type = typeid(data);
    if (type == typeid(SqlDataObject))
        return &static_cast<const SqlDataObject&>(data).pipeline();
    if (type == typeid(PgDataObject))
        return &static_cast<const PgDataObject&>(data).pipeline();
    return nullptr;
}

// Runs a shared statement through the bound object: its pipeline, or its text.
template <typename Pipelined, typename AsText>
auto runShared(DataObject& data, const SharedStatement& statement, Pipelined pipelined,
               AsText asText)
{
    StatementPipeline* pipeline = ownPipeline(data);
    if (!pipeline) {
        data.setSql(statement.text());
        return asText();
    }
    // No text is set: the text of the statement before would be misleading.
    data.setSql(QString());
    try {
        return pipelined(*pipeline);
    } catch (const RuntimeError&) {
        data.setSql(statement.text());
        throw;
    }
}

} // namespace

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

bool BoundData::open(const SharedStatement& statement, Recordset& rs, Database database)
{
    DataObject& data = object(database);
    return runShared(
        data, statement, [&](StatementPipeline& pipeline) { return pipeline.open(statement, rs); },
        [&] { return data.open(rs); });
}

bool BoundData::forEachRow(const SharedStatement& statement,
                           const std::function<bool(const Recordset&)>& visit, Database database,
                           StatementDriver::Reading reading)
{
    DataObject& data = object(database);
    return runShared(
        data, statement,
        [&](StatementPipeline& pipeline) { return pipeline.forEachRow(statement, visit, reading); },
        [&] { return data.forEachRow(visit); });
}

qint32 BoundData::execute(const SharedStatement& statement, Database database)
{
    DataObject& data = object(database);
    if (database == Database::Discharge)
        WriteUnit::checkWritable();
    return runShared(
        data, statement, [&](StatementPipeline& pipeline) { return pipeline.execute(statement); },
        [&] { return data.execute(); });
}

} // namespace oquivran
