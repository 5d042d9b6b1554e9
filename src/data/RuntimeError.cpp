#include <oquivran/RuntimeError.h>

namespace oquivran {

RuntimeError::RuntimeError(qint32 number, const QString& description, const QString& source,
                           const QString& nativeErrorCode)
    : number(number), description(description), source(source), nativeErrorCode(nativeErrorCode),
      m_what(description.toUtf8())
{
}

const char* RuntimeError::what() const noexcept
{
    return m_what.constData();
}

RuntimeError RuntimeError::typeMismatch(const QString& source)
{
    return RuntimeError(TypeMismatch, QStringLiteral("Type mismatch"), source);
}

RuntimeError RuntimeError::overflow(const QString& source)
{
    return RuntimeError(Overflow, QStringLiteral("Overflow"), source);
}

RuntimeError RuntimeError::noCurrentRecord(const QString& source)
{
    return RuntimeError(NoCurrentRecord, QStringLiteral("No current record."), source);
}

RuntimeError RuntimeError::userDefined(const QString& description, const QString& source)
{
    return RuntimeError(UserDefinedError, description, source);
}

} // namespace oquivran
