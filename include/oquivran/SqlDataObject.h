#pragma once

#include <oquivran/DataObject.h>

#include <QSqlDatabase>

#include <memory>

namespace oquivran {

class SqliteDriver;
class StatementPipeline;

// A DataObject over an SQLite connection opened with Qt's QSQLITE driver. It makes the
// component's SQL text run on SQLite as the component writes it:
// - installs the SQL functions cdbl(text), datevalue(text) and format(value, pattern) with the
//   component's number and date rules (format replaces SQLite's own);
// - runs "select top N ..." as "... limit N";
// - stores a number or date written as locale text into a column declared REAL, DOUBLE,
//   FLOAT, NUMERIC or DATE as a number or an ISO date, and reads DATE columns back as QDate;
// - reads the rows of a condition "key = v and (a = x or b = y)" by one index lookup per
//   branch rather than through every row that matches the keys (the same rows, changes and
//   order; rows the text does not order come in the table's order);
// - runs exactly one statement per call;
// - sets WAL, synchronous=NORMAL, a busy timeout and a page cache of up to 64 MB on the
//   connection;
// - runs a unit of atomic writes as BEGIN IMMEDIATE ... COMMIT, so the writer lock is taken
//   at the start of the unit and no other connection writes until it ends.
// Statements that differ only in their values are prepared once and kept on the connection
// (reset between uses, so they hold no lock).
// Functions and settings belong to a connection; they are installed again whenever the
// connection was reopened. Use it only from the thread that opened the connection.
class SqlDataObject : public DataObject
{
public:
    // Needs a QSQLITE connection; opens it on first use if it is closed.
    explicit SqlDataObject(const QSqlDatabase& database);
    ~SqlDataObject() override;

    bool open(Recordset& rs) override;
    qint32 execute() override;
    // Reads rows only as visit asks for them: a query stopped early costs only the rows it
    // gave. A statement run through this object from inside visit throws RuntimeError.
    bool forEachRow(const std::function<bool(const Recordset&)>& visit) override;

    // Starts a unit: waits up to lockWait() for the writer lock, then throws RuntimeError
    // "database is locked". Throws when a unit is already open on the connection.
    void transaction() override;
    // Ends the unit, keeping its statements. Throws with the database's message when the
    // commit fails; the unit is then still open and rollback() undoes it.
    void commit() override;
    // Ends the unit, undoing its statements. Nothing to undo (no unit open, or the database
    // already undid it after an error, or the connection was closed under it) is no error.
    void rollback() override;

    // How long transaction() waits for another connection's unit to end, in milliseconds
    // (5000 unless set). Statements outside a unit wait the same.
    int lockWait() const override;
    void setLockWait(int milliseconds);
    // "database is locked" (SQLITE_BUSY) and "database table is locked" (SQLITE_LOCKED),
    // with their extended codes.
    bool isConflict(const RuntimeError& error) const override;

    // The connection this object runs on.
    QSqlDatabase database() const;
    // The statement pipeline this object runs text through. The component runs its own
    // statements of the discharge loop and of the reports' walk over items and sub-items
    // through it directly, built already shared, so that their text is not written only to be
    // read back; sql() is then left empty, or holds the statement's text when it failed.
    StatementPipeline& pipeline() const;

private:
    // SQLite's part under the statement pipeline every data object shares.
    std::unique_ptr<SqliteDriver> m_driver;
    std::unique_ptr<StatementPipeline> m_pipeline;
};

} // namespace oquivran
