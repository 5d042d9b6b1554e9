#pragma once

#include <QString>

namespace oquivran {

// Text rules of the component. Lengths and cuts count UTF-16 code units, as QString does.
class TextRules
{
public:
    // Removes blanks (U+0020) at both ends; tabs and line breaks stay.
    static QString trim(const QString& text);
};

} // namespace oquivran
