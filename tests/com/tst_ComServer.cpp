// The registered COM server as the system's loader and an early-bound host see it: its classes
// registered apartment-threaded on the DLL, DllCanUnloadNow answering for the objects and locks
// it holds, and errors on the dual interface's vtable carrying their text and source through
// IErrorInfo. Runs after regsvr32 in the test's Wine prefix, without an application object of
// its own, as a host that does not use Qt.
#include "oQUIVRAN_h.h"

#include <QtTest>

#include <oleauto.h>
#include <windows.h>

namespace {

QString guidText(REFGUID guid)
{
    wchar_t text[64] = {};
    StringFromGUID2(guid, text, 64);
    return QString::fromWCharArray(text);
}

// A value of a key under HKEY_CLASSES_ROOT; empty when missing.
QString classesValue(const QString& key, const QString& name = QString())
{
    wchar_t data[1024] = {};
    DWORD size = sizeof(data);
    const std::wstring keyText = key.toStdWString();
    const std::wstring nameText = name.toStdWString();
    if (RegGetValueW(HKEY_CLASSES_ROOT, keyText.c_str(),
                     name.isEmpty() ? nullptr : nameText.c_str(), RRF_RT_REG_SZ, nullptr, data,
                     &size) != ERROR_SUCCESS)
        return QString();
    return QString::fromWCharArray(data);
}

QString hresultText(HRESULT result)
{
    return QStringLiteral("0x%1").arg(quint32(result), 8, 16, QChar(u'0'));
}

const QString serverPath()
{
    return classesValue(QStringLiteral("CLSID\\") + guidText(CLSID_clQUIVRAN) +
                        QStringLiteral("\\InprocServer32"));
}

} // namespace

class tst_ComServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    // Before any object is made: it needs a process where the server has made nothing yet.
    void unloadsOnlyWhenNothingIsHeld();
    void registeredApartmentThreaded_data();
    void registeredApartmentThreaded();
    void errorsCarryTextAndSource_data();
    void errorsCarryTextAndSource();

private:
    HMODULE m_server = nullptr;
};

void tst_ComServer::initTestCase()
{
    QVERIFY(SUCCEEDED(CoInitialize(nullptr)));
    const QString path = serverPath();
    QVERIFY2(path.endsWith(QStringLiteral("oQUIVRAN.dll"), Qt::CaseInsensitive),
             qPrintable(QStringLiteral("InprocServer32: ") + path));
    // The module COM loads for the class is this one: a DLL is loaded once per process.
    m_server = LoadLibraryW(path.toStdWString().c_str());
    QVERIFY2(m_server, qPrintable(path));
}

void tst_ComServer::cleanupTestCase()
{
    CoUninitialize();
}

void tst_ComServer::unloadsOnlyWhenNothingIsHeld()
{
    using CanUnload = HRESULT(STDAPICALLTYPE*)();
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    auto canUnload = reinterpret_cast<CanUnload>(
        reinterpret_cast<void*>(GetProcAddress(m_server, "DllCanUnloadNow")));
    auto classObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(GetProcAddress(m_server, "DllGetClassObject")));
    QVERIFY(canUnload && classObject);

    QCOMPARE(hresultText(canUnload()), hresultText(S_OK));
    IClassFactory* factory = nullptr;
    QCOMPARE(hresultText(classObject(CLSID_SqlDataObject, IID_IClassFactory,
                                     reinterpret_cast<void**>(&factory))),
             hresultText(S_OK));
    QCOMPARE(hresultText(canUnload()), hresultText(S_FALSE));
    factory->LockServer(TRUE);
    factory->Release();
    QCOMPARE(hresultText(canUnload()), hresultText(S_FALSE));
    QCOMPARE(hresultText(classObject(CLSID_SqlDataObject, IID_IClassFactory,
                                     reinterpret_cast<void**>(&factory))),
             hresultText(S_OK));
    factory->LockServer(FALSE);
    factory->Release();
    QCOMPARE(hresultText(canUnload()), hresultText(S_OK));

    // Once an object has made Qt's application object inside the server, the server stays:
    // Qt cannot be unloaded and loaded again in one process.
    IDispatch* object = nullptr;
    QCOMPARE(hresultText(CoCreateInstance(CLSID_SqlDataObject, nullptr, CLSCTX_INPROC_SERVER,
                                          IID_IDispatch, reinterpret_cast<void**>(&object))),
             hresultText(S_OK));
    QCOMPARE(hresultText(canUnload()), hresultText(S_FALSE));
    object->Release();
    QCOMPARE(hresultText(canUnload()), hresultText(S_FALSE));

    IClassFactory* unknownClass = nullptr;
    QCOMPARE(hresultText(classObject(IID_IclQUIVRAN, IID_IClassFactory,
                                     reinterpret_cast<void**>(&unknownClass))),
             hresultText(CLASS_E_CLASSNOTAVAILABLE));
}

