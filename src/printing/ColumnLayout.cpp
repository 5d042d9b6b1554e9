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
    qsizetype length = m_columns.size();
    for (int column = 0; column < m_columns.size(); ++column)
        length += qMax<qsizetype>(widthOf(column, widths), 0);
    QString result;
    result.reserve(length);
    for (int column = 0; column < m_columns.size(); ++column) {
        // One blank between columns.
        appendAligned(result, column < texts.size() ? texts.at(column) : none,
                      m_columns.at(column).alignment, widthOf(column, widths), column > 0 ? 1 : 0);
    }
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
