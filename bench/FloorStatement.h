#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

struct sqlite3;
struct sqlite3_stmt;
struct pg_conn;
struct pg_result;

// The plain connection a floor runs on: SQLite's C interface or libpq.
struct FloorConnection
{
    FloorConnection(sqlite3* db) : sqlite(db) {}
    FloorConnection(pg_conn* connection) : server(connection) {}
    sqlite3* sqlite = nullptr;
    pg_conn* server = nullptr;
};

// The floor of a benchmark: one statement of the component, as SQLite runs it, prepared once
// on a plain SQLite connection with its values as parameters. It is built from the text the
// component's own statement builder makes with marker values: every marker becomes a
// parameter, and the component's rewriting for SQLite is applied, so the floor runs the same
// SQL without any of the component's per-call work.
class FloorStatement
{
public:
    // markers: texts of the built statement that stand for values, as they appear in it
    // (quoted markers with their quotes); each occurrence becomes a parameter.
    // On PostgreSQL, the component's translation for PostgreSQL is prepared once on a plain
    // libpq connection and run with its values as parameters.
    FloorStatement(const FloorConnection& connection, const QString& builtSql,
                   const QStringList& markers);
    ~FloorStatement();
    FloorStatement(const FloorStatement&) = delete;
    FloorStatement& operator=(const FloorStatement&) = delete;

    // Sets the value of a marker (by its index in markers): text, whole number or real.
    void set(int marker, const QVariant& value);
    // Binds the values and steps once; true while a row came back. Call reset() when done.
    bool step();
    // Steps through every row reading each column, then resets; the number of rows.
    int drain();
    // Ends the current run so the statement can run again.
    void reset();
    // A column of the current row.
    double real(int column) const;
    QString text(int column) const;
    // The SQL text prepared.
    QString sql() const { return m_sql; }

private:
    // The text with a "?" for each marker.
    QString parameterized(const QString& builtSql, const QStringList& markers);
    void prepareOnSqlite(const QString& builtSql, const QStringList& markers);
    void prepareOnServer(const QString& builtSql, const QStringList& markers);
    void bindAll();
    void readRow() const;
    bool stepOnServer();

    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statement = nullptr;
    pg_conn* m_connection = nullptr;
    QByteArray m_name;
    std::vector<int> m_conversions; // StatementRewriter::Conversion of each parameter
    pg_result* m_result = nullptr;
    int m_row = -1;
    QString m_sql;
    std::vector<int> m_parameterMarkers;
    std::vector<QVariant> m_values;
    bool m_bound = false;
};
