#pragma once

#include "BenchDatabase.h"
#include "FloorStatement.h"

#include <oquivran/DataObject.h>

#include <QString>

#include <memory>

struct sqlite3;

// One benchmark database opened twice: through the component (SqlDataObjects on QSQLITE
// connections, bound into the module state) and as plain SQLite connections for the floors.
// The discharge database is a working copy of the cached file, so the cache stays untouched.
// On PostgreSQL (the server $OQUIVRAN_BENCH_POSTGRESQL names, "host=... port=... user=..."),
// the cached files are loaded once into a database of the server, which then holds both
// databases' tables; the component runs on PgDataObjects, the floors on libpq.
class BenchSession
{
public:
    enum class Server { SQLite, PostgreSQL };

    // Opens (generating when needed) the databases of `lines` stock lines under folder.
    BenchSession(int lines, const QString& folder, Server server = Server::SQLite);
    ~BenchSession();
    BenchSession(const BenchSession&) = delete;
    BenchSession& operator=(const BenchSession&) = delete;

    // Binds this session's data-access objects into a fresh module state with the given
    // quantity format (the second format is "00.000000").
    void bind(const QString& valueFormat) const;
    // Sets the sub-item the component works on.
    static void setSubItem(const QString& interno, qint16 subItem, const QString& product,
                           double quantity);

    int lines() const { return m_database.lines(); }
    // The plain connections of the floors (on SQLite with the component's SQL functions).
    FloorConnection floorDischarge() const;
    FloorConnection floorHost() const;
    // Runs a statement on the floor's discharge connection (setup and undo work).
    void floorExec(const QString& sql) const;
    // Runs a statement on the component's discharge connection, past its data object: the undo
    // work between the component's timed runs. On SQLite a connection empties its page cache
    // when another connection wrote since it last read, so work undone on the floor's
    // connection would leave the component's connection reading the database again while the
    // floor's, which undoes its own work, keeps its pages. On the server, as floorExec().
    void componentExec(const QString& sql) const;
    // Creates the audit trail's table (and on the server its functions) if missing. On SQLite
    // the trigger that refuses deleting its rows is left out, so that undoing a bench's
    // discharge can remove them.
    void createAuditTrail() const;

private:
    void openOnServer();

    BenchDatabase m_database;
    Server m_server;
    pg_conn* m_floorServer = nullptr;
    QString m_workPath;
    QString m_dischargeName;
    QString m_hostName;
    std::unique_ptr<oquivran::DataObject> m_dischargeData;
    std::unique_ptr<oquivran::DataObject> m_hostData;
    sqlite3* m_floorDischarge = nullptr;
    sqlite3* m_floorHost = nullptr;
};
