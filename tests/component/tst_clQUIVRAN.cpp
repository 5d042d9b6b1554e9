#include "MessageRecorder.h"
#include "ModuleState.h"
#include "Settings.h"

#include <oquivran/oquivran.h>

#include <QSettings>
#include <QtTest>

using namespace oquivran;

namespace {

// A data-access object that runs nothing; the binding tests only compare which one is bound.
class InertDataObject : public DataObject
{
public:
    bool open(Recordset&) override { return false; }
    qint32 execute() override { return 0; }
};

void setMode(const QString& opVDE)
{
    QSettings settings = Settings::store();
    if (opVDE.isNull())
        settings.remove("CONFIG/opVDE");
    else
        settings.setValue("CONFIG/opVDE", opVDE);
}

} // namespace

class tst_clQUIVRAN : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void creationReadsMode_data();
    void creationReadsMode();
    void propertiesReachModuleState();
    void instancesShareState();
    void subItemOverflow();
    void firstBindingStays();
    void firstSecondBindingStays();
    void agregarInsumoRefusesZeroQuantity();
    void agregarInsumoAcceptsNegativeQuantity();
    void agregarInsumoRereadsMode();
    void generarImpSetsPrintingFormats();
    void screensWithoutGuiApplicationAreReported();
    void totalsAreTheLastAcceptedDischarge();
    void resetForgetsBindings();
};

void tst_clQUIVRAN::init()
{
    resetModuleState();
    setMode(QString());
}

void tst_clQUIVRAN::creationReadsMode_data()
{
    QTest::addColumn<QString>("opVDE");
    QTest::addColumn<bool>("extended");
    QTest::addColumn<QString>("format");
    QTest::newRow("absent") << QString() << false << "00.000000";
    QTest::newRow("N") << "N" << false << "00.000000";
    QTest::newRow("n") << "n" << true << "00.00000000";
    QTest::newRow("S") << "S" << true << "00.00000000";
}

void tst_clQUIVRAN::creationReadsMode()
{
    QFETCH(QString, opVDE);
    QFETCH(bool, extended);
    QFETCH(QString, format);
    setMode(opVDE);
    clQUIVRAN component;
    QCOMPARE(moduleState().extendedDecimals, extended);
    QCOMPARE(moduleState().valueFormat, format);
    QCOMPARE(moduleState().secondFormat, format);
}

void tst_clQUIVRAN::propertiesReachModuleState()
{
    clQUIVRAN component;
    component.Restar_PerMer(true);
    component.SubRegimen(QStringLiteral("ITEM"));
    component.Aduana(QStringLiteral("001"));
    component.Oficializacion(QStringLiteral("22/11/2026"));
    component.AAT(QStringLiteral("26/001/EC01/000123/K"));
    component.INTERNO(QStringLiteral("OP-7"));
    component.SUBITEM(2);
    component.CATNRO(QStringLiteral("CAT1"));
    component.PRDNRO(QStringLiteral("PRD1"));
    component.PRDCAN(12.5);
    component.Dir_Formularios(QStringLiteral("/forms/"));

    const ModuleState& state = moduleState();
    QVERIFY(state.Restar_PerMer);
    QCOMPARE(state.SubRegimen, QStringLiteral("ITEM"));
    QCOMPARE(state.Aduana, QStringLiteral("001"));
    QCOMPARE(state.Oficializacion, QStringLiteral("22/11/2026"));
    QCOMPARE(state.AAT, QStringLiteral("26/001/EC01/000123/K"));
    QCOMPARE(state.INTERNO, QStringLiteral("OP-7"));
    QCOMPARE(state.SUBITEM, qint16(2));
    QCOMPARE(state.CATNRO, QStringLiteral("CAT1"));
    QCOMPARE(state.PRDNRO, QStringLiteral("PRD1"));
    QCOMPARE(state.PRDCAN, 12.5);
    QCOMPARE(state.Dir_Formularios, QStringLiteral("/forms/"));
}

void tst_clQUIVRAN::instancesShareState()
{
    clQUIVRAN first;
    clQUIVRAN second;
    first.INTERNO(QStringLiteral("A"));
    second.PRDCAN(3);
    QCOMPARE(moduleState().INTERNO, QStringLiteral("A"));
    QCOMPARE(moduleState().PRDCAN, 3.0);
    moduleState().CantidadDescontada = 4;
    QCOMPARE(first.CantidadDescontada(), 4.0);
    QCOMPARE(second.CantidadDescontada(), 4.0);
}

void tst_clQUIVRAN::subItemOverflow()
{
    clQUIVRAN component;
    component.SUBITEM(32767);
    QCOMPARE(moduleState().SUBITEM, qint16(32767));
    component.SUBITEM(-32768);
    QCOMPARE(moduleState().SUBITEM, qint16(-32768));
    try {
        component.SUBITEM(40000);
        QFAIL("no error raised");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, qint32(6));
        QCOMPARE(error.description, QStringLiteral("Overflow"));
    }
    QCOMPARE(moduleState().SUBITEM, qint16(-32768));
}

