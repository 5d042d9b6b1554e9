#include <oquivran/PgDataObject.h>

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include "DateText.h"
#include "LiteralParameters.h"
#include "NumberText.h"
#include "Schema.h"
#include "SqlLexer.h"
#include "StatementRewriter.h"
#include "Visiting.h"

#include <QByteArray>
#include <QDate>
#include <QHash>
#include <QSqlDriver>
#include <QSqlError>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include <libpq-fe.h>

namespace oquivran {

namespace {

using ColumnKind = StatementRewriter::ColumnKind;
using Conversion = StatementRewriter::Conversion;

// Type identifiers of the server's built-in types (pg_type.oid; fixed in every release).
enum TypeOid : Oid {
    BoolOid = 16,
    ByteaOid = 17,
    Int8Oid = 20,
    Int2Oid = 21,
    Int4Oid = 23,
    OidOid = 26,
    Float4Oid = 700,
    Float8Oid = 701,
    DateOid = 1082,
    TimestampOid = 1114,
    TimestampTzOid = 1184,
    NumericOid = 1700,
};

// How the text of a result column becomes a field value.
enum class ValueKind { Text, Whole, Real, Date, Boolean, Bytes };

ValueKind valueKind(Oid type)
{
    switch (type) {
    case Int2Oid:
    case Int4Oid:
    case Int8Oid:
    case OidOid:
        return ValueKind::Whole;
    case Float4Oid:
    case Float8Oid:
    case NumericOid:
        return ValueKind::Real;
    case DateOid:
        return ValueKind::Date;
    case BoolOid:
        return ValueKind::Boolean;
    case ByteaOid:
        return ValueKind::Bytes;
    default:
        return ValueKind::Text;
    }
}

// SQLSTATEs of the failures the component tells apart.
const QString ConnectionFailure = QStringLiteral("08006");
const QString CannotConnect = QStringLiteral("08001");

[[noreturn]] void fail(const QString& description, const QString& code = QString())
{
    throw RuntimeError(DatabaseError, description, QStringLiteral("PgDataObject"), code);
}

// The server's own words for what went wrong: the primary message of the result, or the
// connection's message when there is no result (the connection broke).
QString serverMessage(PGconn* connection, const PGresult* result)
{
    const char* primary = result ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
    QString message = QString::fromUtf8(primary ? primary : PQerrorMessage(connection));
    return message.trimmed();
}

QString sqlState(const PGresult* result)
{
    const char* state = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    return state ? QString::fromLatin1(state) : QString();
}

// The server's failure with its SQLSTATE; a connection that broke has no result to give one,
// and gets the standard code of a connection failure.
RuntimeError serverError(PGconn* connection, const PGresult* result)
{
    QString code = sqlState(result);
    if (code.isEmpty() && (!connection || PQstatus(connection) != CONNECTION_OK))
        code = ConnectionFailure;
    return RuntimeError(DatabaseError, serverMessage(connection, result),
                        QStringLiteral("PgDataObject"), code);
}

// A result, cleared when it goes out of scope.
class Result
{
public:
    explicit Result(PGresult* result = nullptr) : m_result(result) {}
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
    ~Result() { PQclear(m_result); }
    void reset(PGresult* result)
    {
        PQclear(m_result);
        m_result = result;
    }
    PGresult* get() const { return m_result; }
    ExecStatusType status() const { return PQresultStatus(m_result); }

private:
    PGresult* m_result;
};

bool succeeded(const Result& result)
{
    const ExecStatusType status = result.status();
    return result.get() && (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK ||
                            status == PGRES_SINGLE_TUPLE);
}

QVariant fieldValue(const PGresult* result, int row, int column, ValueKind kind)
{
    if (PQgetisnull(result, row, column))
        return QVariant();
    const char* text = PQgetvalue(result, row, column);
    const int length = PQgetlength(result, row, column);
    switch (kind) {
    case ValueKind::Whole: {
        qint64 value = 0;
        if (std::from_chars(text, text + length, value).ec != std::errc())
            break;
        if (value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max())
            return QVariant(int(value));
        return QVariant(qlonglong(value));
    }
    case ValueKind::Real: {
        double value = 0;
        if (std::from_chars(text, text + length, value).ec != std::errc())
            break;
        return QVariant(value);
    }
    case ValueKind::Date: {
        // DateStyle ISO: "yyyy-mm-dd"; infinite dates stay text.
        const QDate date = QDate::fromString(QString::fromLatin1(text, length), Qt::ISODate);
        if (date.isValid())
            return QVariant(date);
        break;
    }
    case ValueKind::Boolean:
        // As comparisons give them on SQLite.
        return QVariant(int(text[0] == 't'));
    case ValueKind::Bytes: {
        size_t size = 0;
        unsigned char* bytes = PQunescapeBytea(reinterpret_cast<const unsigned char*>(text), &size);
        const QByteArray value(reinterpret_cast<const char*>(bytes), qsizetype(size));
        PQfreemem(bytes);
        return QVariant(value);
    }
    case ValueKind::Text:
        break;
    }
    return QVariant(QString::fromUtf8(text, length));
}

// The words of a text by their lower-case form, each as first written.
void addSpellings(QHash<QString, QString>& spellings, QStringView text)
{
    qsizetype i = 0;
    while (i < text.size()) {
        if (!text[i].isLetter() && text[i] != u'_') {
            ++i;
            continue;
        }
        const qsizetype start = i;
        while (i < text.size() && (text[i].isLetterOrNumber() || text[i] == u'_'))
            ++i;
        const QString word = text.mid(start, i - start).toString();
        const QString lower = word.toLower();
        if (!spellings.contains(lower))
            spellings.insert(lower, word);
    }
}

// The server folds unquoted names to lower case. A field comes back named as the statement
// writes it, or else as the component's tables name their columns (for "select *"), so that
// its recordset names fields as SQLite's does.
QString fieldName(const char* serverName, QStringView statement)
{
    static const QHash<QString, QString> columns = [] {
        QHash<QString, QString> spellings;
        for (const auto database : {Schema::Database::Discharge, Schema::Database::Host})
            addSpellings(spellings, Schema::script(database));
        return spellings;
    }();
    const QString name = QString::fromUtf8(serverName);
    if (name != name.toLower())
        return name;
    QHash<QString, QString> written;
    addSpellings(written, statement);
    if (const auto found = written.constFind(name); found != written.cend())
        return *found;
    return columns.value(name, name);
}

// The fields of a result: an empty recordset with their names, and how each reads.
struct Description
{
    Recordset empty;
    QList<ValueKind> kinds;
};

Description describe(const PGresult* result, QStringView statement)
{
    Description description;
    const int fields = PQnfields(result);
    QStringList names;
    names.reserve(fields);
    for (int c = 0; c < fields; ++c) {
        names.append(fieldName(PQfname(result, c), statement));
        description.kinds.append(valueKind(PQftype(result, c)));
    }
    description.empty = Recordset(names);
    return description;
}

bool sameShape(const Description& description, const PGresult* result)
{
    const int fields = PQnfields(result);
    if (fields != description.kinds.size())
        return false;
    for (int c = 0; c < fields; ++c) {
        if (valueKind(PQftype(result, c)) != description.kinds.at(c))
            return false;
    }
    return true;
}

QVariantList rowValues(const PGresult* result, int row, const QList<ValueKind>& kinds)
{
    QVariantList values;
    values.reserve(kinds.size());
    for (int c = 0; c < kinds.size(); ++c)
        values.append(fieldValue(result, row, c, kinds.at(c)));
    return values;
}

// A number as text the server reads back exactly.
QByteArray numberText(double value)
{
    char buffer[64];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QByteArray(buffer, written.ptr - buffer);
}

// The text sent for one parameter, converted as the translation says.
QByteArray parameterText(const QVariant& value, Conversion conversion)
{
    if (value.typeId() == QMetaType::LongLong) {
        if (conversion == Conversion::Date)
            throw RuntimeError::typeMismatch();
        return QByteArray::number(value.toLongLong());
    }
    const QString text = value.toString();
    switch (conversion) {
    case Conversion::AsWritten:
        break;
    case Conversion::Number:
    case Conversion::Real:
        if (const auto number = NumberText::parse(text))
            return numberText(*number);
        if (conversion == Conversion::Number)
            throw RuntimeError::typeMismatch();
        break;
    case Conversion::Date:
    case Conversion::DateText:
        if (const auto date = DateText::parse(text))
            return date->toString(QStringLiteral("yyyy-MM-dd")).toLatin1();
        if (conversion == Conversion::Date)
            throw RuntimeError::typeMismatch();
        break;
    }
    return text.toUtf8();
}

// The values of a call, as libpq takes them.
struct Parameters
{
    std::vector<QByteArray> texts;
    std::vector<const char*> values;

