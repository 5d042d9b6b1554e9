#include "ComModule.h"

#include "ApplicationGuard.h"
#include "VariantConversion.h"

#include <oquivran/RuntimeError.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <atomic>
#include <map>

namespace oquivran::com {

namespace {

HINSTANCE moduleInstance = nullptr;
std::atomic<long> liveObjects{0};
std::atomic<long> serverLocks{0};
bool qtMadeHere = false;

ITypeLib* typeLibrary()
{
    static ITypeLib* library = [] {
        ITypeLib* loaded = nullptr;
        const std::wstring file = ComModule::path().toStdWString();
        if (FAILED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &loaded)))
            return static_cast<ITypeLib*>(nullptr);
        return loaded;
    }();
    return library;
}

} // namespace

void ComModule::setInstance(HINSTANCE instance)
{
    moduleInstance = instance;
}

HINSTANCE ComModule::instance()
{
    return moduleInstance;
}

QString ComModule::path()
{
    wchar_t buffer[MAX_PATH * 4];
    const DWORD length = GetModuleFileNameW(moduleInstance, buffer, DWORD(std::size(buffer)));
    return QString::fromWCharArray(buffer, int(length));
}

QString ComModule::folder()
{
    return QDir::toNativeSeparators(QFileInfo(path()).absolutePath());
}

void ComModule::objectCreated()
{
    ++liveObjects;
}

void ComModule::objectDestroyed()
{
    --liveObjects;
}

void ComModule::lock(bool locked)
{
    if (locked)
        ++serverLocks;
    else
        --serverLocks;
}

bool ComModule::canUnload()
{
    if (QCoreApplication::instance())
        qtMadeHere = true;
    return liveObjects == 0 && serverLocks == 0 && !qtMadeHere;
}

void ComModule::prepareQt()
{
    static const bool prepared = [] {
        QCoreApplication::addLibraryPath(QFileInfo(path()).absolutePath());
        // The SQL drivers and the screens need the application object; a host that runs Qt
        // has its own.
        ApplicationGuard::ensure();
        return true;
    }();
    Q_UNUSED(prepared);
}

ITypeInfo* ComModule::typeInfo(REFIID iid)
{
    static std::map<GUID, ITypeInfo*, bool (*)(const GUID&, const GUID&)> found(
        [](const GUID& a, const GUID& b) { return memcmp(&a, &b, sizeof(GUID)) < 0; });
    const auto known = found.find(iid);
    if (known != found.end())
        return known->second;
    ITypeLib* library = typeLibrary();
    ITypeInfo* info = nullptr;
    if (!library || FAILED(library->GetTypeInfoOfGuid(iid, &info)))
        return nullptr;
    // A dual interface is found as its dispatch view; calls go through its vtable view.
    TYPEATTR* attributes = nullptr;
    if (SUCCEEDED(info->GetTypeAttr(&attributes))) {
        const bool dual =
            attributes->typekind == TKIND_DISPATCH && (attributes->wTypeFlags & TYPEFLAG_FDUAL);
        info->ReleaseTypeAttr(attributes);
        HREFTYPE reference = 0;
        ITypeInfo* vtableView = nullptr;
        if (dual && SUCCEEDED(info->GetRefTypeOfImplType(-1, &reference)) &&
            SUCCEEDED(info->GetRefTypeInfo(reference, &vtableView))) {
            info->Release();
            info = vtableView;
        }
    }
    found.emplace(iid, info);
    return info;
}

HRESULT ComModule::fail(const RuntimeError& error, const QString& source, REFIID iid)
{
    const qint32 number = error.number;
    const HRESULT result = number > 0 && number <= 0xFFFF
                               ? MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number)
                               : HRESULT(number < 0 ? number : E_FAIL);
    return fail(result, error.description, error.source.isEmpty() ? source : error.source, iid);
}

HRESULT ComModule::fail(HRESULT result, const QString& description, const QString& source,
                        REFIID iid)
{
    ICreateErrorInfo* create = nullptr;
    if (SUCCEEDED(CreateErrorInfo(&create))) {
        create->SetGUID(iid);
        const std::wstring text = description.toStdWString();
        const std::wstring from = source.toStdWString();
        create->SetDescription(const_cast<LPOLESTR>(text.c_str()));
        create->SetSource(const_cast<LPOLESTR>(from.c_str()));
        IErrorInfo* info = nullptr;
        if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
            SetErrorInfo(0, info);
            info->Release();
        }
        create->Release();
    }
    return result;
}

} // namespace oquivran::com
