#pragma once

#include "ColumnLayout.h"
#include "SharedStatement.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QtGlobal>

namespace oquivran {

class Recordset;
struct ReportTotals;

// What makes one report of the component differ from the others: its columns, rule length,
// query and detail values, heading and closing block. The walk over items and sub-items that
// fills the report line buffer is ReportGenerator's, shared by all reports.
class ReportKind
{
public:
    virtual ~ReportKind();

    // Length of the rules of "-" around every sub-item heading.
    virtual qint16 ruleLength() const = 0;
    // The report's columns.
    virtual ColumnLayout layout() const = 0;
    // The query of a sub-item's discharge lines (and those grouped under it), built shared.
    virtual SharedStatement linesStatement(const QString& interno, qint16 idsub) const = 0;
    // Its text.
    QString linesQuery(const QString& interno, qint16 idsub) const;
    // Writes the detail values of the recordset's current row into values, one per column, and
    // adds what the report totals to totals. values holds one text per column, those of the
    // line before, whose room a figure is printed into.
    virtual void detailValues(const Recordset& row, ReportTotals& totals,
                              QStringList& values) const = 0;
    // The text of a sub-item heading before "ITEM: "; empty by default.
    virtual QString headingPrefix(const QString& idarticulo) const;
    // True when a line of short rules follows the column titles; false by default.
    virtual bool rulesUnderTitles() const;
    // Appends the block that follows the last item: by default a blank line and a rule, both
    // of kind "T".
    virtual void appendClosing(const ReportTotals& totals) const;

    // Porcentaje: a x b / 100.
    static double Porcentaje(double a, double b);
    // A loss or shrinkage: figure is a percentage of base when kind is 0, else the quantity.
    static double lossOrShrinkage(const QVariant& kind, const QVariant& figure, double base);
    // A run of length "-".
    static QString rule(int length);

protected:
    // The loss (RIPPER, TRPPER) and shrinkage (RIPMER, TRPMER) of the current row on a
    // discharged quantity, written into loss and shrinkage in the loss/shrinkage format; what
    // they show is added to totals.
    static void lossAndShrinkage(const Recordset& row, double base, ReportTotals& totals,
                                 QString& loss, QString& shrinkage);
    // A field of the current row as text (null is empty) and as a real, by the
    // value-conversion object.
    static QString text(const Recordset& row, const QString& field);
    static double real(const Recordset& row, const QString& field);
    // The same by a field's position (FieldPositions).
    static QString text(const Recordset& row, int position);
    static double real(const Recordset& row, int position);
    // A field formatted with a pattern.
    static QString formatted(const Recordset& row, const QString& field, const QString& pattern);
    static QString formatted(const Recordset& row, int position, const QString& pattern);
    static void formatted(QString& text, const Recordset& row, int position,
                          const QString& pattern);
    // The number a value formatted with a pattern shows: what the totals add. Throws
    // RuntimeError 13 when that text shows no number.
    static double shown(double value, const QString& pattern);
    // A width or length: the first in normal mode, the second in extended-decimals mode.
    static qint16 byMode(qint16 normal, qint16 extended);
};

} // namespace oquivran