    Parameters(const QVariantList& bound, const QList<Conversion>& conversions)
    {
        texts.reserve(bound.size());
        for (qsizetype i = 0; i < bound.size(); ++i) {
            try {
                texts.push_back(parameterText(bound.at(i), i < conversions.size()
                                                               ? conversions.at(i)
                                                               : Conversion::AsWritten));
            } catch (const RuntimeError& error) {
                fail(error.description);
            }
        }
        for (const QByteArray& text : texts)
            values.push_back(text.constData());
    }
    int count() const { return int(values.size()); }
    const char* const* data() const { return values.empty() ? nullptr : values.data(); }
};

// Names of prepared statements, unique in the process so objects sharing a connection never
// meet.
QByteArray nextStatementName()
{
    static std::atomic<quint64> serial{0};
    return "oquivran_" + QByteArray::number(++serial);
}

// Enough for every statement shape of the component; a host's ad-hoc texts only refill it.
constexpr qsizetype Capacity = 256;

// The number of records an action statement changed: only INSERT, UPDATE, DELETE and MERGE
// change rows.
qint32 changedRecords(const PGresult* result)
{
    const char* status = PQcmdStatus(const_cast<PGresult*>(result));
    for (const char* command : {"INSERT", "UPDATE", "DELETE", "MERGE"}) {
        if (std::strncmp(status, command, std::strlen(command)) == 0) {
            const qint64 changed =
                QByteArray(PQcmdTuples(const_cast<PGresult*>(result))).toLongLong();
            return qint32(qMin<qint64>(changed, std::numeric_limits<qint32>::max()));
        }
    }
    return 0;
}

} // namespace

struct PgDataObject::Private
{
    // A statement prepared on the connection, with what running it needs.
    struct Statement
    {
        QString text; // the shared text it runs
        QByteArray name;
        QList<Conversion> conversions;
        Description description;
        bool described = false;
    };

