#pragma once

#include "BenchDatabase.h"

#include <oquivran/SqlDataObject.h>

#include <QString>

#include <memory>

struct sqlite3;

// One benchmark database opened twice: through the component (SqlDataObjects on QSQLITE
// connections, bound into the module state) and as plain SQLite connections for the floors.
// The discharge database is a working copy of the cached file, so the cache stays untouched.
class BenchSession
{
public:
    // Opens (generating when needed) the databases of `lines` stock lines under folder.
    BenchSession(int lines, const QString& folder);
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
    // The plain SQLite connections of the floors (with the component's SQL functions).
    sqlite3* floorDischarge() const { return m_floorDischarge; }
    sqlite3* floorHost() const { return m_floorHost; }
    // Runs a statement on the floor's discharge connection (setup and undo work).
    void floorExec(const QString& sql) const;

private:
    BenchDatabase m_database;
    QString m_workPath;
    QString m_dischargeName;
    QString m_hostName;
    std::unique_ptr<oquivran::SqlDataObject> m_dischargeData;
    std::unique_ptr<oquivran::SqlDataObject> m_hostData;
    sqlite3* m_floorDischarge = nullptr;
    sqlite3* m_floorHost = nullptr;
};
