#pragma once

#include <QString>

namespace oquivran {

// One line of the report line buffer: its kind ("T" for headings, titles, rules and totals,
// " " otherwise) and its fully padded text.
struct ReportLine
{
    QString kind;
    QString text;
};

// The running totals the report generators accumulate.
struct ReportTotals
{
    double declaredQuantity = 0;
    double inputQuantity = 0;
    double loss = 0;
    double shrinkage = 0;
    double cif = 0;
};

} // namespace oquivran