    // What one call runs: a kept statement with its values, or a text once.
    struct Call
    {
        Statement* statement = nullptr;
        QVariantList values;
        QString text;    // when no statement is kept: the text as sent
        QString written; // the text as the component wrote it
    };

    QSqlDatabase database;
    PGconn* connection = nullptr; // the connection statements were prepared on
    int backendPid = 0;
    QHash<QString, Statement> statements;
    QHash<QString, ColumnKind> columnKinds;
    SqlDialect dialect = SqlDialect::postgresql();
    bool visiting = false;
    bool inUnit = false;
    int lockWait = 5000;
    // The stock locks held (lockStock()), with the connection that holds them.
    QList<qint32> heldStock;
    PGconn* heldOn = nullptr;
    // The schema the stock locks of a connection are named in, read once per connection.
    QString lockSchema;
    int lockSchemaPid = 0;

    // The connection as it stands, without opening it again.
    PGconn* handle() const
    {
        if (!database.isOpen() || !database.driver())
            return nullptr;
        const QVariant value = database.driver()->handle();
        // Qt names the type by its struct or by libpq's typedef, depending on its version.
        if (!value.isValid() || (qstrcmp(value.typeName(), "PGconn*") != 0 &&
                                 qstrcmp(value.typeName(), "pg_conn*") != 0))
            return nullptr;
        return *static_cast<PGconn* const*>(value.constData());
    }

