#include "StatementDriver.h"

#include <oquivran/RuntimeError.h>

#include <limits>

namespace oquivran {

StatementDriver::StatementDriver(const QString& source) : m_source(source) {}

StatementDriver::~StatementDriver() = default;

RuntimeError StatementDriver::error(const QString& description, const QString& code) const
{
    return RuntimeError(DatabaseError, description, m_source, code);
}

void StatementDriver::fail(const QString& description, const QString& code) const
{
    throw error(description, code);
}

void StatementDriver::released(const Connection&) {}

QVariant StatementDriver::wholeValue(qint64 value)
{
    if (value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max())
        return QVariant(int(value));
    return QVariant(qlonglong(value));
}

qint32 StatementDriver::recordCount(qint64 count)
{
    return qint32(qMin<qint64>(count, std::numeric_limits<qint32>::max()));
}

} // namespace oquivran
