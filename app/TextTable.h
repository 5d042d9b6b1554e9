#pragma once

#include <QJsonArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

// A result table of the headless subcommands, written in one of three formats: a plain-text
// table for the terminal (a header row, a rule and the rows, each column as wide as its widest
// cell, the columns marked Right right-aligned, numbers in the user's locale), CSV (comma,
// quoting where needed, a dot decimal, the columns' keys as header) or JSON (an array of
// objects keyed by the columns' keys, numbers as numbers). Dates show in the user's locale in
// the text table and as ISO (yyyy-mm-dd) in CSV and JSON; a null value is an empty cell (null
// in JSON).
class TextTable
{
public:
    // Column alignment in the text table.
    enum class Align {
        Left,
        Right,
    };
    // How a table is written.
    enum class Format {
        Table,
        Csv,
        Json,
    };
    // A column: its heading in the text table, its alignment, its key in CSV and JSON, and
    // for numbers the decimals shown (-1 for a whole number).
    struct Column
    {
        QString header;
        QString key;
        Align align = Align::Left;
        int decimals = -1;
    };

    // A number together with the text it is shown as in the text table (a figure the
    // component has already formatted); CSV and JSON carry the number.
    struct Figure
    {
        double value = 0;
        QString text;
    };

    explicit TextTable(const QList<Column>& columns);
    // Columns of text, keyed by their headings.
    explicit TextTable(const QStringList& headers, const QList<Align>& aligns = {});

    // Appends a row of texts (one cell per column).
    void addRow(const QStringList& cells);
    // Appends a row of values: texts, numbers (written as the column says), dates, figures
    // (QVariant::fromValue(Figure{...})) or null (empty).
    void addValues(const QVariantList& values);
    int rowCount() const { return int(m_rows.size()); }

    // The text table, each line ending in a line break.
    QString toText() const;
    // The CSV text: the keys, then one line per row.
    QString toCsv() const;
    // The rows as JSON objects.
    QJsonArray toJson() const;

private:
    QString textCell(int column, const QVariant& value) const;

    QList<Column> m_columns;
    QList<QVariantList> m_rows;
};
