#pragma once

#include "StatementDriver.h"

#include <QSqlDatabase>

struct sqlite3;

namespace oquivran {

// SQLite's part of the statement pipeline, on the connection of Qt's QSQLITE driver: the
// component's SQL functions and the connection's settings, the text as SQLite runs it
// (StatementRewriter, DisjunctionPlanner), binding, stepping and reading values (DATE columns
// as QDate).
class SqliteDriver : public StatementDriver
{
public:
    // Needs a QSQLITE connection; opens it on first use if it is closed.
    explicit SqliteDriver(const QSqlDatabase& database);

    bool isOpen() const override;
    // Also throws when a unit open on the connection was undone under it.
    Connection open() override;
    void released(const Connection& connection) override;
    bool keepsStatementsAcrossChanges() const override { return false; }
    std::unique_ptr<PreparedStatement> prepareShared(const SqlLexer::Lexed& text,
                                                     qsizetype valueCount) override;
    std::unique_ptr<PreparedStatement> prepareOnce(const SqlLexer::Lexed& text) override;
    Ending query(PreparedStatement& statement, const QVariantList& values, Reading reading,
                 RowReceiver& receiver) override;
    Ending action(PreparedStatement& statement, const QVariantList& values,
                  qint32& changed) override;

    QSqlDatabase database() const { return m_database; }
    // The connection open() set up last.
    sqlite3* connection() const { return m_installedOn; }
    // The driver's connection as it stands, without opening it; null when it is closed.
    sqlite3* currentHandle() const;
    // Throws SQLite's message and extended code for the connection's last failure.
    [[noreturn]] void failWithMessage(sqlite3* connection) const;

    int lockWait() const { return m_lockWait; }
    // Also sets the busy timeout of the connection set up last.
    void setLockWait(int milliseconds);
    // The connection a unit of atomic writes is open on; null outside a unit.
    sqlite3* unit() const { return m_unit; }
    void setUnit(sqlite3* connection) { m_unit = connection; }

private:
    QSqlDatabase m_database;
    sqlite3* m_installedOn = nullptr;
    int m_lockWait = 5000;
    sqlite3* m_unit = nullptr;
};

} // namespace oquivran
