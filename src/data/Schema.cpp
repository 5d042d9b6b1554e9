#include "Schema.h"

#include <oquivran/RuntimeError.h>

#include "SchemaScripts.h"

#include <QSqlError>
#include <QSqlQuery>

namespace oquivran {

QString Schema::script(Database database)
{
    switch (database) {
    case Database::Discharge:
        return QString::fromUtf8(schema_scripts::discharge);
    case Database::Host:
        return QString::fromUtf8(schema_scripts::host);
    }
    return QString();
}

QStringList Schema::statements(Database database)
{
    const QString text = script(database);
    QStringList statements;
    QString current;
    const auto finish = [&] {
        const QString statement = current.trimmed();
        if (!statement.isEmpty())
            statements.append(statement);
        current.clear();
    };
    QChar quote;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
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

void Schema::create(const QSqlDatabase& connection, Database database)
{
    for (const QString& statement : statements(database)) {
        QSqlQuery query(connection);
        if (!query.exec(statement))
            throw RuntimeError(DatabaseError, query.lastError().text(), QStringLiteral("Schema"));
    }
}

} // namespace oquivran