    // The connection, opened (again) when it is closed or broke, set up for the component.
    PGconn* open()
    {
        if (visiting)
            fail(QStringLiteral("A statement cannot run while the rows of another are being read"));
        PGconn* current = handle();
        if (!current || PQstatus(current) != CONNECTION_OK) {
            // A unit lost with its connection stays lost: its statements must not go on, one
            // by one, on a new connection.
            if (inUnit)
                fail(QStringLiteral("The connection to the database was lost; the unit of "
                                    "atomic writes was undone"),
                     ConnectionFailure);
            if (database.isOpen())
                database.close();
            if (!database.open()) {
                const QString code = database.lastError().nativeErrorCode();
                fail(database.lastError().text(), code.isEmpty() ? CannotConnect : code);
            }
            current = handle();
            if (!current)
                fail(QStringLiteral("The connection is not a PostgreSQL connection"));
        }
        if (current != connection || PQbackendPID(current) != backendPid) {
            // A connection of its own: the statements kept were prepared on another.
            statements.clear();
            columnKinds.clear();
            connection = current;
            backendPid = PQbackendPID(current);
            // Dates as "yyyy-mm-dd", reals with every digit, text in UTF-8.
            Result settings(PQexec(current, "SET DateStyle TO ISO; SET extra_float_digits TO 3; "
                                            "SET client_encoding TO 'UTF8'"));
            if (!succeeded(settings))
                throw serverError(current, settings.get());
        }
        return current;
    }

    // Forgets the statements kept, and lets the server forget them when it can.
    void releaseStatements()
    {
        PGconn* current = handle();
        const bool reachable = current && current == connection &&
                               PQstatus(current) == CONNECTION_OK &&
                               PQtransactionStatus(current) == PQTRANS_IDLE;
        if (reachable) {
            for (const Statement& statement : std::as_const(statements))
                PQclear(PQexec(current,
                               QByteArray(QByteArray("DEALLOCATE ") + statement.name).constData()));
        }
        statements.clear();
    }

    ColumnKind columnKind(PGconn* c, const QString& table, const QString& column)
    {
        const QString key = table.toLower() + u'.' + column.toLower();
        const auto found = columnKinds.constFind(key);
        if (found != columnKinds.cend())
            return *found;
        const QByteArray tableText = table.toUtf8();
        const QByteArray columnText = column.toUtf8();
        const char* values[] = {tableText.constData(), columnText.constData()};
        Result result(PQexecParams(
            c,
            "select a.atttypid from pg_attribute a where a.attrelid = to_regclass($1) and "
            "a.attnum > 0 and not a.attisdropped and (a.attname = $2 or a.attname = lower($2)) "
            "order by a.attname = $2 desc limit 1",
            2, nullptr, values, nullptr, nullptr, 0));
        ColumnKind kind = ColumnKind::Other;
        if (succeeded(result) && PQntuples(result.get()) == 1) {
            switch (Oid(QByteArray(PQgetvalue(result.get(), 0, 0)).toUInt())) {
            case Float4Oid:
            case Float8Oid:
            case NumericOid:
                kind = ColumnKind::Real;
                break;
            case DateOid:
            case TimestampOid:
            case TimestampTzOid:
                kind = ColumnKind::Date;
                break;
            default:
                break;
            }
        }
        columnKinds.insert(key, kind);
        return kind;
    }

    StatementRewriter::Translation translate(PGconn* c, const SqlLexer::Lexed& text)
    {
        StatementRewriter::Translation translation;
        try {
            translation = StatementRewriter::translate(
                text,
                [&](const QString& table, const QString& column) {
                    return columnKind(c, table, column);
                },
                dialect);
        } catch (const RuntimeError& error) {
            fail(error.description);
        }
        if (translation.statements == 0)
            fail(QStringLiteral("No SQL statement to execute"));
        if (translation.statements > 1)
            fail(QStringLiteral("Unable to execute multiple statements at a time"));
        return translation;
    }

