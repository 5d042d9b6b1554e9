#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <QHash>

namespace oquivran {

// The rows of one query, read in full when it was opened, so recordCount() is known before
// the first row is read. Fields are found by name, case-insensitively; SQL NULL reads as a
// null QVariant.
class Recordset
{
public:
    Recordset() = default;
    // Makes an empty recordset with these fields and no rows, positioned at its end.
    explicit Recordset(const QStringList& fieldNames);

    // True when there is no current row: past the last row, or no rows at all.
    bool eof() const;
    // Goes to the first row (eof() stays true when there are none).
    void moveFirst();
    // Goes to the next row; past the last one eof() becomes true.
    void moveNext();
    // Number of rows, known without reading them.
    int recordCount() const;
    // Value of a field in the current row. Throws RuntimeError 3265 for an unknown field and
    // 3021 "No current record." when eof() is true.
    QVariant value(const QString& field) const;
    // Position of a field among fieldNames(), found as value() finds it; -1 when there is none.
    // Rows of one result share their fields, so a loop finds each position once.
    int indexOf(const QString& field) const { return fieldIndex(field); }
    // The positions of several fields, in the order given.
    QList<int> indexOf(const QStringList& fields) const;
    // Value of the field at a position given by indexOf() in the current row. Throws the same
    // errors as value() by name: 3265 for a position out of range (-1 included), 3021 at eof().
    QVariant value(int index) const;
    // The same value without a copy, valid while the recordset stays on this row unchanged:
    // for loops that read many fields of many rows. Throws as value(int) does.
    const QVariant& at(int index) const;

    // Field names in query order.
    QStringList fieldNames() const { return m_fieldNames; }
    // Replaces the fields; drops every row.
    void setFieldNames(const QStringList& fieldNames);
    // Appends a row with one value per field (missing values are null, extra ones dropped);
    // the position goes back to the first row.
    void appendRow(const QVariantList& values);
    // The same, taking the values over: no copy when there is one per field.
    void appendRow(QVariantList&& values);
    // Makes these values the only row, positioned on it; the list given back holds what the
    // row held before (empty the first time), for the caller to fill again without allocating.
    void replaceRows(QVariantList& values);
    // Drops fields and rows.
    void clear();

private:
    int fieldIndex(const QString& field) const;
    // Cuts or pads a row's values to one per field.
    void fitToFields(QVariantList& values) const;

    QStringList m_fieldNames;
    QHash<QString, int> m_index;
    // For each field, the field its name finds: the first of that name in any letter case.
    QList<int> m_found;
    QList<QVariantList> m_rows;
    int m_position = 0;
};

} // namespace oquivran
