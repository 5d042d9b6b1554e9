// The registered type library of the COM server: the dual interface of clQUIVRAN has the
// component's members in the order of its interface, each of the kind and with the dispatch
// id hosts were built against. Runs after regsvr32 in the test's Wine prefix.
#include "oQUIVRAN_h.h"

#include <QtTest>

#include <cstdio>

#include <oleauto.h>

namespace {

struct Member
{
    QString name;
    QString kind;
    int dispatchId = 0;
};

// The members of the interface's own type information (its vtable view), in order; a
// property with a put and a get counts once, as a read-write property.
QList<Member> registeredMembers(QString& error)
{
    QList<Member> members;
    ITypeLib* library = nullptr;
    HRESULT result = LoadRegTypeLib(LIBID_oQUIVRAN, 1, 0, 0, &library);
    if (FAILED(result)) {
        error = QStringLiteral("LoadRegTypeLib: 0x%1").arg(quint32(result), 8, 16, QChar(u'0'));
        return members;
    }
    ITypeInfo* info = nullptr;
    result = library->GetTypeInfoOfGuid(IID_IclQUIVRAN, &info);
    library->Release();
    if (FAILED(result)) {
        error = QStringLiteral("GetTypeInfoOfGuid: 0x%1").arg(quint32(result), 8, 16, QChar(u'0'));
        return members;
    }
    TYPEATTR* attributes = nullptr;
    info->GetTypeAttr(&attributes);
    if (attributes->typekind == TKIND_DISPATCH) {
        HREFTYPE reference = 0;
        ITypeInfo* vtableView = nullptr;
        if (SUCCEEDED(info->GetRefTypeOfImplType(-1, &reference)) &&
            SUCCEEDED(info->GetRefTypeInfo(reference, &vtableView))) {
            info->ReleaseTypeAttr(attributes);
            info->Release();
            info = vtableView;
            info->GetTypeAttr(&attributes);
        }
    }
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(info->GetFuncDesc(i, &function)))
            continue;
        BSTR name = nullptr;
        UINT count = 0;
        info->GetNames(function->memid, &name, 1, &count);
        const QString text = QString::fromWCharArray(name, int(SysStringLen(name)));
        SysFreeString(name);
        QString kind = QStringLiteral("method");
        if (function->invkind == INVOKE_PROPERTYPUT)
            kind = QStringLiteral("write-only property");
        else if (function->invkind == INVOKE_PROPERTYGET)
            kind = QStringLiteral("read-only property");
        bool merged = false;
        for (Member& known : members) {
            if (known.dispatchId == function->memid && known.kind != kind) {
                known.kind = QStringLiteral("read-write property");
                merged = true;
            }
        }
        if (!merged)
            members.append({text, kind, int(function->memid)});
        info->ReleaseFuncDesc(function);
    }
    info->ReleaseTypeAttr(attributes);
    info->Release();
    return members;
}

} // namespace

class tst_TypeLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void members_data();
    void members();
    void nothingBeyondTheComponentsMembers();

private:
    QList<Member> m_members;
};

void tst_TypeLibrary::initTestCase()
{
    QVERIFY(SUCCEEDED(CoInitialize(nullptr)));
    QString error;
    m_members = registeredMembers(error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    // The member list as registered, for the record.
    for (int i = 0; i < m_members.size(); ++i)
        std::printf("# %2d  %-20s %-22s dispid %d\n", i + 1, qPrintable(m_members.at(i).name),
                    qPrintable(m_members.at(i).kind), m_members.at(i).dispatchId);
    std::fflush(stdout);
}

void tst_TypeLibrary::cleanupTestCase()
{
    CoUninitialize();
}

void tst_TypeLibrary::members_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("dispatchId");
    const char* const table[][2] = {
        {"Restar_PerMer", "write-only property"},
        {"SubRegimen", "write-only property"},
        {"Aduana", "write-only property"},
        {"Oficializacion", "write-only property"},
        {"AAT", "write-only property"},
        {"INTERNO", "write-only property"},
        {"SUBITEM", "write-only property"},
        {"CATNRO", "write-only property"},
        {"PRDNRO", "write-only property"},
        {"PRDCAN", "write-only property"},
        {"Dir_Formularios", "write-only property"},
        {"VincularDatos", "method"},
        {"VincularDatosMorvik", "method"},
        {"CIFDescontado", "read-only property"},
        {"CantidadDescontada", "read-only property"},
        {"AgregarInsumo", "method"},
        {"EliminarInsumo", "method"},
        {"GenerarIMP", "method"},
        {"EnviarGrupoIdSub", "method"},
        {"ResetIdItems", "method"},
        {"EnviarNroItem", "method"},
        {"Obtener_Insumos", "method"},
    };
    int position = 0;
    for (const auto& [name, kind] : table) {
        QTest::newRow(name) << position << QString::fromLatin1(name) << QString::fromLatin1(kind)
                            << position + 1;
        ++position;
    }
}

void tst_TypeLibrary::members()
{
    QFETCH(int, position);
    QFETCH(QString, name);
    QFETCH(QString, kind);
    QFETCH(int, dispatchId);
    QVERIFY(position < m_members.size());
    QCOMPARE(m_members.at(position).name, name);
    QCOMPARE(m_members.at(position).kind, kind);
    QCOMPARE(m_members.at(position).dispatchId, dispatchId);
}

void tst_TypeLibrary::nothingBeyondTheComponentsMembers()
{
    QCOMPARE(m_members.size(), 22);
}

QTEST_APPLESS_MAIN(tst_TypeLibrary)
#include "tst_TypeLibrary.moc"
