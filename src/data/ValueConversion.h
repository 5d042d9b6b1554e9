#pragma once

#include <QString>
#include <QVariant>

namespace oquivran {

// Turns field values of a recordset into reals and text.
class ValueConversion
{
public:
    // Null is 0; numbers as they are, true as -1; text by the ordinary text-to-number
    // conversion (RuntimeError 13 when it is not a number); a date as its day count from
    // 30/12/1899.
    static double toReal(const QVariant& value);
    // Null is the empty text; numbers by the ordinary number-to-text conversion; dates as date
    // text; anything else as QVariant gives it.
    static QString toText(const QVariant& value);
};

} // namespace oquivran
