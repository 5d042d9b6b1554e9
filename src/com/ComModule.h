#pragma once

#include <QString>

#include <oaidl.h>
#include <windows.h>

namespace oquivran {
class RuntimeError;
}

namespace oquivran::com {

// What the server shares across its objects: the DLL's own handle and path, the count of live
// objects and server locks that DllCanUnloadNow answers from, the type library, and how a
// failure becomes a COM error.
class ComModule
{
public:
    // Set once when the DLL is loaded.
    static void setInstance(HINSTANCE instance);
    static HINSTANCE instance();
    // The DLL's full path and its folder.
    static QString path();
    static QString folder();

    // Every object of the server counts itself while it lives.
    static void objectCreated();
    static void objectDestroyed();
    // IClassFactory::LockServer.
    static void lock(bool locked);
    // True when no object lives, no lock is held and Qt's application was not made here (it
    // is never destroyed under the loader lock, so the DLL then stays).
    static bool canUnload();

    // Makes Qt ready inside the host's process before the first object: Qt finds its plugins
    // (platforms, sqldrivers) in the DLL's folder, and the application object is made when
    // the host has none.
    static void prepareQt();

    // The type information of an interface of the embedded type library, its interface view
    // for a dual interface (not owned; null when the library cannot be read).
    static ITypeInfo* typeInfo(REFIID iid);

    // Hands the failure to the caller as a COM error: the error object (IErrorInfo) with the
    // description and source, and an HRESULT that carries the error's number (a small number
    // as Visual Basic's 0x800A0000 + number).
    static HRESULT fail(const RuntimeError& error, const QString& source, REFIID iid);
    static HRESULT fail(HRESULT result, const QString& description, const QString& source,
                        REFIID iid);
};

} // namespace oquivran::com
