#include "SqliteDriver.h"

#include "DisjunctionPlanner.h"
#include "PreparedStatement.h"
#include "RowReceiver.h"
#include "SqliteFunctions.h"
#include "StatementRewriter.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QByteArray>
#include <QDate>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>

#include <mutex>

#include <sqlite3.h>

namespace oquivran {

namespace {

using ColumnKind = StatementRewriter::ColumnKind;

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

// A statement prepared for the pipeline, finalized when it goes.
class Prepared : public PreparedStatement
{
public:
    ~Prepared() override { sqlite3_finalize(statement); }
    sqlite3_stmt* statement = nullptr;
    Recordset empty;         // its fields, no rows: each result starts as a copy
    QList<bool> dateColumns; // columns declared DATE
    // Each column's last text: rows of one result mostly repeat a declaration, a customs
    // office or a C.T.C., and a text equal to the last one is shared rather than decoded.
    QStringList lastTexts;
    QList<QByteArray> boundTexts; // the texts bound for the current run, as UTF-8
    bool kept = false;            // kept by the pipeline between runs, reset after each
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
int prepareNext(sqlite3* connection, const char*& begin, const char* end, sqlite3_stmt** statement)
{
    while (begin < end) {
        const char* rest = nullptr;
        const int rc = sqlite3_prepare_v2(connection, begin, int(end - begin), statement, &rest);
        if (rc != SQLITE_OK)
            return rc;
        const bool moved = rest && rest > begin;
        if (moved)
            begin = rest;
        if (*statement || !moved)
            break;
    }
    return SQLITE_OK;
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

// True when `last` holds exactly these UTF-8 bytes and all of them are ASCII; a text with
// other characters is decoded each time.
bool sameText(const QString& last, const char* bytes, int size)
{
    if (last.size() != size || last.isNull())
        return false;
    const QChar* letters = last.constData();
    for (int i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 0x80 || letters[i].unicode() != byte)
            return false;
    }
    return true;
}

// One call finds the column's value in the statement; its type, number or text are read from
// that value, instead of each column function finding the column again.
QVariant columnValue(sqlite3_stmt* statement, int column, bool dateColumn, QString& lastText)
{
    sqlite3_value* value = sqlite3_column_value(statement, column);
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        return StatementDriver::wholeValue(sqlite3_value_int64(value));
    case SQLITE_FLOAT:
        return QVariant(sqlite3_value_double(value));
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
        const int size = sqlite3_value_bytes(value);
        if (!sameText(lastText, text, size))
            lastText = QString::fromUtf8(text, size);
        const QString& letters = lastText;
        if (dateColumn) {
            const QDate date = isoDate(letters);
            if (date.isValid())
                return QVariant(date);
        }
        return QVariant(letters);
    }
    case SQLITE_BLOB: {
        const auto* data = static_cast<const char*>(sqlite3_value_blob(value));
        return QVariant(QByteArray(data, sqlite3_value_bytes(value)));
    }
    default:
        return QVariant();
    }
}

// The fields of a prepared statement's rows and which of them are declared DATE.
void describe(Prepared& prepared)
{
    sqlite3_stmt* stmt = prepared.statement;
    const int columns = sqlite3_column_count(stmt);
    QStringList names;
    names.reserve(columns);
    prepared.dateColumns.clear();
    for (int c = 0; c < columns; ++c) {
        names.append(QString::fromUtf8(sqlite3_column_name(stmt, c)));
        prepared.dateColumns.append(declaredKind(sqlite3_column_decltype(stmt, c)) ==
                                    ColumnKind::Date);
    }
    prepared.lastTexts = QStringList(columns);
    prepared.empty = Recordset(names);
}

// Writes a text as UTF-8 into `buffer`, reusing its room; false when the text is not all
// ASCII, which is left to Qt's encoder.
bool asciiInto(QByteArray& buffer, const QString& text)
{
    const qsizetype size = text.size();
    buffer.resize(size);
    const QChar* letters = text.constData();
    char* bytes = buffer.data();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t letter = letters[i].unicode();
        if (letter >= 0x80)
            return false;
        bytes[i] = char(letter);
    }
    return true;
}

