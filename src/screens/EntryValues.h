#pragma once

#include <QString>

namespace oquivran {

// Numbers as the screens take them: formatted with a pattern and read back, so they keep the
// precision the pattern shows.
class EntryValues
{
public:
    // value formatted with pattern and converted back to a number.
    static double rounded(double value, const QString& pattern);
    // The number that text holds, rounded likewise; RuntimeError 13 when it holds none.
    static double rounded(const QString& text, const QString& pattern);
};

} // namespace oquivran