    // What the text set last runs as: its kept statement (prepared now when it is not kept
    // yet) with its values, or, when it is not shared or its shared form does not prepare, the
    // text itself, translated (its errors then read as they would).
    Call prepare(PGconn* c, const QString& sql)
    {
        Call call;
        const SqlLexer::Lexed lexed = SqlLexer::lex(sql);
        std::optional<LiteralParameters::Result> shared = LiteralParameters::extract(lexed);
        if (shared) {
            auto found = statements.find(shared->text);
            if (found == statements.end()) {
                const StatementRewriter::Translation translation = translate(c, shared->lexed());
                if (translation.parameters.size() == shared->values.size() &&
                    PQtransactionStatus(c) != PQTRANS_INERROR) {
                    Statement statement;
                    statement.text = shared->text;
                    statement.name = nextStatementName();
                    statement.conversions = translation.parameters;
                    Result result(PQprepare(c, statement.name.constData(),
                                            translation.text.toUtf8().constData(), 0, nullptr));
                    if (succeeded(result)) {
                        if (statements.size() >= Capacity)
                            releaseStatements();
                        found = statements.insert(shared->text, statement);
                    } else if (PQstatus(c) != CONNECTION_OK ||
                               PQtransactionStatus(c) == PQTRANS_INERROR) {
                        // Nothing more can run: the connection broke, or the failure undid
                        // the open unit.
                        throw serverError(c, result.get());
                    }
                }
            }
            if (found != statements.end()) {
                call.statement = &found.value();
                call.values = std::move(shared->values);
                return call;
            }
        }
        call.text = translate(c, lexed).text;
        call.written = sql;
        return call;
    }

    // Sends a call; with wait, returns its result.
    PGresult* run(PGconn* c, const Call& call)
    {
        const QList<Conversion> none;
        const Parameters parameters(call.values,
                                    call.statement ? call.statement->conversions : none);
        if (call.statement)
            return PQexecPrepared(c, call.statement->name.constData(), parameters.count(),
                                  parameters.data(), nullptr, nullptr, 0);
        return PQexecParams(c, call.text.toUtf8().constData(), 0, nullptr, nullptr, nullptr,
                            nullptr, 0);
    }

    bool send(PGconn* c, const Call& call)
    {
        const QList<Conversion> none;
        const Parameters parameters(call.values,
                                    call.statement ? call.statement->conversions : none);
        if (call.statement)
            return PQsendQueryPrepared(c, call.statement->name.constData(), parameters.count(),
                                       parameters.data(), nullptr, nullptr, 0) == 1;
        return PQsendQueryParams(c, call.text.toUtf8().constData(), 0, nullptr, nullptr, nullptr,
                                 nullptr, 0) == 1;
    }

    // The description of a call's rows, kept with its statement.
    Description descriptionOf(Call& call, const PGresult* result)
    {
        if (!call.statement)
            return describe(result, call.written);
        Statement& statement = *call.statement;
        if (!statement.described || !sameShape(statement.description, result)) {
            statement.description = describe(result, statement.text);
            statement.described = true;
        }
        return statement.description;
    }

    // Runs the text set last to its end; throws the server's message when it fails. A kept
    // statement whose tables changed under it is prepared again once.
    void runToEnd(const QString& sql, Result& result, Call& call)
    {
        PGconn* c = open();
        call = prepare(c, sql);
        result.reset(run(c, call));
        if (!succeeded(result) && call.statement && PQstatus(c) == CONNECTION_OK &&
            PQtransactionStatus(c) == PQTRANS_IDLE &&
            sqlState(result.get()) == QLatin1String("0A000")) {
            forget(c, call);
            call = prepare(c, sql);
            result.reset(run(c, call));
        }
        if (!succeeded(result))
            throw serverError(c, result.get());
    }

    void forget(PGconn* c, const Call& call)
    {
        PQclear(
            PQexec(c, QByteArray(QByteArray("DEALLOCATE ") + call.statement->name).constData()));
        for (auto it = statements.begin(); it != statements.end(); ++it) {
            if (&it.value() == call.statement) {
                statements.erase(it);
                break;
            }
        }
    }