void tst_clQUIVRAN::firstBindingStays()
{
    InertDataObject first;
    InertDataObject second;
    clQUIVRAN component;
    component.VincularDatos(&first);
    component.VincularDatos(&second);
    QCOMPARE(moduleState().dataObject, static_cast<DataObject*>(&first));
    // Another instance cannot rebind either: the binding is module state.
    clQUIVRAN other;
    other.VincularDatos(&second);
    QCOMPARE(moduleState().dataObject, static_cast<DataObject*>(&first));
}

void tst_clQUIVRAN::firstSecondBindingStays()
{
    InertDataObject first;
    InertDataObject second;
    clQUIVRAN component;
    component.VincularDatosMorvik(&first);
    component.VincularDatosMorvik(&second);
    QCOMPARE(moduleState().secondDataObject, static_cast<DataObject*>(&first));
    QVERIFY(!moduleState().dataObject);
}

void tst_clQUIVRAN::agregarInsumoRefusesZeroQuantity()
{
    MessageRecorder recorder;
    clQUIVRAN component;
    component.PRDCAN(0);
    moduleState().dischargeResult = true;
    QVERIFY(!component.AgregarInsumo());
    QCOMPARE(recorder.messages.size(), 1);
    QCOMPARE(recorder.lastPrompt(),
             QStringLiteral("La cantidad del producto debe ser mayor a cero"));
    QCOMPARE(recorder.lastStyle(), 48);
    // Refused before anything else: the discharge formats were not set, no screen ran.
    QCOMPARE(moduleState().valueFormat, QStringLiteral("00.000000"));
    QVERIFY(moduleState().dischargeResult);
}

void tst_clQUIVRAN::agregarInsumoAcceptsNegativeQuantity()
{
    MessageRecorder recorder;
    clQUIVRAN component;
    component.PRDCAN(-1);
    component.AgregarInsumo();
    for (const auto& message : recorder.messages)
        QVERIFY(!message.prompt.contains(QStringLiteral("mayor a cero")));
    QCOMPARE(moduleState().valueFormat, QStringLiteral("00.0000"));
}

void tst_clQUIVRAN::agregarInsumoRereadsMode()
{
    MessageRecorder recorder;
    clQUIVRAN component;
    QCOMPARE(moduleState().valueFormat, QStringLiteral("00.000000"));
    setMode(QStringLiteral("S"));
    component.PRDCAN(1);
    component.AgregarInsumo();
    QVERIFY(moduleState().extendedDecimals);
    QCOMPARE(moduleState().valueFormat, QStringLiteral("00.00000000"));
    QCOMPARE(moduleState().secondFormat, QStringLiteral("00.00000000"));
}

void tst_clQUIVRAN::generarImpSetsPrintingFormats()
{
    MessageRecorder recorder;
    clQUIVRAN component;
    component.PRDCAN(1);
    component.AgregarInsumo();
    QCOMPARE(moduleState().valueFormat, QStringLiteral("00.0000"));
    component.GenerarIMP();
    QCOMPARE(moduleState().valueFormat, QStringLiteral("00.000000"));
    QCOMPARE(moduleState().secondFormat, QStringLiteral("00.000000"));
}

void tst_clQUIVRAN::screensWithoutGuiApplicationAreReported()
{
    // This test runs a QCoreApplication: the screens cannot be shown, and the host is told.
    MessageRecorder recorder;
    clQUIVRAN component;
    component.PRDCAN(1);
    QVERIFY(!component.AgregarInsumo());
    QCOMPARE(recorder.messages.size(), 1);
    QVERIFY(recorder.lastPrompt().contains(QStringLiteral("QApplication")));
    QVERIFY(recorder.lastPrompt().endsWith(
        QStringLiteral("\r\n\r\n51 - seccion [oQUIVRAN.clQUIVRAN.AgregarInsumo]")));
    component.GenerarIMP();
    QCOMPARE(recorder.messages.size(), 2);
    QVERIFY(recorder.lastPrompt().endsWith(
        QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.GenerarIMP]")));
}

void tst_clQUIVRAN::totalsAreTheLastAcceptedDischarge()
{
    clQUIVRAN component;
    moduleState().CantidadDescontada = 48.5;
    moduleState().CIFDescontado = 120.25;
    QCOMPARE(component.CantidadDescontada(), 48.5);
    QCOMPARE(component.CIFDescontado(), 120.25);
}

void tst_clQUIVRAN::resetForgetsBindings()
{
    InertDataObject first;
    InertDataObject second;
    clQUIVRAN component;
    component.VincularDatos(&first);
    resetModuleState();
    component.VincularDatos(&second);
    QCOMPARE(moduleState().dataObject, static_cast<DataObject*>(&second));
}

QTEST_GUILESS_MAIN(tst_clQUIVRAN)
#include "tst_clQUIVRAN.moc"
