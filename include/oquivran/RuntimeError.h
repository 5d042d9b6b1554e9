#pragma once

#include <QString>
#include <QtGlobal>

#include <exception>

namespace oquivran {

// Error numbers the component raises. A number outside this list comes from the database
// layer or from a host's own data-access object.
enum ErrorNumber : qint32 {
    InvalidProcedureCall = 5,
    Overflow = 6,
    TypeMismatch = 13,
    InternalError = 51,
    NoCurrentRecord = 3021,
    ItemNotFound = 3265,
    DatabaseError = qint32(0x80004005u),
    // Conditions the component detects itself; shown as -2147221504.
    UserDefinedError = qint32(0x80040000u),
};

// A run-time error as the component reports it: a number, a description for the operator and
// the source that raised it. Routines with a handler catch it and show the common error
// message; it only leaves the component from the few members documented as throwing.
class RuntimeError : public std::exception
{
public:
    RuntimeError(qint32 number, const QString& description, const QString& source = QString(),
                 const QString& nativeErrorCode = QString());

    // The description as UTF-8, for std::exception users.
    const char* what() const noexcept override;

    // Typical errors with their fixed descriptions.
    static RuntimeError typeMismatch(const QString& source = QString());
    static RuntimeError overflow(const QString& source = QString());
    static RuntimeError noCurrentRecord(const QString& source = QString());
    static RuntimeError userDefined(const QString& description, const QString& source);

    qint32 number;
    QString description;
    QString source;
    // The database's own code for the failure, as QSqlError::nativeErrorCode() gives it: the
    // SQLSTATE on PostgreSQL ("40001", "08006" for a connection that broke or could not be
    // opened), SQLite's extended result code as decimal text ("5" while the database is
    // locked); empty for errors that did not come from a database.
    QString nativeErrorCode;

private:
    QByteArray m_what;
};

} // namespace oquivran
