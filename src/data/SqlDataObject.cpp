#include <oquivran/SqlDataObject.h>

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include "DisjunctionPlanner.h"
#include "LiteralParameters.h"
#include "SqlLexer.h"
#include "SqliteFunctions.h"
#include "StatementCache.h"
#include "StatementRewriter.h"
#include "Visiting.h"

#include <QByteArray>
#include <QDate>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>

#include <limits>
#include <mutex>
#include <utility>

#include <sqlite3.h>

namespace oquivran {

namespace {

using ColumnKind = StatementRewriter::ColumnKind;

[[noreturn]] void fail(const QString& description, const QString& code = QString())
{
    throw RuntimeError(DatabaseError, description, QStringLiteral("SqlDataObject"), code);
}

// SQLite's message with its extended result code.
[[noreturn]] void failWithMessage(sqlite3* connection)
{
    fail(QString::fromUtf8(sqlite3_errmsg(connection)),
         QString::number(sqlite3_extended_errcode(connection)));
}

// The kind a declared column type stands for, by its first word: REAL, DOUBLE, FLOAT and
// NUMERIC hold numbers, DATE and DATETIME dates.
ColumnKind declaredKind(const char* declared)
{
    if (!declared)
        return ColumnKind::Other;
    QString word;
    for (const char* c = declared; *c; ++c) {
        const QChar ch = QChar::fromLatin1(*c);
        if (ch.isLetter()) {
            word += ch.toUpper();
        } else if (!word.isEmpty() || !ch.isSpace()) {
            break;
        }
    }
    if (word == u"REAL" || word == u"DOUBLE" || word == u"FLOAT" || word == u"NUMERIC")
        return ColumnKind::Real;
    if (word == u"DATE" || word == u"DATETIME")
        return ColumnKind::Date;
    return ColumnKind::Other;
}

// The declared kind of a column of a table ("table" or "schema.table"); Other when unknown.
ColumnKind columnKind(sqlite3* connection, const QString& table, const QString& column)
{
    QByteArray schema;
    QByteArray name = table.toUtf8();
    const qsizetype dot = table.lastIndexOf(u'.');
    if (dot > 0) {
        schema = table.left(dot).toUtf8();
        name = table.mid(dot + 1).toUtf8();
    }
    const char* declared = nullptr;
    const int rc = sqlite3_table_column_metadata(
        connection, schema.isEmpty() ? nullptr : schema.constData(), name.constData(),
        column.toUtf8().constData(), &declared, nullptr, nullptr, nullptr, nullptr);
    return rc == SQLITE_OK ? declaredKind(declared) : ColumnKind::Other;
}

// Connections that hold the functions. SQLite drops a connection's functions when it closes
// and then calls the marker's destructor, so a connection opened later at the same address is
// never taken for one that has them.
struct InstalledConnections
{
    std::mutex mutex;
    QSet<sqlite3*> connections;

    // Never destroyed: connections may close while the program exits.
    static InstalledConnections& instance()
    {
        static auto* installed = new InstalledConnections;
        return *installed;
    }
};

void forgetConnection(void* connection)
{
    InstalledConnections& installed = InstalledConnections::instance();
    const std::lock_guard lock(installed.mutex);
    installed.connections.remove(static_cast<sqlite3*>(connection));
}

void marker(sqlite3_context* context, int, sqlite3_value**)
{
    sqlite3_result_int(context, 1);
}

bool isInstalled(sqlite3* connection)
{
    InstalledConnections& installed = InstalledConnections::instance();
    const std::lock_guard lock(installed.mutex);
    return installed.connections.contains(connection);
}

void markInstalled(sqlite3* connection)
{
    // Defining the marker again destroys the previous one first, which forgets the connection.
    if (sqlite3_create_function_v2(connection, "oquivran_installed", 0, SQLITE_UTF8, connection,
                                   marker, nullptr, nullptr, forgetConnection) != SQLITE_OK)
        return;
    InstalledConnections& installed = InstalledConnections::instance();
    const std::lock_guard lock(installed.mutex);
    installed.connections.insert(connection);
}

// A prepared statement, finalized when it goes out of scope.
class Statement
{
public:
    Statement() = default;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(m_statement); }

