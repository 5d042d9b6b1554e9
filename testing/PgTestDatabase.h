#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

// A schema of its own on the throwaway PostgreSQL server of the test run
// (testing/postgresql_server.sh, whose connection $OQUIVRAN_TEST_POSTGRESQL names), with a
// QPSQL connection whose search path is that schema, so unqualified tables and the schema's
// functions are this database's alone. The schema is dropped when it is destroyed: destroy
// every copy of database() first.
class PgTestDatabase
{
public:
    // Creates the schema and opens the connection; isOpen() tells whether both worked, and a
    // warning says why not.
    PgTestDatabase();
    // Closes and removes the connection, then drops the schema.
    ~PgTestDatabase();
    PgTestDatabase(const PgTestDatabase&) = delete;
    PgTestDatabase& operator=(const PgTestDatabase&) = delete;

    // True when the run asks for PostgreSQL (OQUIVRAN_TEST_DATABASE=postgresql).
    static bool requested();

    // True when the schema was created and the connection opened.
    bool isOpen() const { return m_open; }
    // The connection, opened on the schema.
    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }
    // The connection's name, of this object alone.
    QString connectionName() const { return m_name; }
    // The schema's name; empty when there is no server or the schema could not be created.
    QString schema() const { return m_schema; }

    // "host=... port=... user=... dbname=..." of the throwaway server, split at blanks; empty,
    // with a warning, when there is none.
    static QStringList connectionSettings();
    // Sets host, port, user and database of a QPSQL connection from the settings.
    static void configure(QSqlDatabase& db, const QStringList& settings);
    // This test process's part of the names it gives on the shared server (databases, schemas,
    // roles): lowercase letters, digits and '_', the same all through the process, and unlike
    // any other process's of the run, Windows programs under Wine included.
    static QString processTag();

private:
    // Runs a statement on a connection of the test process's own, without a search path.
    static bool administer(const QString& sql);
    static QString nextName();

    QString m_name;
    QString m_schema;
    bool m_open = false;
};
