#pragma once

#include "PgTestDatabase.h"
#include "TempDatabase.h"

#include <oquivran/DataObject.h>
#include <oquivran/PgDataObject.h>
#include <oquivran/SqlDataObject.h>

#include <QSqlDatabase>

#include <memory>

// A test database on the server the run asks for: a new SQLite file, or, under
// OQUIVRAN_TEST_DATABASE=postgresql, a schema of its own on the throwaway PostgreSQL server.
class FixtureDatabase
{
public:
    explicit FixtureDatabase(const QString& fileName)
    {
        if (onPostgreSql())
            m_postgresql = std::make_unique<PgTestDatabase>();
        else
            m_sqlite = std::make_unique<TempDatabase>(fileName);
    }

    // True when the tests of this run go to PostgreSQL.
    static bool onPostgreSql() { return PgTestDatabase::requested(); }

    bool isOpen() const { return m_postgresql ? m_postgresql->isOpen() : m_sqlite->isOpen(); }
    QSqlDatabase database() const
    {
        return m_postgresql ? m_postgresql->database() : m_sqlite->database();
    }
    // The component's data object for this database: a PgDataObject or a SqlDataObject.
    std::unique_ptr<oquivran::DataObject> dataObject() const
    {
        if (m_postgresql)
            return std::make_unique<oquivran::PgDataObject>(database());
        return std::make_unique<oquivran::SqlDataObject>(database());
    }

    // Test-side SQL for the storage type of an expression, and the names it gives for a real
    // and a whole-number column.
    static QString typeOf(const QString& expression)
    {
        if (onPostgreSql())
            return u"pg_typeof(" + expression + u")::text";
        return u"typeof(" + expression + u')';
    }
    static QString realTypeName()
    {
        return onPostgreSql() ? QStringLiteral("double precision") : QStringLiteral("real");
    }
    static QString wholeTypeName() { return QStringLiteral("integer"); }

private:
    std::unique_ptr<TempDatabase> m_sqlite;
    std::unique_ptr<PgTestDatabase> m_postgresql;
};
