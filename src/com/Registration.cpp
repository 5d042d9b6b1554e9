#include "Registration.h"

#include "oQUIVRAN_h.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <vector>

namespace oquivran::com {

namespace {

struct CreatableClass
{
    const CLSID* clsid;
    const wchar_t* progId;
};

const CreatableClass creatableClasses[] = {
    {&CLSID_clQUIVRAN, L"oQUIVRAN.clQUIVRAN"},
    {&CLSID_SqlDataObject, L"oQUIVRAN.SqlDataObject"},
    {&CLSID_Recordset, L"oQUIVRAN.Recordset"},
};

struct Interface
{
    const IID* iid;
    const wchar_t* name;
};

const Interface interfaces[] = {
    {&IID_IclQUIVRAN, L"IclQUIVRAN"},       {&IID_IclQUIVRANHost, L"IclQUIVRANHost"},
    {&IID_IoqDataAccess, L"IoqDataAccess"}, {&IID_IoqSqlDataObject, L"IoqSqlDataObject"},
    {&IID_IoqField, L"IoqField"},           {&IID_IoqFields, L"IoqFields"},
    {&IID_IoqRecordset, L"IoqRecordset"},   {&IID_IoqMessageHandler, L"IoqMessageHandler"},
};

// The marshaller of dual and oleautomation interfaces, from their type library.
const wchar_t* const typeLibraryMarshaller = L"{00020424-0000-0000-C000-000000000046}";
const wchar_t* const typeLibraryVersion = L"1.0";

QString text(const GUID& guid)
{
    wchar_t buffer[40];
    StringFromGUID2(guid, buffer, 40);
    return QString::fromWCharArray(buffer);
}

HKEY rootOf(Registration::Scope scope)
{
    return scope == Registration::Scope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

// One value under Software\Classes: key, name (empty for the key's default) and data.
struct Value
{
    QString key;
    QString name;
    QString data;
};

// The keys under Software\Classes that the server owns whole.
QStringList ownedKeys()
{
    QStringList keys;
    for (const CreatableClass& creatable : creatableClasses) {
        keys << QStringLiteral("CLSID\\") + text(*creatable.clsid);
        keys << QString::fromWCharArray(creatable.progId);
    }
    keys << QStringLiteral("TypeLib\\") + text(LIBID_oQUIVRAN);
    for (const Interface& entry : interfaces)
        keys << QStringLiteral("Interface\\") + text(*entry.iid);
    return keys;
}

std::vector<Value> values(const QString& path)
{
    const QString library = text(LIBID_oQUIVRAN);
    const QString version = QString::fromWCharArray(typeLibraryVersion);
    std::vector<Value> all;
    for (const CreatableClass& creatable : creatableClasses) {
        const QString progId = QString::fromWCharArray(creatable.progId);
        const QString clsid = QStringLiteral("CLSID\\") + text(*creatable.clsid);
        all.push_back({clsid, {}, progId});
        all.push_back({clsid + QStringLiteral("\\InprocServer32"), {}, path});
        all.push_back({clsid + QStringLiteral("\\InprocServer32"), QStringLiteral("ThreadingModel"),
                       QStringLiteral("Apartment")});
        all.push_back({clsid + QStringLiteral("\\ProgID"), {}, progId});
        all.push_back({clsid + QStringLiteral("\\TypeLib"), {}, library});
        all.push_back({clsid + QStringLiteral("\\Version"), {}, version});
        all.push_back({progId, {}, progId});
        all.push_back({progId + QStringLiteral("\\CLSID"), {}, text(*creatable.clsid)});
    }
    const QString typeLib = QStringLiteral("TypeLib\\") + library + u'\\' + version;
    all.push_back({typeLib, {}, QStringLiteral("oQUIVRAN 1.0 Type Library")});
    all.push_back({typeLib + QStringLiteral("\\0\\win64"), {}, path});
    all.push_back({typeLib + QStringLiteral("\\FLAGS"), {}, QStringLiteral("0")});
    all.push_back({typeLib + QStringLiteral("\\HELPDIR"),
                   {},
                   QDir::toNativeSeparators(QFileInfo(path).absolutePath())});
    for (const Interface& entry : interfaces) {
        const QString key = QStringLiteral("Interface\\") + text(*entry.iid);
        all.push_back({key, {}, QString::fromWCharArray(entry.name)});
        all.push_back({key + QStringLiteral("\\ProxyStubClsid32"),
                       {},
                       QString::fromWCharArray(typeLibraryMarshaller)});
        all.push_back({key + QStringLiteral("\\TypeLib"), {}, library});
        all.push_back({key + QStringLiteral("\\TypeLib"), QStringLiteral("Version"), version});
    }
    return all;
}

LONG writeValue(HKEY root, const Value& value)
{
    const std::wstring key =
        QString(QStringLiteral("Software\\Classes\\") + value.key).toStdWString();
    HKEY opened = nullptr;
    LONG status = RegCreateKeyExW(root, key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                                  nullptr, &opened, nullptr);
    if (status != ERROR_SUCCESS)
        return status;
    const std::wstring name = value.name.toStdWString();
    const std::wstring data = value.data.toStdWString();
    status = RegSetValueExW(opened, value.name.isEmpty() ? nullptr : name.c_str(), 0, REG_SZ,
                            reinterpret_cast<const BYTE*>(data.c_str()),
                            DWORD((data.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(opened);
    return status;
}

} // namespace

HRESULT Registration::write(Scope scope, const QString& path)
{
    const HKEY root = rootOf(scope);
    for (const Value& value : values(QDir::toNativeSeparators(path))) {
        const LONG status = writeValue(root, value);
        if (status != ERROR_SUCCESS) {
            remove(scope);
            return HRESULT_FROM_WIN32(status);
        }
    }
    return S_OK;
}

HRESULT Registration::remove(Scope scope)
{
    const HKEY root = rootOf(scope);
    HRESULT result = S_OK;
    for (const QString& key : ownedKeys()) {
        const std::wstring name =
            QString(QStringLiteral("Software\\Classes\\") + key).toStdWString();
        const LONG status = RegDeleteTreeW(root, name.c_str());
        if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND)
            continue;
        result = HRESULT_FROM_WIN32(status);
    }
    // The type library's and the interfaces' parents stay: other servers share them.
    return result;
}

} // namespace oquivran::com
