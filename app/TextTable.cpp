#include "TextTable.h"

#include <algorithm>

TextTable::TextTable(const QStringList& headers, const QList<Align>& aligns)
    : m_headers(headers), m_aligns(aligns)
{
}

void TextTable::addRow(const QStringList& cells)
{
    m_rows << cells;
}

QString TextTable::toText() const
{
    QList<int> widths;
    for (const QString& header : m_headers)
        widths << int(header.size());
    for (const QStringList& row : m_rows) {
        for (int c = 0; c < row.size() && c < widths.size(); ++c)
            widths[c] = std::max(widths[c], int(row[c].size()));
    }
    const auto line = [&](const QStringList& cells) -> QString {
        QStringList padded;
        for (int c = 0; c < widths.size(); ++c) {
            const QString cell = c < cells.size() ? cells[c] : QString();
            const bool right = c < m_aligns.size() && m_aligns[c] == Align::Right;
            padded << (right ? cell.rightJustified(widths[c]) : cell.leftJustified(widths[c]));
        }
        QString text = padded.join(QStringLiteral("  "));
        while (text.endsWith(u' '))
            text.chop(1);
        return text + u'\n';
    };
    QString text = line(m_headers);
    QStringList rules;
    for (int width : widths)
        rules << QString(width, u'-');
    text += rules.join(QStringLiteral("  ")) + u'\n';
    for (const QStringList& row : m_rows)
        text += line(row);
    return text;
}