    sqlite3_stmt* get() const { return m_statement; }
    sqlite3_stmt** out() { return &m_statement; }
    // Hands the statement over; this object then holds none.
    sqlite3_stmt* release() { return std::exchange(m_statement, nullptr); }

private:
    sqlite3_stmt* m_statement = nullptr;
};

bool onlySeparators(const char* begin, const char* end)
{
    for (const char* c = begin; c < end; ++c) {
        if (*c != ';' && *c != ' ' && *c != '\t' && *c != '\n' && *c != '\r' && *c != '\f' &&
            *c != '\v')
            return false;
    }
    return true;
}

// Prepares the first statement of begin..end, passing over text that holds none (blanks,
// comments, lone semicolons). Leaves `statement` empty when there is none; returns SQLite's
// result and moves begin past what was read.
int prepareNext(sqlite3* connection, const char*& begin, const char* end, Statement& statement)
{
    while (begin < end) {
        const char* rest = nullptr;
        const int rc =
            sqlite3_prepare_v2(connection, begin, int(end - begin), statement.out(), &rest);
        if (rc != SQLITE_OK)
            return rc;
        const bool moved = rest && rest > begin;
        if (moved)
            begin = rest;
        if (statement.get() || !moved)
            break;
    }
    return SQLITE_OK;
}

// Prepares the text, which must hold exactly one statement, as SQLite runs it.
void prepare(sqlite3* connection, const SqlLexer::Lexed& sql, Statement& statement)
{
    const StatementRewriter::Translation translation = StatementRewriter::translate(
        sql,
        [connection](const QString& table, const QString& column) {
            return columnKind(connection, table, column);
        },
        SqlDialect::sqlite());
    const QString& rewritten = translation.text;
    // A condition with a disjunction of keys is read by one index lookup per branch; a planned
    // text that does not prepare runs as written, and its errors read as they would.
    const QString planned =
        DisjunctionPlanner::plan(translation.lexed(), DisjunctionPlanner::catalogOf(connection));
    if (planned != rewritten) {
        const QByteArray text = planned.toUtf8();
        if (sqlite3_prepare_v2(connection, text.constData(), int(text.size()), statement.out(),
                               nullptr) == SQLITE_OK &&
            statement.get())
            return;
        sqlite3_finalize(statement.release());
    }
    const QByteArray text = rewritten.toUtf8();
    const char* begin = text.constData();
    const char* end = begin + text.size();
    if (prepareNext(connection, begin, end, statement) != SQLITE_OK)
        failWithMessage(connection);
    if (!statement.get())
        fail(QStringLiteral("No SQL statement to execute"));
    if (onlySeparators(begin, end))
        return;
    Statement next;
    if (prepareNext(connection, begin, end, next) != SQLITE_OK || next.get())
        fail(QStringLiteral("Unable to execute multiple statements at a time"));
}

// "yyyy-mm-dd", maybe followed by a time, as a date; an invalid date otherwise.
QDate isoDate(const QString& text)
{
    if (text.size() < 10 || (text.size() > 10 && text.at(10) != u' ' && text.at(10) != u'T'))
        return QDate();
    if (text.at(4) != u'-' || text.at(7) != u'-')
        return QDate();
    const auto digits = [&text](qsizetype from, qsizetype count) {
        int value = 0;
        for (qsizetype i = from; i < from + count; ++i) {
            const char16_t c = text.at(i).unicode();
            if (c < u'0' || c > u'9')
                return -1;
            value = value * 10 + (c - u'0');
        }
        return value;
    };
    const int year = digits(0, 4);
    const int month = digits(5, 2);
    const int day = digits(8, 2);
    if (year < 0 || month < 0 || day < 0)
        return QDate();
    return QDate(year, month, day);
}

QVariant columnValue(sqlite3_stmt* statement, int column, bool dateColumn)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER: {
        const qint64 value = sqlite3_column_int64(statement, column);
        if (value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max())
            return QVariant(int(value));
        return QVariant(qlonglong(value));
    }
    case SQLITE_FLOAT:
        return QVariant(sqlite3_column_double(statement, column));
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
        const QString value = QString::fromUtf8(text, sqlite3_column_bytes(statement, column));
        if (dateColumn) {
            const QDate date = isoDate(value);
            if (date.isValid())
                return QVariant(date);
        }
        return QVariant(value);
    }
    case SQLITE_BLOB: {
        const auto* data = static_cast<const char*>(sqlite3_column_blob(statement, column));
        return QVariant(QByteArray(data, sqlite3_column_bytes(statement, column)));
    }
    default:
        return QVariant();
    }
}

