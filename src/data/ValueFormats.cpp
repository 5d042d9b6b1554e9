#include "ValueFormats.h"

#include "Settings.h"

namespace oquivran {

ValueFormatSet ValueFormats::forMoment(FormatMoment moment, const QString& opVDE)
{
    // Only the exact text "N" is normal mode.
    if (opVDE != QStringLiteral("N")) {
        const QString extended = QStringLiteral("00.00000000");
        return {true, extended, extended};
    }
    // A discharge rounds quantities to four decimals while start-up and printing use six; the
    // difference is deliberate.
    const QString six = QStringLiteral("00.000000");
    if (moment == FormatMoment::Discharge)
        return {false, QStringLiteral("00.0000"), six};
    return {false, six, six};
}

QString ValueFormats::readMode()
{
    return Settings::value(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), QStringLiteral("N"));
}

ValueFormatSet ValueFormats::current(FormatMoment moment)
{
    return forMoment(moment, readMode());
}

} // namespace oquivran
