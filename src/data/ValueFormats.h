#pragma once

#include <QString>

namespace oquivran {

// The moments at which the quantity formats are chosen.
enum class FormatMoment {
    Creation,  // the component is created
    Discharge, // AgregarInsumo
    Printing,  // GenerarIMP
};

// The mode flag and the two quantity formats.
struct ValueFormatSet
{
    bool extendedDecimals = false;
    QString valueFormat;
    QString secondFormat;
};

// Chooses the quantity formats from the "opVDE" setting.
class ValueFormats
{
public:
    // "N" is normal mode, any other value extended-decimals mode.
    static ValueFormatSet forMoment(FormatMoment moment, const QString& opVDE);
    // The setting "opVDE" of section "CONFIG", "N" when absent.
    static QString readMode();
    // forMoment() with the setting as it is now.
    static ValueFormatSet current(FormatMoment moment);
};

} // namespace oquivran