// The fields of a prepared statement's rows and which of them are declared DATE.
void describe(StatementCache::Entry& entry)
{
    sqlite3_stmt* stmt = entry.statement;
    const int columns = sqlite3_column_count(stmt);
    QStringList names;
    entry.dateColumns.clear();
    for (int c = 0; c < columns; ++c) {
        names.append(QString::fromUtf8(sqlite3_column_name(stmt, c)));
        entry.dateColumns.append(declaredKind(sqlite3_column_decltype(stmt, c)) ==
                                 ColumnKind::Date);
    }
    entry.empty = Recordset(names);
}

// The kept statement of a text, prepared when it is not kept yet, with the text's values
// bound; null when the text is not shared or its shared form does not prepare (the text then
// runs as it is, and its errors read as they would).
StatementCache::Entry* sharedStatement(sqlite3* connection, StatementCache& cache,
                                       const QString& sql)
{
    const std::optional<LiteralParameters::Result> shared = LiteralParameters::extract(sql);
    if (!shared)
        return nullptr;
    StatementCache::Entry* entry =
        cache.connection() == connection ? cache.find(shared->text) : nullptr;
    if (!entry) {
        Statement statement;
        try {
            prepare(connection, shared->lexed(), statement);
        } catch (const RuntimeError&) {
            return nullptr;
        }
        if (sqlite3_bind_parameter_count(statement.get()) != shared->values.size())
            return nullptr;
        StatementCache::Entry fresh;
        fresh.statement = statement.release();
        describe(fresh);
        entry = cache.insert(connection, shared->text, fresh);
    }
    int index = 1;
    for (const QVariant& value : shared->values) {
        if (value.typeId() == QMetaType::LongLong) {
            sqlite3_bind_int64(entry->statement, index++, value.toLongLong());
        } else {
            const QByteArray text = value.toString().toUtf8();
            sqlite3_bind_text(entry->statement, index++, text.constData(), int(text.size()),
                              SQLITE_TRANSIENT);
        }
    }
    return entry;
}

// Resets a kept statement when a run ends, however it ends. Its values stay bound until the
// next run binds every one of them again.
class ResetAfterRun
{
public:
    explicit ResetAfterRun(sqlite3_stmt* statement) : m_statement(statement) {}
    ResetAfterRun(const ResetAfterRun&) = delete;
    ResetAfterRun& operator=(const ResetAfterRun&) = delete;
    ~ResetAfterRun() { sqlite3_reset(m_statement); }

private:
    sqlite3_stmt* m_statement;
};

// How stepping through a query's rows ended.
enum class Stepping {
    Ended,   // past the last row
    Stopped, // the taker asked for no more rows
    Stale,   // prepared again after a change of the tables, it has other columns now
};

// Steps a query, handing the values of each row to take until take returns false. Throws the
// database's message when a step fails.
template <typename Take>
Stepping stepRows(sqlite3* db, sqlite3_stmt* stmt, const QList<bool>& dateColumns, Take take)
{
    const int columns = int(dateColumns.size());
    QVariantList row;
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        if (sqlite3_column_count(stmt) != columns)
            return Stepping::Stale;
        row.clear();
        row.reserve(columns);
        for (int c = 0; c < columns; ++c)
            row.append(columnValue(stmt, c, dateColumns.at(c)));
        if (!take(row))
            return Stepping::Stopped;
    }
    if (rc != SQLITE_DONE)
        failWithMessage(db);
    return sqlite3_column_count(stmt) == columns ? Stepping::Ended : Stepping::Stale;
}

