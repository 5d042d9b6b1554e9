#include <oquivran/DataObject.h>

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

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

namespace {

[[noreturn]] void refuseAtomicWrites()
{
    throw RuntimeError(DatabaseError,
                       QStringLiteral("The bound data object cannot run atomic writes"),
                       QStringLiteral("DataObject"));
}

} // namespace

void DataObject::transaction()
{
    refuseAtomicWrites();
}

void DataObject::commit()
{
    refuseAtomicWrites();
}

void DataObject::rollback()
{
    refuseAtomicWrites();
}

int DataObject::lockWait() const
{
    return 0;
}

bool DataObject::isConflict(const RuntimeError& error) const
{
    Q_UNUSED(error);
    return false;
}

void DataObject::lockStock(const QStringList& inputCodes, int milliseconds)
{
    Q_UNUSED(inputCodes);
    Q_UNUSED(milliseconds);
}

void DataObject::unlockStock() {}

} // namespace oquivran
