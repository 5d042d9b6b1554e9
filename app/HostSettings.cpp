#include "HostSettings.h"

#include <oquivran/Expiry.h>

#include <QSettings>

namespace {

const char* horizonKey = "vencimientos/horizonte";

const QString application = QStringLiteral("oquivran-host");

} // namespace

int HostSettings::expiryHorizon()
{
    bool ok = false;
    const QSettings settings(application, application);
    const int days = settings.value(horizonKey, oquivran::defaultExpiryHorizon).toInt(&ok);
    // A value that is not a number of days falls back to the default.
    return ok && days >= 0 ? days : oquivran::defaultExpiryHorizon;
}

void HostSettings::setExpiryHorizon(int days)
{
    QSettings settings(application, application);
    settings.setValue(horizonKey, days);
}

const char* HostSettings::todayVariable()
{
    return "OQUIVRAN_HOST_TODAY";
}

QDate HostSettings::today()
{
    const QDate pinned = QDate::fromString(qEnvironmentVariable(todayVariable()), Qt::ISODate);
    return pinned.isValid() ? pinned : QDate::currentDate();
}