// Binds the values taken out of a kept statement's text: whole numbers and texts. The texts
// are bound from the statement's own buffers, which hold them until the next run binds again
// or the statement is finalized, so SQLite need not copy them.
void bind(Prepared& prepared, const QVariantList& values)
{
    if (prepared.boundTexts.size() < values.size())
        prepared.boundTexts.resize(values.size());
    int index = 1;
    for (const QVariant& value : values) {
        if (value.typeId() == QMetaType::LongLong) {
            sqlite3_bind_int64(prepared.statement, index, value.toLongLong());
        } else {
            QByteArray& text = prepared.boundTexts[index - 1];
            const QString written = value.toString();
            if (!asciiInto(text, written))
                text = written.toUtf8();
            sqlite3_bind_text(prepared.statement, index, text.constData(), int(text.size()),
                              SQLITE_STATIC);
        }
        ++index;
    }
}

// Resets a kept statement when a run ends, however it ends. Its values stay bound until the
// next run binds every one of them again.
class ResetAfterRun
{
public:
    explicit ResetAfterRun(const Prepared& prepared)
        : m_statement(prepared.kept ? prepared.statement : nullptr)
    {
    }
    ResetAfterRun(const ResetAfterRun&) = delete;
    ResetAfterRun& operator=(const ResetAfterRun&) = delete;
    ~ResetAfterRun() { sqlite3_reset(m_statement); }

private:
    sqlite3_stmt* m_statement;
};

sqlite3* handleOf(const QSqlDatabase& database)
{
    const QVariant handle = database.driver() ? database.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3* const*>(handle.constData());
}

} // namespace

SqliteDriver::SqliteDriver(const QSqlDatabase& database)
    : StatementDriver(QStringLiteral("SqlDataObject")), m_database(database)
{
}

void SqliteDriver::failWithMessage(sqlite3* connection) const
{
    fail(QString::fromUtf8(sqlite3_errmsg(connection)),
         QString::number(sqlite3_extended_errcode(connection)));
}

sqlite3* SqliteDriver::currentHandle() const
{
    return m_database.isOpen() ? handleOf(m_database) : nullptr;
}

bool SqliteDriver::isOpen() const
{
    return m_database.isOpen();
}

StatementDriver::Connection SqliteDriver::open()
{
    if (!m_database.isOpen() && !m_database.open())
        fail(m_database.lastError().text(), m_database.lastError().nativeErrorCode());
    const QVariant handle = m_database.driver() ? m_database.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        fail(QStringLiteral("The connection is not an SQLite connection"));
    sqlite3* connection = *static_cast<sqlite3* const*>(handle.constData());
    if (!connection)
        fail(QStringLiteral("The connection is not open"));
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
    return {connection, 0};
}

void SqliteDriver::released(const Connection& connection)
{
    // The driver cannot close a connection while statements are prepared on it, and lets go of
    // it all the same; it is closed here, now that they are finalized.
    auto* kept = static_cast<sqlite3*>(const_cast<void*>(connection.handle));
    if (kept && kept != currentHandle())
        sqlite3_close(kept);
}

void SqliteDriver::setLockWait(int milliseconds)
{
    m_lockWait = milliseconds;
    if (m_installedOn && m_database.isOpen())
        sqlite3_busy_timeout(m_installedOn, m_lockWait);
}

