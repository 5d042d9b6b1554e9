#pragma once

#include <QString>

namespace oquivran {

// Who runs the component, as the operating system knows them: the name the audit trail records
// on SQLite when the host gives none.
class OperatingSystemUser
{
public:
    // The account's name: on Windows the logged-on user's, elsewhere the name of the effective
    // user id in the user database, else $USER or $LOGNAME, else the id's number. Never empty:
    // "?" when nothing at all names the user.
    static QString name();
};

} // namespace oquivran
