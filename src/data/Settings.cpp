#include "Settings.h"

#include <QSettings>

namespace oquivran {

QSettings Settings::store()
{
#ifdef Q_OS_WIN
    // Where Windows hosts keep (application, section, key) settings with the Visual Basic
    // runtime's SaveSetting: a value a host saved there is the one the component reads.
    const QString organization = QStringLiteral("VB and VBA Program Settings");
#else
    const QString organization = QStringLiteral("oQUIVRAN");
#endif
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, organization,
                     QStringLiteral("oQUIVRAN"));
}

QString Settings::value(const QString& section, const QString& key, const QString& defaultValue)
{
    return store().value(section + u'/' + key, defaultValue).toString();
}

void Settings::setValue(const QString& section, const QString& key, const QString& value)
{
    QSettings settings = store();
    settings.setValue(section + u'/' + key, value);
    settings.sync();
}

} // namespace oquivran