// Prepares the text, which must hold exactly one statement, as SQLite runs it.
static void prepareText(const SqliteDriver& driver, sqlite3* connection, const SqlLexer::Lexed& sql,
                        Prepared& prepared)
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
        if (sqlite3_prepare_v2(connection, text.constData(), int(text.size()), &prepared.statement,
                               nullptr) == SQLITE_OK &&
            prepared.statement)
            return;
        sqlite3_finalize(std::exchange(prepared.statement, nullptr));
    }
    const QByteArray text = rewritten.toUtf8();
    const char* begin = text.constData();
    const char* end = begin + text.size();
    if (prepareNext(connection, begin, end, &prepared.statement) != SQLITE_OK)
        driver.failWithMessage(connection);
    if (!prepared.statement)
        driver.fail(QStringLiteral("No SQL statement to execute"));
    if (onlySeparators(begin, end))
        return;
    sqlite3_stmt* next = nullptr;
    const int rc = prepareNext(connection, begin, end, &next);
    const bool another = next != nullptr;
    sqlite3_finalize(next);
    if (rc != SQLITE_OK || another)
        driver.fail(QStringLiteral("Unable to execute multiple statements at a time"));
}

std::unique_ptr<PreparedStatement> SqliteDriver::prepareShared(const SqlLexer::Lexed& text,
                                                               qsizetype valueCount)
{
    auto prepared = std::make_unique<Prepared>();
    try {
        prepareText(*this, m_installedOn, text, *prepared);
    } catch (const RuntimeError&) {
        // The text then runs as written, and its errors read as they would.
        return nullptr;
    }
    if (sqlite3_bind_parameter_count(prepared->statement) != valueCount)
        return nullptr;
    prepared->kept = true;
    describe(*prepared);
    return prepared;
}

std::unique_ptr<PreparedStatement> SqliteDriver::prepareOnce(const SqlLexer::Lexed& text)
{
    auto prepared = std::make_unique<Prepared>();
    prepareText(*this, m_installedOn, text, *prepared);
    describe(*prepared);
    return prepared;
}

StatementDriver::Ending SqliteDriver::query(PreparedStatement& statement,
                                            const QVariantList& values, Reading,
                                            RowReceiver& receiver)
{
    auto& prepared = static_cast<Prepared&>(statement);
    sqlite3_stmt* stmt = prepared.statement;
    bind(prepared, values);
    const ResetAfterRun reset(prepared);
    const int columns = int(prepared.dateColumns.size());
    // A statement prepared again after a change of the tables may have other columns now; it
    // is found at the first step, before any row is handed over.
    const auto stale = [&] {
        if (prepared.kept)
            return Ending::Stale;
        fail(QString::fromUtf8(sqlite3_errstr(SQLITE_SCHEMA)));
    };
    int rc = sqlite3_step(stmt);
    if (sqlite3_column_count(stmt) != columns)
        return stale();
    receiver.fields(prepared.empty);
    // The receiver takes each row's values over and may give back a list to fill again.
    QVariantList row;
    for (; rc == SQLITE_ROW; rc = sqlite3_step(stmt)) {
        row.clear();
        row.reserve(columns);
        for (int c = 0; c < columns; ++c)
            row.append(columnValue(stmt, c, prepared.dateColumns.at(c), prepared.lastTexts[c]));
        if (!receiver.row(row))
            return Ending::Done;
    }
    if (rc != SQLITE_DONE)
        failWithMessage(m_installedOn);
    return Ending::Done;
}

StatementDriver::Ending SqliteDriver::action(PreparedStatement& statement,
                                             const QVariantList& values, qint32& changed)
{
    auto& prepared = static_cast<Prepared&>(statement);
    bind(prepared, values);
    const ResetAfterRun reset(prepared);
    sqlite3* db = m_installedOn;
    const sqlite3_int64 before = sqlite3_total_changes64(db);
    int rc;
    while ((rc = sqlite3_step(prepared.statement)) == SQLITE_ROW) {
    }
    if (rc != SQLITE_DONE)
        failWithMessage(db);
    // Only INSERT, UPDATE and DELETE change rows; other statements leave the count where the
    // last of those put it.
    changed = sqlite3_total_changes64(db) == before ? 0 : recordCount(sqlite3_changes64(db));
    return Ending::Done;
}

} // namespace oquivran
