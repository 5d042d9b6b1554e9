#pragma once

#include <oquivran/DataObject.h>

#include <QSqlDatabase>

#include <memory>

struct sqlite3;

namespace oquivran {

class StatementCache;

// A DataObject over an SQLite connection opened with Qt's QSQLITE driver. It makes the
// component's SQL text run on SQLite as the component writes it:
// - installs the SQL functions cdbl(text), datevalue(text) and format(value, pattern) with the
//   component's number and date rules (format replaces SQLite's own);
// - runs "select top N ..." as "... limit N";
// - stores a number or date written as locale text into a column declared REAL, DOUBLE,
//   FLOAT, NUMERIC or DATE as a number or an ISO date, and reads DATE columns back as QDate;
// - runs exactly one statement per call;
// - sets WAL, synchronous=NORMAL, a busy timeout and a page cache of up to 64 MB on the
//   connection.
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

    // The connection this object runs on.
    QSqlDatabase database() const { return m_database; }

private:
    sqlite3* connection();
    // Lets go of the statements kept on a connection that was closed under them.
    void releaseStatements();

    QSqlDatabase m_database;
    sqlite3* m_installedOn = nullptr;
    bool m_visiting = false;
    std::unique_ptr<StatementCache> m_statements;
};

} // namespace oquivran
