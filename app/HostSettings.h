#pragma once

#include <QDate>

// The host's own settings (application "oquivran-host" in the user's settings folder) and the
// day it takes as today.
class HostSettings
{
public:
    // The expiry horizon in days: stock that falls due within it is shown in amber and listed
    // by `expiring`. Key "vencimientos/horizonte", default 60.
    static int expiryHorizon();
    static void setExpiryHorizon(int days);

    // Today, unless the environment variable OQUIVRAN_HOST_TODAY holds an ISO date
    // (yyyy-mm-dd): tests and screenshots pin the day the sample is dated from and checked on.
    static QDate today();
    static const char* todayVariable();
};
