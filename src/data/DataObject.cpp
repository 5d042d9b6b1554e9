#include <oquivran/DataObject.h>

#include <oquivran/Recordset.h>

namespace oquivran {

DataObject::~DataObject() = default;

void DataObject::setSql(const QString& sql)
{
    m_sql = sql;
}

bool DataObject::forEachRow(const std::function<bool(const Recordset&)>& visit)
{
    Recordset rs;
    if (!open(rs))
        return false;
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        if (!visit(rs))
            break;
    }
    return true;
}

} // namespace oquivran
