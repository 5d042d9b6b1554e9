#pragma once

#include <QtGlobal>

namespace oquivran {

// Narrowing to the component's 16-bit whole numbers.
class WholeNumber
{
public:
    // Rounds half to even; outside -32768..32767 (or NaN) throws RuntimeError 6 "Overflow".
    static qint16 toInt16(double value);
    // Outside -32768..32767 throws RuntimeError 6 "Overflow".
    static qint16 toInt16(qint64 value);
};

} // namespace oquivran
