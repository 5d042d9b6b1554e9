#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

// A statement of the tests' or the benchmarks' own, seeding or changing their data past the
// component. A run whose data cannot be written has nothing left worth checking or timing, so
// a failure ends it.
class TestStatement
{
public:
    // Runs sql on db with values bound to its placeholders in order. When it fails, aborts
    // the process (qFatal) with "<who> SQL failed: ", the statement and the database's
    // message.
    static void run(const QSqlDatabase& db, const QString& sql, const QVariantList& values,
                    const char* who)
    {
        QSqlQuery query(db);
        query.prepare(sql);
        for (const QVariant& value : values)
            query.addBindValue(value);
        if (!query.exec())
            qFatal("%s SQL failed: %s: %s", who, qPrintable(sql),
                   qPrintable(query.lastError().text()));
    }
};
