#pragma once

#include <QString>

namespace oquivran {

// The component's per-user settings: organization and application "oQUIVRAN" (on Linux
// $XDG_CONFIG_HOME/oQUIVRAN/oQUIVRAN.conf), sections "CONFIG" and "IMPRESION".
class Settings
{
public:
    // The value of a key, or defaultValue when it is absent.
    static QString value(const QString& section, const QString& key, const QString& defaultValue);
    // Writes a key.
    static void setValue(const QString& section, const QString& key, const QString& value);
};

} // namespace oquivran