    // Reads what is left of a query sent in single-row mode. Rows the server is still sending
    // are not waited for: the query is cancelled, unless a unit is open (a cancel would undo
    // it), in which case they are read and dropped.
    void finishQuery(PGconn* c)
    {
        const bool mayCancel = PQtransactionStatus(c) == PQTRANS_ACTIVE && !inUnit;
        bool cancelled = false;
        while (true) {
            if (!cancelled && mayCancel && PQisBusy(c)) {
                PQconsumeInput(c);
                if (PQisBusy(c)) {
                    if (PGcancel* cancel = PQgetCancel(c)) {
                        char error[256];
                        PQcancel(cancel, error, sizeof error);
                        PQfreeCancel(cancel);
                    }
                    cancelled = true;
                }
            }
            PGresult* rest = PQgetResult(c);
            if (!rest)
                break;
            PQclear(rest);
        }
    }
};

PgDataObject::PgDataObject(const QSqlDatabase& database) : d(std::make_unique<Private>())
{
    d->database = database;
}

PgDataObject::~PgDataObject()
{
    d->releaseStatements();
}

QSqlDatabase PgDataObject::database() const
{
    return d->database;
}

bool PgDataObject::open(Recordset& rs)
{
    Result result;
    Private::Call call;
    d->runToEnd(m_sql, result, call);
    if (result.status() != PGRES_TUPLES_OK) {
        rs = Recordset();
        return false;
    }
    const Description description = d->descriptionOf(call, result.get());
    Recordset rows = description.empty;
    const int count = PQntuples(result.get());
    for (int row = 0; row < count; ++row)
        rows.appendRow(rowValues(result.get(), row, description.kinds));
    rs = std::move(rows);
    return count > 0;
}

qint32 PgDataObject::execute()
{
    Result result;
    Private::Call call;
    d->runToEnd(m_sql, result, call);
    return changedRecords(result.get());
}

bool PgDataObject::forEachRow(const std::function<bool(const Recordset&)>& visit)
{
    PGconn* c = d->open();
    Private::Call call = d->prepare(c, m_sql);
    if (!d->send(c, call))
        throw serverError(c, nullptr);
    PQsetSingleRowMode(c);
    const Visiting visiting(d->visiting);
    bool found = false;
    bool going = true;
    try {
        while (going) {
            Result result(PQgetResult(c));
            if (!result.get())
                break;
            const ExecStatusType status = result.status();
            if (status == PGRES_SINGLE_TUPLE) {
                found = true;
                const Description description = d->descriptionOf(call, result.get());
                Recordset row = description.empty;
                row.appendRow(rowValues(result.get(), 0, description.kinds));
                going = visit(row);
            } else if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
                const RuntimeError error = serverError(c, result.get());
                result.reset(nullptr);
                d->finishQuery(c);
                throw error;
            }
        }
    } catch (...) {
        d->finishQuery(c);
        throw;
    }
    d->finishQuery(c);
    return found;
}

namespace {

// The key class of the component's stock locks: the server's two-number advisory locks, kept
// apart from a host's one-number ones.
constexpr qint32 StockLockClass = 0x6F515549;

// An input's stock lock: FNV-1a of the schema's name and the code as UTF-8 text, the same on
// every client. The server's advisory locks belong to the database: the schema keeps the
// stock of two schemas apart.
qint32 stockLockKey(const QString& schema, const QString& inputCode)
{
    quint32 hash = 2166136261u;
    const QByteArray name = schema.toUtf8() + '\x1f' + inputCode.toUtf8();
    for (const char byte : name) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    return qint32(hash);
}

QByteArray lockTimeout(int milliseconds)
{
    return "SET LOCAL lock_timeout = " + QByteArray::number(qMax(1, milliseconds)) + "; ";
}

} // namespace

int PgDataObject::lockWait() const
{
    return d->lockWait;
}

void PgDataObject::setLockWait(int milliseconds)
{
    d->lockWait = qMax(0, milliseconds);
}