// Reads every row of a statement into rs, unless the statement turned out stale.
Stepping readRows(sqlite3* db, sqlite3_stmt* stmt, const Recordset& empty,
                  const QList<bool>& dateColumns, Recordset& rs)
{
    Recordset result = empty;
    const Stepping stepping = stepRows(db, stmt, dateColumns, [&](const QVariantList& row) {
        result.appendRow(row);
        return true;
    });
    if (stepping == Stepping::Ended)
        rs = std::move(result);
    return stepping;
}

// Hands the rows of a statement to visit, each in a recordset of its own positioned on it.
// Whether rows came back, unless the statement turned out stale.
Stepping visitRows(sqlite3* db, sqlite3_stmt* stmt, const Recordset& empty,
                   const QList<bool>& dateColumns,
                   const std::function<bool(const Recordset&)>& visit, bool& found)
{
    found = false;
    return stepRows(db, stmt, dateColumns, [&](const QVariantList& values) {
        found = true;
        Recordset row = empty;
        row.appendRow(values);
        return visit(row);
    });
}

// Runs a query text with step: on its kept statement, reset afterwards; or, when the text is
// not shared or its kept statement turned out stale, on one prepared for this run.
void runQuery(sqlite3* db, StatementCache& cache, const QString& sql,
              const std::function<Stepping(const StatementCache::Entry&)>& step)
{
    if (StatementCache::Entry* entry = sharedStatement(db, cache, sql)) {
        Stepping stepping;
        {
            const ResetAfterRun reset(entry->statement);
            stepping = step(*entry);
        }
        if (stepping != Stepping::Stale)
            return;
        cache.clear();
    }
    Statement statement;
    prepare(db, SqlLexer::lex(sql), statement);
    StatementCache::Entry described;
    described.statement = statement.get();
    describe(described);
    if (step(described) == Stepping::Stale)
        fail(QString::fromUtf8(sqlite3_errstr(SQLITE_SCHEMA)));
}

// Steps an action statement to its end; the number of records it changed.
qint32 runAction(sqlite3* db, sqlite3_stmt* stmt)
{
    const sqlite3_int64 before = sqlite3_total_changes64(db);
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    }
    if (rc != SQLITE_DONE)
        failWithMessage(db);
    // Only INSERT, UPDATE and DELETE change rows; other statements leave the count where the
    // last of those put it.
    if (sqlite3_total_changes64(db) == before)
        return 0;
    const sqlite3_int64 changes = sqlite3_changes64(db);
    return qint32(qMin<sqlite3_int64>(changes, std::numeric_limits<qint32>::max()));
}

} // namespace

SqlDataObject::SqlDataObject(const QSqlDatabase& database)
    : m_database(database), m_statements(std::make_unique<StatementCache>())
{
}

SqlDataObject::~SqlDataObject()
{
    releaseStatements();
}

void SqlDataObject::releaseStatements()
{
    sqlite3* kept = m_statements->connection();
    if (!kept)
        return;
    m_statements->clear();
    const QVariant handle =
        m_database.isOpen() && m_database.driver() ? m_database.driver()->handle() : QVariant();
    const bool current = handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0 &&
                         *static_cast<sqlite3* const*>(handle.constData()) == kept;
    // The driver cannot close a connection while statements are prepared on it, and lets go of
    // it all the same; it is closed here, now that they are finalized.
    if (!current)
        sqlite3_close(kept);
}

