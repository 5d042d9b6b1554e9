#include <oquivran/DataObject.h>

namespace oquivran {

DataObject::~DataObject() = default;

void DataObject::setSql(const QString& sql)
{
    m_sql = sql;
}

} // namespace oquivran
