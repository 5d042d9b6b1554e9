#include "EntryValues.h"

#include "NumberFormat.h"
#include "NumberText.h"

namespace oquivran {

double EntryValues::rounded(double value, const QString& pattern)
{
    return NumberText::toNumber(NumberFormat::format(value, pattern));
}

double EntryValues::rounded(const QString& text, const QString& pattern)
{
    return rounded(NumberText::toNumber(text), pattern);
}

} // namespace oquivran
