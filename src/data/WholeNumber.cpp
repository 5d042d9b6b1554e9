#include "WholeNumber.h"

#include <oquivran/RuntimeError.h>

#include <cmath>
#include <limits>

namespace oquivran {

qint16 WholeNumber::toInt16(double value)
{
    if (std::isnan(value))
        throw RuntimeError::overflow();
    // Half to even: 2.5 gives 2, 3.5 gives 4, -32768.5 gives -32768.
    const double rounded = std::nearbyint(value);
    if (rounded < std::numeric_limits<qint16>::min() ||
        rounded > std::numeric_limits<qint16>::max())
        throw RuntimeError::overflow();
    return qint16(rounded);
}

qint16 WholeNumber::toInt16(qint64 value)
{
    if (value < std::numeric_limits<qint16>::min() || value > std::numeric_limits<qint16>::max())
        throw RuntimeError::overflow();
    return qint16(value);
}

} // namespace oquivran