sqlite3* SqlDataObject::connection()
{
    // The visited statement is kept in the same store as every other one: running another
    // now could reset or finalize it under the visit.
    if (m_visiting)
        fail(QStringLiteral("A statement cannot run while the rows of another are being read"));
    if (!m_database.isOpen())
        releaseStatements();
    if (!m_database.isOpen() && !m_database.open())
        fail(m_database.lastError().text(), m_database.lastError().nativeErrorCode());
    const QVariant handle = m_database.driver() ? m_database.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        fail(QStringLiteral("The connection is not an SQLite connection"));
    sqlite3* connection = *static_cast<sqlite3* const*>(handle.constData());
    if (!connection)
        fail(QStringLiteral("The connection is not open"));
    if (m_statements->connection() && m_statements->connection() != connection)
        releaseStatements();
    // A unit whose connection was closed under it, or that the database undid after an error,
    // is gone: statements now would run outside it, each taking effect on its own.
    if (m_unit && (m_unit != connection || sqlite3_get_autocommit(connection))) {
        m_unit = nullptr;
        fail(QStringLiteral("The unit of atomic writes was undone: its connection was closed "
                            "or the database ended it"));
    }
    // Each connection is set up once, whichever object on it comes first: setting it up again
    // would fail while one of the connection's statements is running.
    if (!isInstalled(connection)) {
        if (!SqliteFunctions::install(connection))
            failWithMessage(connection);
        sqlite3_busy_timeout(connection, m_lockWait);
        // Speed only: a database that cannot switch (in memory, or locked now) works as it is.
        sqlite3_exec(connection, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
        sqlite3_exec(connection, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
        // Up to 64 MB of pages kept per connection, taken only as pages are read: the stock
        // lines an allocation reads are still there when F11 refreshes them, and a large
        // database's index pages stay in memory.
        sqlite3_exec(connection, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr);
        markInstalled(connection);
    }
    m_installedOn = connection;
    return connection;
}

bool SqlDataObject::open(Recordset& rs)
{
    sqlite3* db = connection();
    runQuery(db, *m_statements, m_sql, [&](const StatementCache::Entry& entry) {
        return readRows(db, entry.statement, entry.empty, entry.dateColumns, rs);
    });
    return rs.recordCount() > 0;
}

bool SqlDataObject::forEachRow(const std::function<bool(const Recordset&)>& visit)
{
    sqlite3* db = connection();
    const Visiting visiting(m_visiting);
    bool found = false;
    // Stale is found before the first row is handed over, so no row is visited twice.
    runQuery(db, *m_statements, m_sql, [&](const StatementCache::Entry& entry) {
        return visitRows(db, entry.statement, entry.empty, entry.dateColumns, visit, found);
    });
    return found;
}

qint32 SqlDataObject::execute()
{
    sqlite3* db = connection();
    if (StatementCache::Entry* entry = sharedStatement(db, *m_statements, m_sql)) {
        const ResetAfterRun reset(entry->statement);
        return runAction(db, entry->statement);
    }
    // Statements kept may not outlive a change of the tables made here.
    m_statements->clear();
    Statement statement;
    prepare(db, SqlLexer::lex(m_sql), statement);
    return runAction(db, statement.get());
}

void SqlDataObject::setLockWait(int milliseconds)
{
    m_lockWait = milliseconds;
    if (m_installedOn && m_database.isOpen())
        sqlite3_busy_timeout(m_installedOn, m_lockWait);
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
    sqlite3* db = connection();
    sqlite3_busy_timeout(db, m_lockWait);
    // IMMEDIATE takes the writer lock now, waiting up to the busy timeout: a unit's reads then
    // see every line committed before it, and no other unit can write until it ends.
    if (sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        failWithMessage(db);
    m_unit = db;
}

void SqlDataObject::commit()
{
    sqlite3* db = connection();
    if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
        failWithMessage(db);
    m_unit = nullptr;
}

void SqlDataObject::rollback()
{
    sqlite3* unit = std::exchange(m_unit, nullptr);
    if (!m_database.isOpen())
        releaseStatements();
    const QVariant handle =
        m_database.isOpen() && m_database.driver() ? m_database.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return;
    sqlite3* db = *static_cast<sqlite3* const*>(handle.constData());
    // Closing a connection undoes its unit, and so does SQLite after some errors.
    if (!db || (unit && unit != db) || sqlite3_get_autocommit(db))
        return;
    if (sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK)
        failWithMessage(db);
}

} // namespace oquivran
