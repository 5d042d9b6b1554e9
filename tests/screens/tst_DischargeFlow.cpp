#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "Scenario.h"
#include "ScreenScript.h"
#include "Settings.h"

#include "ModuleState.h"
#include "NumberFormat.h"

#include <oquivran/oquivran.h>

#include <QLineEdit>
#include <QSettings>
#include <QTreeWidget>
#include <QtTest>

using namespace oquivran;

// An operator's whole discharge through the component as the host calls it: AgregarInsumo
// opens the allocation screen, a line is added through Insert, search and load, another is
// edited through ENTER, a third deleted, and F11 saves.
class tst_DischargeFlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void addEditDeleteAndSave();
    void escapeReturnsFalse();
};

void tst_DischargeFlow::init()
{
    QSettings settings = Settings::store();
    settings.remove("CONFIG/opVDE");
}

void tst_DischargeFlow::addEditDeleteAndSave()
{
    DischargeFixture f;
    MessageRecorder recorder(AnswerYes);
    scenario::seed(f);
    clQUIVRAN component;
    component.INTERNO(QStringLiteral("OP1"));
    component.SUBITEM(1);
    component.CATNRO(scenario::catalog);
    component.PRDNRO(QStringLiteral("PRD1"));
    component.PRDCAN(10);

    ScreenScript script;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [](QWidget* screen) {
        control<QLineEdit>(screen, "txtDIPCAN")->setText(QStringLiteral("3"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
    });
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        control<QLineEdit>(screen, "txtCantidad")->setText(QStringLiteral("5"));
        press(screen, "txtCantidad", Qt::Key_F11);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItemCount(), 4);
        QCOMPARE(list->topLevelItem(0)->text(4),
                 NumberFormat::format(5, QStringLiteral("00.0000")));
        // Delete the IN2 line.
        list->setCurrentItem(list->topLevelItem(2));
        press(screen, "lstINSUMOS", Qt::Key_Delete);
        QCOMPARE(list->topLevelItemCount(), 3);
        press(screen, "lstINSUMOS", Qt::Key_F11);
    });
    script.start();
    QVERIFY(component.AgregarInsumo());
    QVERIFY(script.finished());

    // Only the delete question was asked.
    QCOMPARE(recorder.messages.size(), 1);
    QCOMPARE(f.dischargeRowCount(), 3);
    const auto quantity = [&](const char* declaration, int item) {
        return f
            .scalar("select DIPCAN from DIP where EXTINT = 'OP1' and EXTSBT = 1 and ARTDCL = ? "
                    "and ARTNRO = 'IN1' and ARTITM = ? and ARTSBT = 1",
                    {QString::fromLatin1(declaration), item})
            .toDouble();
    };
    QCOMPARE(quantity("D1", 1), 5.0);
    QCOMPARE(quantity("D2", 1), 4.0);
    QCOMPARE(quantity("D2", 2), 3.0);
    QCOMPARE(f.dischargeRowCount("ARTNRO = 'IN2'"), 0);
    QCOMPARE(f.available(QStringLiteral("D1"), QStringLiteral("IN1"), 1, 1), 1.0);
    QCOMPARE(f.available(QStringLiteral("D2"), QStringLiteral("IN1"), 1, 1), 6.0);
    QCOMPARE(f.available(QStringLiteral("D2"), QStringLiteral("IN1"), 2, 1), 4.0);
    QCOMPARE(f.available(QStringLiteral("D1"), QStringLiteral("IN2"), 2, 1), 20.0);
    QVERIFY(f.stockInvariantViolations().isEmpty());
    QCOMPARE(component.CantidadDescontada(), 12.0);
    // 5 x 2.5 + 4 x 3.1234567 + 3 x 4, to six decimals.
    QCOMPARE(component.CIFDescontado(), 36.993827);
}

void tst_DischargeFlow::escapeReturnsFalse()
{
    DischargeFixture f;
    MessageRecorder recorder;
    scenario::seed(f);
    clQUIVRAN component;
    component.INTERNO(QStringLiteral("OP1"));
    component.SUBITEM(1);
    component.CATNRO(scenario::catalog);
    component.PRDNRO(QStringLiteral("PRD1"));
    component.PRDCAN(10);
    moduleState().CantidadDescontada = 1.5;
    ScreenScript script;
    script.on(QStringLiteral("frmAgregarDIP"),
              [](QWidget* screen) { press(screen, "lstINSUMOS", Qt::Key_Escape); });
    script.start();
    QVERIFY(!component.AgregarInsumo());
    QVERIFY(script.finished());
    QCOMPARE(f.dischargeRowCount(), 0);
    QCOMPARE(component.CantidadDescontada(), 1.5);
}

QTEST_MAIN(tst_DischargeFlow)
#include "tst_DischargeFlow.moc"
