#include "FloorStatement.h"

#include "DateText.h"
#include "NumberText.h"
#include "StatementRewriter.h"

#include <QDate>

#include <charconv>
#include <stdexcept>

#include <libpq-fe.h>
#include <sqlite3.h>

namespace {

using ColumnKind = oquivran::StatementRewriter::ColumnKind;

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

// The declared kind of a column, as the component's data-access object reads it.
ColumnKind kindOf(sqlite3* db, const QString& table, const QString& column)
{
    const char* declared = nullptr;
    if (sqlite3_table_column_metadata(db, nullptr, table.toUtf8().constData(),
                                      column.toUtf8().constData(), &declared, nullptr, nullptr,
                                      nullptr, nullptr) != SQLITE_OK ||
        !declared)
        return ColumnKind::Other;
    const QString type = QString::fromUtf8(declared).trimmed().section(u' ', 0, 0).toUpper();
    if (type == u"REAL" || type == u"DOUBLE" || type == u"FLOAT" || type == u"NUMERIC")
        return ColumnKind::Real;
    if (type == u"DATE" || type == u"DATETIME")
        return ColumnKind::Date;
    return ColumnKind::Other;
}

} // namespace

QString FloorStatement::parameterized(const QString& builtSql, const QStringList& markers)
{
    QString parameterized;
    for (qsizetype i = 0; i < builtSql.size();) {
        int found = -1;
        const bool boundaryBefore = i == 0 || !isWordChar(builtSql.at(i - 1));
        for (int m = 0; boundaryBefore && m < markers.size(); ++m) {
            const QString& marker = markers.at(m);
            const qsizetype end = i + marker.size();
            if (builtSql.mid(i, marker.size()) == marker &&
                (end >= builtSql.size() || !isWordChar(builtSql.at(end)) ||
                 !isWordChar(marker.back()))) {
                found = m;
                break;
            }
        }
        if (found < 0) {
            parameterized += builtSql.at(i++);
            continue;
        }
        parameterized += u'?';
        m_parameterMarkers.push_back(found);
        i += markers.at(found).size();
    }
    return parameterized;
}

FloorStatement::FloorStatement(const FloorConnection& connection, const QString& builtSql,
                               const QStringList& markers)
    : m_db(connection.sqlite), m_connection(connection.server), m_values(markers.size())
{
    if (m_connection)
        prepareOnServer(builtSql, markers);
    else
        prepareOnSqlite(builtSql, markers);
}

