#include "ColumnLayout.h"

namespace oquivran {

ColumnLayout::ColumnLayout(const QList<ReportColumn>& columns) : m_columns(columns) {}

QString ColumnLayout::titleLine() const
{
    QStringList titles;
    for (const ReportColumn& column : m_columns)
        titles.append(column.title);
    return line(titles, Widths::Titles);
}

QString ColumnLayout::detailLine(const QStringList& values) const
{
    return line(values, Widths::Values);
}

QString ColumnLayout::line(const QStringList& texts, Widths widths) const
{
    static const QString none;
    const auto textOf = [&](int column) -> const QString& {
        return column < texts.size() ? texts.at(column) : none;
    };
    // One blank between columns.
    qsizetype length = 0;
    bool refused = false;
    for (int column = 0; column < m_columns.size(); ++column) {
        const qint16 width = widthOf(column, widths);
        length += (column > 0 ? 1 : 0) + qMax<qint16>(width, 0);
        refused = refused || width < 0;
    }
    if (refused) {
        // A negative width prints Alinear's error text in its column.
        QString result;
        for (int column = 0; column < m_columns.size(); ++column)
            appendAligned(result, textOf(column), m_columns.at(column).alignment,
                          widthOf(column, widths), column > 0 ? 1 : 0);
        return result;
    }
    // Sized once and written column after column: a report is thousands of these lines.
    QString result(length, Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(result.data());
    for (int column = 0; column < m_columns.size(); ++column)
        out = writeAligned(out, textOf(column), m_columns.at(column).alignment,
                           widthOf(column, widths), column > 0 ? 1 : 0);
    return result;
}

QString ColumnLayout::rule(int column, Widths widths) const
{
    return QString(widthOf(column, widths), u'-');
}

QString ColumnLayout::ruleLine() const
{
    QStringList rules;
    for (int column = 0; column < m_columns.size(); ++column)
        rules.append(rule(column));
    return line(rules, Widths::Titles);
}

int ColumnLayout::indexOf(const QString& title) const
{
    for (int column = 0; column < m_columns.size(); ++column) {
        if (m_columns.at(column).title == title)
            return column;
    }
    return -1;
}

qint16 ColumnLayout::widthOf(int column, Widths widths) const
{
    const ReportColumn& c = m_columns.at(column);
    return widths == Widths::Titles && c.titleWidth > 0 ? c.titleWidth : c.width;
}

} // namespace oquivran
