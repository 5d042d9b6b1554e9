#pragma once

#include "ColumnLayout.h"

#include <QDate>
#include <QString>

namespace oquivran {

struct ExpiryReport;

// The expiry listing ("VENCIMIENTOS DE IMPORTACION TEMPORAL"): the stock lines of the expiry
// check, grouped by declaration with a subtotal of the CIF at risk, expired lines marked
// "VENCIDA" and lines without expiry "SIN VTO.", and the overall total. It fills the report
// line buffer with the same columns, padding and kinds as the other reports, for the page
// output to print in landscape.
class ExpiryListing
{
public:
    // GenerarVencimientos: empties the buffer, runs the expiry check for the reference date
    // and horizon and appends the listing. False after an error, which the check reports;
    // the buffer is then left empty.
    static bool GenerarVencimientos(const QDate& asOf, int horizonDays);
    // Empties the buffer and appends the listing of a report.
    static void fill(const ExpiryReport& report);

    // The listing's columns.
    static ColumnLayout layout();
    // The title line: the listing's name, the reference date and the horizon.
    static QString title(const QDate& asOf, int horizonDays);
    // The mark of an expired line and of a line without expiry.
    static QString expiredMark();
    static QString noExpiryMark();
};

} // namespace oquivran