bool PgDataObject::isConflict(const RuntimeError& error) const
{
    // serialization_failure, deadlock_detected, and lock_not_available (a wait that ran
    // out of lock_timeout).
    static const QStringList conflicts = {QStringLiteral("40001"), QStringLiteral("40P01"),
                                          QStringLiteral("55P03")};
    return conflicts.contains(error.nativeErrorCode);
}

void PgDataObject::lockStock(const QStringList& inputCodes, int milliseconds)
{
    unlockStock();
    if (inputCodes.isEmpty())
        return;
    PGconn* c = d->open();
    if (d->lockSchemaPid != PQbackendPID(c)) {
        Result schema(PQexec(c, "SELECT coalesce(current_schema(), '')"));
        if (!succeeded(schema) || PQntuples(schema.get()) != 1)
            throw serverError(c, schema.get());
        d->lockSchema = QString::fromUtf8(PQgetvalue(schema.get(), 0, 0));
        d->lockSchemaPid = PQbackendPID(c);
    }
    QList<qint32> keys;
    for (const QString& code : inputCodes)
        keys.append(stockLockKey(d->lockSchema, code));
    // One order for every unit: two units never wait for each other in a circle.
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    // Session locks, taken before the unit starts: the unit's snapshot is then taken after the
    // other operators' units on this stock have committed, and sees their lines. The wait
    // is bounded by a lock_timeout that ends with this one request.
    QByteArray sql = lockTimeout(milliseconds);
    for (const qint32 key : std::as_const(keys))
        sql += "SELECT pg_advisory_lock(" + QByteArray::number(StockLockClass) + ", " +
               QByteArray::number(key) + "); ";
    Result result(PQexec(c, sql.constData()));
    if (!succeeded(result))
        throw serverError(c, result.get());
    d->heldStock = keys;
    d->heldOn = c;
}

void PgDataObject::unlockStock()
{
    const QList<qint32> keys = std::exchange(d->heldStock, {});
    PGconn* c = std::exchange(d->heldOn, nullptr);
    // A connection that broke took its locks with it.
    if (keys.isEmpty() || !c || c != d->handle() || PQstatus(c) != CONNECTION_OK ||
        PQtransactionStatus(c) != PQTRANS_IDLE)
        return;
    QByteArray sql;
    for (const qint32 key : keys)
        sql += "SELECT pg_advisory_unlock(" + QByteArray::number(StockLockClass) + ", " +
               QByteArray::number(key) + "); ";
    PQclear(PQexec(c, sql.constData()));
}

void PgDataObject::transaction()
{
    PGconn* c = d->open();
    // A statement waits for another's row lock no longer than a unit may wait.
    const QByteArray begin = "BEGIN ISOLATION LEVEL SERIALIZABLE; " + lockTimeout(d->lockWait);
    Result result(PQexec(c, begin.constData()));
    if (!succeeded(result))
        throw serverError(c, result.get());
    d->inUnit = true;
}

void PgDataObject::commit()
{
    PGconn* c = d->handle();
    d->inUnit = false;
    if (!c || PQstatus(c) != CONNECTION_OK)
        fail(QStringLiteral("The connection to the database was lost; the unit of atomic "
                            "writes was undone"),
             ConnectionFailure);
    switch (PQtransactionStatus(c)) {
    case PQTRANS_INTRANS:
        break;
    case PQTRANS_INERROR: {
        PQclear(PQexec(c, "ROLLBACK"));
        fail(QStringLiteral("A statement of the unit of atomic writes failed; the unit was "
                            "undone"));
    }
    default:
        fail(QStringLiteral("No unit of atomic writes is open"));
    }
    Result result(PQexec(c, "COMMIT"));
    if (!succeeded(result))
        throw serverError(c, result.get());
}

void PgDataObject::rollback()
{
    PGconn* c = d->handle();
    d->inUnit = false;
    if (!c || PQstatus(c) != CONNECTION_OK || PQtransactionStatus(c) == PQTRANS_IDLE)
        return;
    Result result(PQexec(c, "ROLLBACK"));
    if (!succeeded(result))
        throw serverError(c, result.get());
}

} // namespace oquivran
