#pragma once

#include "SqlDialect.h"
#include "StatementDriver.h"
#include "StatementRewriter.h"

#include <QHash>
#include <QSqlDatabase>

struct pg_conn;
struct pg_result;

namespace oquivran {

class RuntimeError;

// PostgreSQL's part of the statement pipeline, through libpq on the connection of Qt's QPSQL
// driver: the session's settings, the text as the server runs it (StatementRewriter with the
// server's dialect, the column kinds read from its catalog), statements prepared on the
// server by name, values sent as text converted as the translation says, rows read whole or
// one by one (single-row mode), and values decoded by their type.
class PgDriver : public StatementDriver
{
public:
    // Needs a QPSQL connection; opens it on first use if it is closed.
    explicit PgDriver(const QSqlDatabase& database);

    bool isOpen() const override;
    // A connection that broke is opened again, unless a unit was open on it.
    Connection open() override;
    bool keepsStatementsAcrossChanges() const override { return true; }
    std::unique_ptr<PreparedStatement> prepareShared(const SqlLexer::Lexed& text,
                                                     qsizetype valueCount) override;
    std::unique_ptr<PreparedStatement> prepareOnce(const SqlLexer::Lexed& text) override;
    Ending query(PreparedStatement& statement, const QVariantList& values, Reading reading,
                 RowReceiver& receiver) override;
    Ending action(PreparedStatement& statement, const QVariantList& values,
                  qint32& changed) override;

    QSqlDatabase database() const { return m_database; }
    // The driver's connection as it stands, without opening it; null when it is closed.
    pg_conn* handle() const;
    // The server's failure of a result (null when the connection broke), with its SQLSTATE;
    // "08006" when the connection broke.
    RuntimeError serverError(pg_conn* connection, const pg_result* result) const;
    // Runs commands without values; throws the server's failure.
    void command(pg_conn* connection, const QByteArray& sql) const;
    // Runs a query of one row and one column and gives its text; throws the server's failure.
    QString value(pg_conn* connection, const char* sql) const;
    // Whether a unit of atomic writes is open: rows not read are then read and dropped rather
    // than cancelled, and a broken connection is not opened again.
    bool isInUnit() const { return m_inUnit; }
    void setInUnit(bool inUnit) { m_inUnit = inUnit; }
    // Whether statements named on connection (in the session with that backend) can be
    // deallocated now.
    bool canDeallocate(pg_conn* connection, int backend) const;

private:
    StatementRewriter::ColumnKind columnKind(pg_conn* connection, const QString& table,
                                             const QString& column);
    StatementRewriter::Translation translate(pg_conn* connection, const SqlLexer::Lexed& text);
    void finishQuery(pg_conn* connection);

    QSqlDatabase m_database;
    pg_conn* m_connection = nullptr; // the connection set up last
    int m_backend = 0;
    QHash<QString, StatementRewriter::ColumnKind> m_columnKinds;
    SqlDialect m_dialect = SqlDialect::postgresql();
    bool m_inUnit = false;
};

} // namespace oquivran
