#include "Schema.h"

#include <oquivran/RuntimeError.h>
#include <oquivran/Schema.h>

#include "SchemaScripts.h"

#include <QSqlError>
#include <QSqlQuery>

namespace oquivran {

namespace {

// The statements of a script: ";" ends one outside quotes, "$$" bodies and a trigger's
// BEGIN ... END; comments are left out.
QStringList split(const QString& text)
{
    QStringList statements;
    QString current;
    const auto finish = [&] {
        const QString statement = current.trimmed();
        if (!statement.isEmpty())
            statements.append(statement);
        current.clear();
    };
    QChar quote;
    bool inBody = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (quote.isNull() && c == u'$' && i + 1 < text.size() && text.at(i + 1) == u'$') {
            inBody = !inBody;
            current += QStringLiteral("$$");
            ++i;
            continue;
        }
        if (inBody) {
            current += c;
            continue;
        }
        if (!quote.isNull()) {
            current += c;
            if (c == quote)
                quote = QChar();
            continue;
        }
        if (c == u'-' && i + 1 < text.size() && text.at(i + 1) == u'-') {
            // A comment runs to the end of its line and is left out.
            while (i + 1 < text.size() && text.at(i + 1) != u'\n')
                ++i;
            continue;
        }
        if (c == u';') {
            // A trigger's body holds statements of its own, up to its END.
            const QString sofar = current.trimmed();
            if (sofar.startsWith(QStringLiteral("CREATE TRIGGER"), Qt::CaseInsensitive) &&
                !sofar.endsWith(QStringLiteral("END"), Qt::CaseInsensitive)) {
                current += c;
                continue;
            }
            finish();
            continue;
        }
        if (c == u'\'' || c == u'"')
            quote = c;
        current += c;
    }
    finish();
    return statements;
}

// Runs the statements in order; the first that fails ends the run with the database's message.
void run(const QSqlDatabase& connection, const QStringList& statements)
{
    for (const QString& statement : statements) {
        QSqlQuery query(connection);
        if (!query.exec(statement))
            throw RuntimeError(DatabaseError, query.lastError().text(), QStringLiteral("Schema"));
    }
}

} // namespace

QString Schema::script(Database database, Server server)
{
    const bool postgresql = server == Server::PostgreSQL;
    switch (database) {
    case Database::Discharge:
        return QString::fromUtf8(postgresql ? schema_scripts::postgresqlDischarge
                                            : schema_scripts::discharge);
    case Database::Host:
        return QString::fromUtf8(postgresql ? schema_scripts::postgresqlHost
                                            : schema_scripts::host);
    case Database::Audit:
        return QString::fromUtf8(postgresql ? schema_scripts::postgresqlAudit
                                            : schema_scripts::audit);
    }
    return QString();
}

QStringList Schema::statements(Database database, Server server)
{
    QStringList all;
    if (server == Server::PostgreSQL)
        all = split(QString::fromUtf8(schema_scripts::postgresqlFunctions));
    all += split(script(database, server));
    return all;
}

Schema::Server Schema::serverOf(const QSqlDatabase& connection)
{
    return connection.driverName() == u"QPSQL" ? Server::PostgreSQL : Server::SQLite;
}

void Schema::create(const QSqlDatabase& connection, Database database)
{
    run(connection, statements(database, serverOf(connection)));
}

QString Schema::rolesScript()
{
    return QString::fromUtf8(schema_scripts::postgresqlRoles);
}

void Schema::createRoles(const QSqlDatabase& connection)
{
    // SQLite has no roles: whoever can open its file can write it.
    if (serverOf(connection) != Server::PostgreSQL)
        throw RuntimeError(DatabaseError,
                           QStringLiteral("Roles exist only on PostgreSQL (a QPSQL connection)"),
                           QStringLiteral("Schema"));
    run(connection, split(rolesScript()));
}

void createRoles(const QSqlDatabase& connection)
{
    Schema::createRoles(connection);
}

void createTables(const QSqlDatabase& connection, SchemaDatabase database)
{
    switch (database) {
    case SchemaDatabase::Discharge:
        return Schema::create(connection, Schema::Database::Discharge);
    case SchemaDatabase::Host:
        return Schema::create(connection, Schema::Database::Host);
    case SchemaDatabase::AuditTrail:
        return Schema::create(connection, Schema::Database::Audit);
    }
}

} // namespace oquivran
