#pragma once

#include <QString>

namespace oquivran {

// The SQL text of the discharge screens (line edit, stock search), exactly as the component
// sends it. Text values are written between quotes without escaping; a value holding a quote
// is refused with a RuntimeError before any text is built.
class ScreenStatements
{
public:
    // Which stock lines the search lists.
    enum class StockFilter {
        AllLines,      // every stock line of the input
        AvailableOnly, // only lines with something available on an authorised declaration
    };

    // Writes a C.T.C. into every stock line of a declaration and tariff position.
    static QString updateCtc(const QString& ctc, const QString& declaration,
                             const QString& tariffPosition);
    // Writes an export reference into every stock line of a declaration and tariff position.
    static QString updateExportReference(const QString& exportReference, const QString& declaration,
                                         const QString& tariffPosition);
    // The stock lines of a declaration and tariff position, "where ..." as the two updates
    // above end.
    static QString tariffLinesWhere(const QString& declaration, const QString& tariffPosition);
    // The stock lines whose input code begins with prefix, earliest expiry first.
    static QString stockSearch(const QString& prefix, StockFilter filter);
};

} // namespace oquivran
