// The entry points of the in-process server oQUIVRAN.dll: the class objects of its creatable
// classes, the unload query and its registration (regsvr32, and regsvr32 /n /i:user for the
// current user alone).
#include "ClassFactory.h"
#include "ComComponent.h"
#include "ComModule.h"
#include "ComRecordset.h"
#include "ComSqlDataObject.h"
#include "Registration.h"

#include <cwctype>
#include <string>

#include <windows.h>

using namespace oquivran::com;

namespace {

template <class Object> IUnknown* create()
{
    return static_cast<IDispatch*>(static_cast<typename Object::DispatchInterface*>(new Object));
}

// Whether DllInstall's command line asks for the current user alone ("user").
bool forUserAlone(LPCWSTR commandLine)
{
    if (!commandLine)
        return false;
    std::wstring words(commandLine);
    for (wchar_t& letter : words)
        letter = wchar_t(std::towlower(letter));
    return words.find(L"user") != std::wstring::npos;
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH) {
        ComModule::setInstance(instance);
        DisableThreadLibraryCalls(instance);
    }
    return TRUE;
}

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID requested, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    ClassFactory::Creator creator = nullptr;
    if (IsEqualCLSID(clsid, CLSID_clQUIVRAN))
        creator = create<ComComponent>;
    else if (IsEqualCLSID(clsid, CLSID_SqlDataObject))
        creator = create<ComSqlDataObject>;
    else if (IsEqualCLSID(clsid, CLSID_Recordset))
        creator = create<ComRecordset>;
    else
        return CLASS_E_CLASSNOTAVAILABLE;
    auto* factory = new ClassFactory(creator);
    const HRESULT result = factory->QueryInterface(requested, object);
    factory->Release();
    return result;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow()
{
    return ComModule::canUnload() ? S_OK : S_FALSE;
}

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer()
{
    return Registration::write(Registration::Scope::Machine, ComModule::path());
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer()
{
    return Registration::remove(Registration::Scope::Machine);
}

extern "C" HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR commandLine)
{
    const Registration::Scope scope =
        forUserAlone(commandLine) ? Registration::Scope::User : Registration::Scope::Machine;
    return install ? Registration::write(scope, ComModule::path()) : Registration::remove(scope);
}
