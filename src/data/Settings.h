#pragma once

#include <QSettings>
#include <QString>

namespace oquivran {

// The component's per-user settings of application "oQUIVRAN", sections "CONFIG" and
// "IMPRESION": on Linux $XDG_CONFIG_HOME/oQUIVRAN/oQUIVRAN.conf, on Windows the registry key
// HKEY_CURRENT_USER\Software\VB and VBA Program Settings\oQUIVRAN\<section>.
class Settings
{
public:
    // The value of a key, or defaultValue when it is absent.
    static QString value(const QString& section, const QString& key, const QString& defaultValue);
    // Writes a key.
    static void setValue(const QString& section, const QString& key, const QString& value);
    // The whole store, for whoever must read or clear it at once (the tests).
    static QSettings store();
};

} // namespace oquivran
