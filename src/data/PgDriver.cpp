#include "PgDriver.h"

#include "DateText.h"
#include "NumberText.h"
#include "PreparedStatement.h"
#include "RowReceiver.h"
#include "Schema.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QByteArray>
#include <QDate>
#include <QSqlDriver>
#include <QSqlError>

#include <atomic>
#include <charconv>
#include <cstring>
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
        return StatementDriver::wholeValue(value);
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

// Fills values with one row's fields; the list may hold another row's values, given back by
// the receiver that took them over.
void readValues(const PGresult* result, int row, const QList<ValueKind>& kinds,
                QVariantList& values)
{
    values.clear();
    values.reserve(kinds.size());
    for (int c = 0; c < kinds.size(); ++c)
        values.append(fieldValue(result, row, c, kinds.at(c)));
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

    Parameters(const StatementDriver& driver, const QVariantList& bound,
               const QList<Conversion>& conversions)
    {
        texts.reserve(bound.size());
        for (qsizetype i = 0; i < bound.size(); ++i) {
            try {
                texts.push_back(parameterText(bound.at(i), i < conversions.size()
                                                               ? conversions.at(i)
                                                               : Conversion::AsWritten));
            } catch (const RuntimeError& error) {
                driver.fail(error.description);
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

// The number of records an action statement changed: only INSERT, UPDATE, DELETE and MERGE
// change rows.
qint32 changedRecords(const PGresult* result)
{
    const char* status = PQcmdStatus(const_cast<PGresult*>(result));
    for (const char* command : {"INSERT", "UPDATE", "DELETE", "MERGE"}) {
        if (std::strncmp(status, command, std::strlen(command)) == 0) {
            return StatementDriver::recordCount(
                QByteArray(PQcmdTuples(const_cast<PGresult*>(result))).toLongLong());
        }
    }
    return 0;
}

// A statement for the pipeline: prepared on the server by name when kept, or the translated
// text sent once.
class Prepared : public PreparedStatement
{
public:
    Prepared(const PgDriver& driver, PGconn* connection)
        : m_driver(driver), m_connection(connection), m_backend(PQbackendPID(connection))
    {
    }
    // The server forgets a kept statement when it is reachable; one of a connection that
    // broke or was replaced went with it.
    ~Prepared() override
    {
        if (name.isEmpty() || !m_driver.canDeallocate(m_connection, m_backend))
            return;
        PQclear(PQexec(m_connection, QByteArray("DEALLOCATE " + name).constData()));
    }

    QString text;    // kept: the shared text; once: the text as the component wrote it
    QByteArray name; // kept: the statement's name on the server
    QByteArray sent; // once: the text as sent
    QList<Conversion> conversions;
    Description description;
    bool described = false;

    bool isKept() const { return !name.isEmpty(); }

    // The description of a result's rows, kept with the statement.
    const Description& descriptionOf(const PGresult* result)
    {
        if (!described || !sameShape(description, result)) {
            description = describe(result, text);
            described = true;
        }
        return description;
    }

private:
    const PgDriver& m_driver;
    PGconn* m_connection;
    int m_backend;
};

} // namespace

PgDriver::PgDriver(const QSqlDatabase& database)
    : StatementDriver(QStringLiteral("PgDataObject")), m_database(database)
{
}

PGconn* PgDriver::handle() const
{
    if (!m_database.isOpen() || !m_database.driver())
        return nullptr;
    const QVariant value = m_database.driver()->handle();
    // Qt names the type by its struct or by libpq's typedef, depending on its version.
    if (!value.isValid() ||
        (qstrcmp(value.typeName(), "PGconn*") != 0 && qstrcmp(value.typeName(), "pg_conn*") != 0))
        return nullptr;
    return *static_cast<PGconn* const*>(value.constData());
}

RuntimeError PgDriver::serverError(PGconn* connection, const PGresult* result) const
{
    // A connection that broke has no result to give a code: it gets the standard code of a
    // connection failure.
    QString code = sqlState(result);
    if (code.isEmpty() && (!connection || PQstatus(connection) != CONNECTION_OK))
        code = ConnectionFailure;
    return error(serverMessage(connection, result), code);
}

void PgDriver::command(PGconn* connection, const QByteArray& sql) const
{
    Result result(PQexec(connection, sql.constData()));
    if (!succeeded(result))
        throw serverError(connection, result.get());
}

QString PgDriver::value(PGconn* connection, const char* sql) const
{
    Result result(PQexec(connection, sql));
    if (!succeeded(result) || PQntuples(result.get()) != 1 || PQnfields(result.get()) != 1)
        throw serverError(connection, result.get());
    return QString::fromUtf8(PQgetvalue(result.get(), 0, 0));
}

bool PgDriver::isOpen() const
{
    PGconn* current = handle();
    return current && PQstatus(current) == CONNECTION_OK;
}

bool PgDriver::canDeallocate(PGconn* connection, int backend) const
{
    PGconn* current = handle();
    return current && current == connection && PQstatus(current) == CONNECTION_OK &&
           PQbackendPID(current) == backend && PQtransactionStatus(current) == PQTRANS_IDLE;
}

StatementDriver::Connection PgDriver::open()
{
    PGconn* current = handle();
    if (!current || PQstatus(current) != CONNECTION_OK) {
        // A unit lost with its connection stays lost: its statements must not go on, one by
        // one, on a new connection.
        if (m_inUnit)
            fail(QStringLiteral("The connection to the database was lost; the unit of atomic "
                                "writes was undone"),
                 ConnectionFailure);
        if (m_database.isOpen())
            m_database.close();
        if (!m_database.open()) {
            const QString code = m_database.lastError().nativeErrorCode();
            fail(m_database.lastError().text(), code.isEmpty() ? CannotConnect : code);
        }
        current = handle();
        if (!current)
            fail(QStringLiteral("The connection is not a PostgreSQL connection"));
    }
    if (current != m_connection || PQbackendPID(current) != m_backend) {
        m_columnKinds.clear();
        m_connection = current;
        m_backend = PQbackendPID(current);
        // Dates as "yyyy-mm-dd", reals with every digit, text in UTF-8.
        Result settings(PQexec(current, "SET DateStyle TO ISO; SET extra_float_digits TO 3; "
                                        "SET client_encoding TO 'UTF8'"));
        if (!succeeded(settings))
            throw serverError(current, settings.get());
    }
    return {current, m_backend};
}

ColumnKind PgDriver::columnKind(PGconn* c, const QString& table, const QString& column)
{
    const QString key = table.toLower() + u'.' + column.toLower();
    const auto found = m_columnKinds.constFind(key);
    if (found != m_columnKinds.cend())
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
    m_columnKinds.insert(key, kind);
    return kind;
}

StatementRewriter::Translation PgDriver::translate(PGconn* c, const SqlLexer::Lexed& text)
{
    StatementRewriter::Translation translation;
    try {
        translation = StatementRewriter::translate(
            text,
            [&](const QString& table, const QString& column) {
                return columnKind(c, table, column);
            },
            m_dialect);
    } catch (const RuntimeError& error) {
        fail(error.description);
    }
    if (translation.statements == 0)
        fail(QStringLiteral("No SQL statement to execute"));
    if (translation.statements > 1)
        fail(QStringLiteral("Unable to execute multiple statements at a time"));
    return translation;
}

std::unique_ptr<PreparedStatement> PgDriver::prepareShared(const SqlLexer::Lexed& text,
                                                           qsizetype valueCount)
{
    PGconn* c = m_connection;
    const StatementRewriter::Translation translation = translate(c, text);
    if (translation.parameters.size() != valueCount || PQtransactionStatus(c) == PQTRANS_INERROR)
        return nullptr;
    auto prepared = std::make_unique<Prepared>(*this, c);
    prepared->text = text.text;
    prepared->conversions = translation.parameters;
    const QByteArray name = nextStatementName();
    Result result(
        PQprepare(c, name.constData(), translation.text.toUtf8().constData(), 0, nullptr));
    if (succeeded(result)) {
        prepared->name = name;
        return prepared;
    }
    // Nothing more can run when the connection broke or the failure undid the open unit;
    // otherwise the text runs as written, and its errors read as they would.
    if (PQstatus(c) != CONNECTION_OK || PQtransactionStatus(c) == PQTRANS_INERROR)
        throw serverError(c, result.get());
    return nullptr;
}

std::unique_ptr<PreparedStatement> PgDriver::prepareOnce(const SqlLexer::Lexed& text)
{
    auto prepared = std::make_unique<Prepared>(*this, m_connection);
    prepared->sent = translate(m_connection, text).text.toUtf8();
    prepared->text = text.text;
    return prepared;
}

// Reads what is left of a query sent in single-row mode. Rows the server is still sending are
// not waited for: the query is cancelled, unless a unit is open (a cancel would undo it), in
// which case they are read and dropped.
void PgDriver::finishQuery(PGconn* c)
{
    const bool mayCancel = PQtransactionStatus(c) == PQTRANS_ACTIVE && !m_inUnit;
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

namespace {

// Runs a statement to its end and gives its result, or Stale for a kept statement whose
// tables changed under it (the server then refuses it with 0A000 outside a unit).
StatementDriver::Ending runToEnd(const PgDriver& driver, PGconn* c, Prepared& prepared,
                                 const QVariantList& values, Result& result)
{
    if (prepared.isKept()) {
        const Parameters parameters(driver, values, prepared.conversions);
        result.reset(PQexecPrepared(c, prepared.name.constData(), parameters.count(),
                                    parameters.data(), nullptr, nullptr, 0));
    } else {
        result.reset(
            PQexecParams(c, prepared.sent.constData(), 0, nullptr, nullptr, nullptr, nullptr, 0));
    }
    if (succeeded(result))
        return StatementDriver::Ending::Done;
    if (prepared.isKept() && PQstatus(c) == CONNECTION_OK &&
        PQtransactionStatus(c) == PQTRANS_IDLE && sqlState(result.get()) == QLatin1String("0A000"))
        return StatementDriver::Ending::Stale;
    throw driver.serverError(c, result.get());
}

} // namespace

StatementDriver::Ending PgDriver::query(PreparedStatement& statement, const QVariantList& values,
                                        Reading reading, RowReceiver& receiver)
{
    auto& prepared = static_cast<Prepared&>(statement);
    PGconn* c = m_connection;
    if (reading == Reading::Whole) {
        Result result;
        if (runToEnd(*this, c, prepared, values, result) == Ending::Stale)
            return Ending::Stale;
        if (result.status() != PGRES_TUPLES_OK)
            return Ending::Done;
        const Description& description = prepared.descriptionOf(result.get());
        receiver.fields(description.empty);
        const int count = PQntuples(result.get());
        QVariantList rowValues;
        for (int row = 0; row < count; ++row) {
            readValues(result.get(), row, description.kinds, rowValues);
            if (!receiver.row(rowValues))
                break;
        }
        return Ending::Done;
    }

    const bool sent = [&] {
        if (!prepared.isKept())
            return PQsendQueryParams(c, prepared.sent.constData(), 0, nullptr, nullptr, nullptr,
                                     nullptr, 0) == 1;
        const Parameters parameters(*this, values, prepared.conversions);
        return PQsendQueryPrepared(c, prepared.name.constData(), parameters.count(),
                                   parameters.data(), nullptr, nullptr, 0) == 1;
    }();
    if (!sent)
        throw serverError(c, nullptr);
    PQsetSingleRowMode(c);
    bool going = true;
    const Description* description = nullptr;
    QVariantList rowValues;
    try {
        while (going) {
            Result result(PQgetResult(c));
            if (!result.get())
                break;
            const ExecStatusType status = result.status();
            if (status == PGRES_SINGLE_TUPLE) {
                // Every row of one result has the same fields.
                if (!description) {
                    description = &prepared.descriptionOf(result.get());
                    receiver.fields(description->empty);
                }
                readValues(result.get(), 0, description->kinds, rowValues);
                going = receiver.row(rowValues);
            } else if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
                const RuntimeError error = serverError(c, result.get());
                result.reset(nullptr);
                finishQuery(c);
                throw error;
            }
        }
    } catch (...) {
        finishQuery(c);
        throw;
    }
    finishQuery(c);
    return Ending::Done;
}

StatementDriver::Ending PgDriver::action(PreparedStatement& statement, const QVariantList& values,
                                         qint32& changed)
{
    Result result;
    if (runToEnd(*this, m_connection, static_cast<Prepared&>(statement), values, result) ==
        Ending::Stale)
        return Ending::Stale;
    changed = changedRecords(result.get());
    return Ending::Done;
}

} // namespace oquivran
