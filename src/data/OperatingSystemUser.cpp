#include "OperatingSystemUser.h"

#ifdef Q_OS_WIN
#include <qt_windows.h>

#include <iterator>
#else
#include <pwd.h>
#include <unistd.h>

#include <vector>
#endif

namespace oquivran {

QString OperatingSystemUser::name()
{
#ifdef Q_OS_WIN
    wchar_t buffer[257]; // UNLEN + 1
    DWORD length = DWORD(std::size(buffer));
    if (GetUserNameW(buffer, &length) && length > 1)
        return QString::fromWCharArray(buffer, int(length - 1));
    const QString user = qEnvironmentVariable("USERNAME");
    return user.isEmpty() ? QStringLiteral("?") : user;
#else
    const uid_t id = geteuid();
    // A container's user may have no entry in the user database; the environment still names
    // them, and failing that the id itself does.
    long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? size_t(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(id, &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_name && *found->pw_name)
        return QString::fromLocal8Bit(found->pw_name);
    for (const char* variable : {"USER", "LOGNAME"}) {
        const QString user = qEnvironmentVariable(variable);
        if (!user.isEmpty())
            return user;
    }
    return QString::number(id);
#endif
}

} // namespace oquivran
