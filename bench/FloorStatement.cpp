#include "FloorStatement.h"

#include "StatementRewriter.h"

#include <stdexcept>

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

FloorStatement::FloorStatement(sqlite3* db, const QString& builtSql, const QStringList& markers)
    : m_db(db), m_values(markers.size())
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
    m_sql = oquivran::StatementRewriter::rewrite(
        parameterized,
        [db](const QString& table, const QString& column) { return kindOf(db, table, column); });
    const QByteArray text = m_sql.toUtf8();
    if (sqlite3_prepare_v2(db, text.constData(), int(text.size()), &m_statement, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error("floor statement: " + std::string(sqlite3_errmsg(db)) + ": " +
                                 text.toStdString());
}

FloorStatement::~FloorStatement()
{
    sqlite3_finalize(m_statement);
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
    sqlite3_reset(m_statement);
}

double FloorStatement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

QString FloorStatement::text(int column) const
{
    return QString::fromUtf8(
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column)),
        sqlite3_column_bytes(m_statement, column));
}