void FloorStatement::prepareOnSqlite(const QString& builtSql, const QStringList& markers)
{
    sqlite3* db = m_db;
    m_sql = oquivran::StatementRewriter::rewrite(
        parameterized(builtSql, markers),
        [db](const QString& table, const QString& column) { return kindOf(db, table, column); });
    const QByteArray text = m_sql.toUtf8();
    if (sqlite3_prepare_v2(db, text.constData(), int(text.size()), &m_statement, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error("floor statement: " + std::string(sqlite3_errmsg(db)) + ": " +
                                 text.toStdString());
}

void FloorStatement::prepareOnServer(const QString& builtSql, const QStringList& markers)
{
    pg_conn* connection = m_connection;
    static int serial = 0;
    m_name = "floor_" + QByteArray::number(++serial);
    const auto kind = [connection](const QString& table, const QString& column) {
        const QByteArray t = table.toLower().toUtf8();
        const QByteArray c = column.toLower().toUtf8();
        const char* values[] = {t.constData(), c.constData()};
        PGresult* result =
            PQexecParams(connection,
                         "select format_type(atttypid, null) from pg_attribute where attrelid = "
                         "to_regclass($1) and attname = $2",
                         2, nullptr, values, nullptr, nullptr, 0);
        ColumnKind found = ColumnKind::Other;
        if (PQntuples(result) == 1) {
            const QByteArray type = PQgetvalue(result, 0, 0);
            if (type == "double precision" || type == "real" || type == "numeric")
                found = ColumnKind::Real;
            else if (type == "date")
                found = ColumnKind::Date;
        }
        PQclear(result);
        return found;
    };
    const auto translation = oquivran::StatementRewriter::translate(
        parameterized(builtSql, markers), kind, oquivran::SqlDialect::postgresql());
    m_sql = translation.text;
    for (const auto conversion : translation.parameters)
        m_conversions.push_back(int(conversion));
    PGresult* result =
        PQprepare(connection, m_name.constData(), m_sql.toUtf8().constData(), 0, nullptr);
    const bool ok = PQresultStatus(result) == PGRES_COMMAND_OK;
    PQclear(result);
    if (!ok)
        throw std::runtime_error("floor statement: " + std::string(PQerrorMessage(connection)) +
                                 ": " + m_sql.toStdString());
}

FloorStatement::~FloorStatement()
{
    sqlite3_finalize(m_statement);
    PQclear(m_result);
}

bool FloorStatement::stepOnServer()
{
    using Conversion = oquivran::StatementRewriter::Conversion;
    if (!m_result) {
        std::vector<QByteArray> texts;
        std::vector<const char*> values;
        for (size_t p = 0; p < m_parameterMarkers.size(); ++p) {
            const QVariant& value = m_values[size_t(m_parameterMarkers[p])];
            const auto conversion =
                p < m_conversions.size() ? Conversion(m_conversions[p]) : Conversion::AsWritten;
            QByteArray text;
            if (value.typeId() == QMetaType::Double) {
                char buffer[64];
                const auto written =
                    std::to_chars(buffer, buffer + sizeof buffer, value.toDouble());
                text = QByteArray(buffer, written.ptr - buffer);
            } else if (value.typeId() == QMetaType::QDate) {
                text = value.toDate().toString(Qt::ISODate).toLatin1();
            } else if ((conversion == Conversion::Date || conversion == Conversion::DateText) &&
                       oquivran::DateText::holdsDate(value.toString())) {
                text =
                    oquivran::DateText::toDate(value.toString()).toString(Qt::ISODate).toLatin1();
            } else if ((conversion == Conversion::Number || conversion == Conversion::Real) &&
                       value.typeId() == QMetaType::QString) {
                char buffer[64];
                const auto written =
                    std::to_chars(buffer, buffer + sizeof buffer,
                                  oquivran::NumberText::toNumber(value.toString()));
                text = QByteArray(buffer, written.ptr - buffer);
            } else {
                text = value.toString().toUtf8();
            }
            texts.push_back(text);
        }
        for (const QByteArray& text : texts)
            values.push_back(text.constData());
        m_result = PQexecPrepared(m_connection, m_name.constData(), int(values.size()),
                                  values.data(), nullptr, nullptr, 0);
        const ExecStatusType status = PQresultStatus(m_result);
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
            throw std::runtime_error("floor step: " + std::string(PQerrorMessage(m_connection)));
        m_row = 0;
    } else {
        ++m_row;
    }
    return m_row < PQntuples(m_result);
}

void FloorStatement::set(int marker, const QVariant& value)
{
    m_values[size_t(marker)] = value;
    m_bound = false;
}

void FloorStatement::bindAll()
{
    for (size_t p = 0; p < m_parameterMarkers.size(); ++p) {
        const QVariant& value = m_values[size_t(m_parameterMarkers[p])];
        const int index = int(p) + 1;
        switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            sqlite3_bind_int64(m_statement, index, value.toLongLong());
            break;
        case QMetaType::Double:
            sqlite3_bind_double(m_statement, index, value.toDouble());
            break;
        default: {
            const QByteArray text = value.toString().toUtf8();
            sqlite3_bind_text(m_statement, index, text.constData(), int(text.size()),
                              SQLITE_TRANSIENT);
        }
        }
    }
    m_bound = true;
}

bool FloorStatement::step()
{
    if (m_connection)
        return stepOnServer();
    if (!m_bound)
        bindAll();
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_ROW)
        return true;
    if (rc != SQLITE_DONE)
        throw std::runtime_error("floor step: " + std::string(sqlite3_errmsg(m_db)));
    return false;
}

void FloorStatement::readRow() const
{
    if (m_connection) {
        for (int c = 0; c < PQnfields(m_result); ++c)
            PQgetvalue(m_result, m_row, c);
        return;
    }
    const int columns = sqlite3_column_count(m_statement);
    for (int c = 0; c < columns; ++c) {
        if (sqlite3_column_type(m_statement, c) == SQLITE_TEXT)
            sqlite3_column_text(m_statement, c);
        else
            sqlite3_column_double(m_statement, c);
    }
}

int FloorStatement::drain()
{
    int rows = 0;
    while (step()) {
        readRow();
        ++rows;
    }
    reset();
    return rows;
}

void FloorStatement::reset()
{
    if (m_connection) {
        PQclear(m_result);
        m_result = nullptr;
        return;
    }
    sqlite3_reset(m_statement);
}

double FloorStatement::real(int column) const
{
    if (m_connection) {
        const char* text = PQgetvalue(m_result, m_row, column);
        double value = 0;
        std::from_chars(text, text + PQgetlength(m_result, m_row, column), value);
        return value;
    }
    return sqlite3_column_double(m_statement, column);
}

QString FloorStatement::text(int column) const
{
    if (m_connection)
        return QString::fromUtf8(PQgetvalue(m_result, m_row, column),
                                 PQgetlength(m_result, m_row, column));
    return QString::fromUtf8(
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column)),
        sqlite3_column_bytes(m_statement, column));
}
