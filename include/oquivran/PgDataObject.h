#pragma once

#include <oquivran/DataObject.h>

#include <QSqlDatabase>

#include <memory>

namespace oquivran {

class StatementPipeline;

// A DataObject over a PostgreSQL connection opened with Qt's QPSQL driver; the statements run
// through libpq on the driver's connection. It makes the component's SQL text run on
// PostgreSQL as the component writes it, with the results SqlDataObject gives on SQLite:
// - cdbl('…') and datevalue('…') are read here by the user's locale and sent as a number and
//   a date; format(value, pattern) rounds the component's way (oquivran_format, installed by
//   the PostgreSQL schema script) and gives text with the locale's decimal separator; a number
//   or date written as locale text into a real or date column is stored as a number or date;
// - "select top N ..." runs as "... limit N";
// - fields are found whatever their case (the server gives unquoted names in lower case);
// - exactly one statement runs per call;
// - statements that differ only in their values are prepared once on the connection and
//   reused with the values bound.
// A connection that broke (the server restarted, the network failed) is opened again on the
// next call; the call that met the break throws with the server's message. Use it only from
// the thread that opened the connection.
// Its login role needs the rights of oquivran_operador (roles-postgresql.sql, createRoles()):
// the component's statements, the stock locks (advisory locks, which need no right) and the
// catalog reads it makes (column types, the current schema) need no more; a statement the
// role may not run throws RuntimeError with SQLSTATE 42501.
class PgDataObject : public DataObject
{
public:
    // Needs a QPSQL connection; opens it on first use if it is closed.
    explicit PgDataObject(const QSqlDatabase& database);
    ~PgDataObject() override;
    PgDataObject(const PgDataObject&) = delete;
    PgDataObject& operator=(const PgDataObject&) = delete;

    bool open(Recordset& rs) override;
    qint32 execute() override;
    // Reads rows only as visit asks for them (libpq's single-row mode); when visit stops
    // early, the rows not yet received are not waited for (the query is cancelled, except
    // inside a unit, where the rest is read and dropped). A statement run through this object
    // from inside visit throws RuntimeError.
    bool forEachRow(const std::function<bool(const Recordset&)>& visit) override;

    // A unit of atomic writes at the SERIALIZABLE isolation level: of two units that read and
    // write the same stock line at the same time, one commits and the other fails (at a write
    // or at commit()) with the server's message and SQLSTATE 40001 and is undone, unless
    // lockStock() made them run one after the other. A statement of a unit waits for another's
    // row lock at most lockWait(), then fails with 55P03. commit() of a unit in which a
    // statement failed undoes it and throws. rollback() on a connection that broke does
    // nothing (the server has undone the unit).
    void transaction() override;
    void commit() override;
    void rollback() override;

    // How long a unit may wait for other operators' units, in milliseconds (5000 unless set).
    int lockWait() const override;
    void setLockWait(int milliseconds);
    // Serialization failures (40001), deadlocks (40P01) and lock waits that ran out (55P03).
    bool isConflict(const RuntimeError& error) const override;
    // Takes the server's advisory lock of each input (in one order for every client, so that
    // two units cannot deadlock on them) on this connection's session, waiting at most
    // milliseconds; throws RuntimeError 55P03 when the wait runs out. Taken before the unit's
    // transaction starts, so that the unit sees what the units before it committed.
    void lockStock(const QStringList& inputCodes, int milliseconds) override;
    void unlockStock() override;

    // The connection this object runs on.
    QSqlDatabase database() const;
    // The statement pipeline this object runs text through. The component runs its own
    // statements of the discharge loop and of the reports' walk over items and sub-items
    // through it directly, built already shared, so that their text is not written only to be
    // read back; sql() is then left empty, or holds the statement's text when it failed.
    StatementPipeline& pipeline() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace oquivran
