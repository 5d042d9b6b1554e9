#include <oquivran/SqlDataObject.h>

#include <oquivran/RuntimeError.h>

#include "SqliteDriver.h"
#include "StatementPipeline.h"

#include <utility>

#include <sqlite3.h>

namespace oquivran {

SqlDataObject::SqlDataObject(const QSqlDatabase& database)
    : m_driver(std::make_unique<SqliteDriver>(database)),
      m_pipeline(std::make_unique<StatementPipeline>(*m_driver))
{
}

SqlDataObject::~SqlDataObject() = default;

QSqlDatabase SqlDataObject::database() const
{
    return m_driver->database();
}

StatementPipeline& SqlDataObject::pipeline() const
{
    return *m_pipeline;
}

bool SqlDataObject::open(Recordset& rs)
{
    return m_pipeline->open(m_sql, rs);
}

bool SqlDataObject::forEachRow(const std::function<bool(const Recordset&)>& visit)
{
    return m_pipeline->forEachRow(m_sql, visit);
}

qint32 SqlDataObject::execute()
{
    return m_pipeline->execute(m_sql);
}

int SqlDataObject::lockWait() const
{
    return m_driver->lockWait();
}

void SqlDataObject::setLockWait(int milliseconds)
{
    m_driver->setLockWait(milliseconds);
}

bool SqlDataObject::isConflict(const RuntimeError& error) const
{
    bool whole = false;
    const int code = error.nativeErrorCode.toInt(&whole);
    // The extended codes keep the primary one in their low byte.
    return whole && ((code & 0xff) == SQLITE_BUSY || (code & 0xff) == SQLITE_LOCKED);
}

void SqlDataObject::transaction()
{
    m_pipeline->connection();
    sqlite3* db = m_driver->connection();
    sqlite3_busy_timeout(db, m_driver->lockWait());
    // IMMEDIATE takes the writer lock now, waiting up to the busy timeout: a unit's reads then
    // see every line committed before it, and no other unit can write until it ends.
    if (sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        m_driver->failWithMessage(db);
    m_driver->setUnit(db);
}

void SqlDataObject::commit()
{
    m_pipeline->connection();
    sqlite3* db = m_driver->connection();
    if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
        m_driver->failWithMessage(db);
    m_driver->setUnit(nullptr);
}

void SqlDataObject::rollback()
{
    sqlite3* unit = m_driver->unit();
    m_driver->setUnit(nullptr);
    if (!m_driver->isOpen())
        m_pipeline->release();
    sqlite3* db = m_driver->currentHandle();
    // Closing a connection undoes its unit, and so does SQLite after some errors.
    if (!db || (unit && unit != db) || sqlite3_get_autocommit(db))
        return;
    if (sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK)
        m_driver->failWithMessage(db);
}

} // namespace oquivran
