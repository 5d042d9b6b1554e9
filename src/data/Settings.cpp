#include "Settings.h"

#include <QSettings>

namespace oquivran {

namespace {
QSettings store()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("oQUIVRAN"),
                     QStringLiteral("oQUIVRAN"));
}
} // namespace

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
