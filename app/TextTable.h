#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// A plain-text table for the terminal: a header row, a rule and the rows, each column as wide
// as its widest cell; the columns marked numeric are right-aligned.
class TextTable
{
public:
    // Column alignment.
    enum class Align {
        Left,
        Right,
    };

    explicit TextTable(const QStringList& headers, const QList<Align>& aligns = {});

    // Appends a row (one cell per column).
    void addRow(const QStringList& cells);
    int rowCount() const { return int(m_rows.size()); }
    // The table's text, each line ending in a line break.
    QString toText() const;

private:
    QStringList m_headers;
    QList<Align> m_aligns;
    QList<QStringList> m_rows;
};
