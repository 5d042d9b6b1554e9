#pragma once

#include <QString>

namespace oquivran {

// The kinds of report lines.
enum class LineKind {
    Title,  // "T": headings, column titles, rules and totals, printed bold
    Detail, // " ": detail lines and spacers
};

// The report line buffer of the module state (reportLines, reportTotals), as the generators
// fill it.
class ReportBuffer
{
public:
    // Empties the lines and zeroes the totals.
    static void clear();
    // Appends one line of the given kind.
    static void append(LineKind kind, const QString& text);
    // The kind text of a line: "T" or " ".
    static QString kindText(LineKind kind);
};

} // namespace oquivran
