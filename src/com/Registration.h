#pragma once

#include <QString>

#include <windows.h>

namespace oquivran::com {

// The registry keys of the server: each creatable class (CLSID with InprocServer32,
// apartment threading, ProgID, type library) and its ProgID, the type library, and the
// interfaces (dual, marshalled by the type library). Written under Software\Classes of the
// machine (what HKEY_CLASSES_ROOT shows every user) or of the current user alone.
class Registration
{
public:
    enum class Scope {
        Machine, // HKEY_LOCAL_MACHINE\Software\Classes: regsvr32
        User,    // HKEY_CURRENT_USER\Software\Classes: regsvr32 /n /i:user, no administrator
    };

    // Writes every key, the DLL at path. Returns S_OK, or the registry's error; keys written
    // before a failure are removed again.
    static HRESULT write(Scope scope, const QString& path);
    // Removes every key write() writes; keys already gone are no error.
    static HRESULT remove(Scope scope);
};

} // namespace oquivran::com