void tst_ComServer::registeredApartmentThreaded_data()
{
    QTest::addColumn<QString>("progId");
    QTest::addColumn<QString>("clsid");
    QTest::newRow("clQUIVRAN") << "oQUIVRAN.clQUIVRAN" << guidText(CLSID_clQUIVRAN);
    QTest::newRow("SqlDataObject") << "oQUIVRAN.SqlDataObject" << guidText(CLSID_SqlDataObject);
    QTest::newRow("Recordset") << "oQUIVRAN.Recordset" << guidText(CLSID_Recordset);
}

void tst_ComServer::registeredApartmentThreaded()
{
    QFETCH(QString, progId);
    QFETCH(QString, clsid);
    const QString inproc = QStringLiteral("CLSID\\") + clsid + QStringLiteral("\\InprocServer32");
    QCOMPARE(classesValue(inproc, QStringLiteral("ThreadingModel")), QStringLiteral("Apartment"));
    QCOMPARE(classesValue(inproc), serverPath());
    QCOMPARE(classesValue(progId + QStringLiteral("\\CLSID")).toLower(), clsid.toLower());
    QCOMPARE(classesValue(QStringLiteral("CLSID\\") + clsid + QStringLiteral("\\ProgID")), progId);
    CLSID found = {};
    QVERIFY(SUCCEEDED(CLSIDFromProgID(progId.toStdWString().c_str(), &found)));
    QCOMPARE(guidText(found), clsid);
}

void tst_ComServer::errorsCarryTextAndSource_data()
{
    QTest::addColumn<long>("subItem");
    QTest::addColumn<bool>("overflows");
    QTest::newRow("largest") << 32767L << false;
    QTest::newRow("smallest") << -32768L << false;
    QTest::newRow("one beyond") << 32768L << true;
    QTest::newRow("40000") << 40000L << true;
    QTest::newRow("one below") << -32769L << true;
}

void tst_ComServer::errorsCarryTextAndSource()
{
    QFETCH(long, subItem);
    QFETCH(bool, overflows);
    IclQUIVRAN* component = nullptr;
    QCOMPARE(hresultText(CoCreateInstance(CLSID_clQUIVRAN, nullptr, CLSCTX_INPROC_SERVER,
                                          IID_IclQUIVRAN, reinterpret_cast<void**>(&component))),
             hresultText(S_OK));
    ISupportErrorInfo* supports = nullptr;
    QVERIFY(SUCCEEDED(
        component->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&supports))));
    QCOMPARE(hresultText(supports->InterfaceSupportsErrorInfo(IID_IclQUIVRAN)), hresultText(S_OK));
    supports->Release();

    SetErrorInfo(0, nullptr);
    const HRESULT result = component->put_SUBITEM(subItem);
    component->Release();
    if (!overflows) {
        QCOMPARE(hresultText(result), hresultText(S_OK));
        return;
    }
    // Visual Basic's own error 6 as an HRESULT, as a Visual Basic host reports it.
    QCOMPARE(hresultText(result), hresultText(HRESULT(0x800A0006)));
    IErrorInfo* error = nullptr;
    QCOMPARE(hresultText(GetErrorInfo(0, &error)), hresultText(S_OK));
    QVERIFY(error);
    BSTR description = nullptr;
    BSTR source = nullptr;
    error->GetDescription(&description);
    error->GetSource(&source);
    error->Release();
    const QString descriptionText = QString::fromWCharArray(description);
    const QString sourceText = QString::fromWCharArray(source);
    SysFreeString(description);
    SysFreeString(source);
    QCOMPARE(descriptionText, QStringLiteral("Overflow"));
    QCOMPARE(sourceText, QStringLiteral("oQUIVRAN.clQUIVRAN"));
}

QTEST_APPLESS_MAIN(tst_ComServer)
#include "tst_ComServer.moc"
