#include "DischargeFixture.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "Scenario.h"
#include "ScreenCase.h"
#include "ScreenScript.h"

#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTreeWidget>
#include <QtTest>

using namespace oquivran;

namespace {

QString fmt(double value, const char* pattern)
{
    return NumberFormat::format(value, QString::fromLatin1(pattern));
}

} // namespace

class tst_frmCargarInsumo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensWithWholeAvailableQuantity();
    void quantityAboveAvailableIsRefused();
    void zeroAndTextAreRefused();
    void relationDerivesQuantity();
    void zeroProductQuantityLeavesDerivedBox();
    void escapeAddsNothing();
};

void tst_frmCargarInsumo::opensWithWholeAvailableQuantity()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [](QWidget* screen) {
        QCOMPARE(screen->windowTitle(), QStringLiteral("Insumo seleccionado"));
        QCOMPARE(control<QLabel>(screen, "lbARTNRO")->text(), QStringLiteral("IN1"));
        QCOMPARE(control<QLabel>(screen, "lbARTDCL")->text(), QStringLiteral("D2"));
        QCOMPARE(control<QLabel>(screen, "lbARTNCM")->text(), QStringLiteral("2222.22.22"));
        QCOMPARE(control<QLabel>(screen, "lbARTITM")->text(), QStringLiteral("002"));
        QCOMPARE(control<QLabel>(screen, "lbARTSBT")->text(), QStringLiteral("001"));
        QCOMPARE(control<QLabel>(screen, "lbMaxDIPCAN")->text(), fmt(7, "00.00000000"));
        QCOMPARE(control<QLabel>(screen, "lbPRDCAN")->text(), fmt(10, "00.00"));
        QCOMPARE(control<QLineEdit>(screen, "txtDIPCAN")->text(), QStringLiteral("7"));
        QCOMPARE(control<QLineEdit>(screen, "lbRIPCAN")->text(), fmt(0.7, "00.000000"));
        QCOMPARE(control<QLineEdit>(screen, "txtARTCTC")->text(), QStringLiteral("CTC2"));
        QCOMPARE(control<QLineEdit>(screen, "txtMermas")->text(), QStringLiteral("0"));
        QVERIFY(control<QRadioButton>(screen, "opDIP")->isChecked());
        QCOMPARE(control<QRadioButton>(screen, "opDIP")->text(), QStringLiteral("Option2"));
        QCOMPARE(control<QRadioButton>(screen, "opRIP")->text(), QStringLiteral("Option1"));
        QVERIFY(control<QLineEdit>(screen, "txtDIPCAN")->isEnabled());
        QVERIFY(!control<QLineEdit>(screen, "lbRIPCAN")->isEnabled());
        QCOMPARE(control<QLabel>(screen, "Label2")->text(),
                 QStringLiteral("[F11] - Agregar - [ESC] Cerrar"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        const DipCandidate& added = moduleState().candidateLines.last();
        QCOMPARE(added.quantity, 7.0);
        QCOMPARE(added.relationQuantity, 0.7);
        QCOMPARE(added.ctc, QStringLiteral("CTC2"));
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(recorder.messages.size(), 0);
}

void tst_frmCargarInsumo::quantityAboveAvailableIsRefused()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [&](QWidget* screen) {
        control<QLineEdit>(screen, "txtDIPCAN")->setText(localeText("7.000001"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("Puede descargar hasta ") + fmt(7, "00.000000"));
        QCOMPARE(recorder.lastStyle(), MessageExclamation | MessageOkOnly);
        QCOMPARE(QApplication::activeModalWidget(), screen);
        press(screen, "txtDIPCAN", Qt::Key_Escape);
    });
    closeSearchAndAllocation(script);
    QVERIFY(runOnAllocation(script));
    QCOMPARE(moduleState().candidateLines.size(), 3);
}

void tst_frmCargarInsumo::zeroAndTextAreRefused()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [&](QWidget* screen) {
        auto* box = control<QLineEdit>(screen, "txtDIPCAN");
        box->setText(QStringLiteral("0"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
        QCOMPARE(recorder.lastPrompt(), QStringLiteral("Debe ingresar un valor mayor a 0 (cero)"));
        QCOMPARE(recorder.lastStyle(), MessageExclamation | MessageOkOnly);
        box->setText(QStringLiteral("abc"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("Debe ingresar un valor númerico en Cantidad a descontar"));
        QCOMPARE(recorder.lastStyle(), MessageExclamation | MessageOkOnly);
        QCOMPARE(box->text(), QStringLiteral("abc"));
        QCOMPARE(QApplication::activeModalWidget(), screen);
        // A relation that is no number reaches the report with the source first.
        box->setText(QStringLiteral("2"));
        control<QLineEdit>(screen, "txtMermas")->setText(QStringLiteral("x"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("oQUIVRAN\r\n\r\n13 - seccion [oQUIVRAN.frmCargarInsumo]::"));
        QCOMPARE(recorder.lastStyle(), MessageCritical | MessageOkOnly);
        press(screen, "txtDIPCAN", Qt::Key_Escape);
    });
    closeSearchAndAllocation(script);
    QVERIFY(runOnAllocation(script));
}

void tst_frmCargarInsumo::relationDerivesQuantity()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [&](QWidget* screen) {
        auto* relation = control<QLineEdit>(screen, "lbRIPCAN");
        auto* quantity = control<QLineEdit>(screen, "txtDIPCAN");
        QTest::mouseClick(control<QRadioButton>(screen, "opRIP"), Qt::LeftButton);
        QVERIFY(relation->isEnabled());
        QVERIFY(!quantity->isEnabled());
        QVERIFY(relation->hasFocus());
        relation->clear();
        QTest::keyClicks(relation, localeText("0.5"));
        QCOMPARE(quantity->text(), fmt(5, "00.000000"));
        QCOMPARE(quantity->text(), localeText("05.000000"));
        press(screen, "lbRIPCAN", Qt::Key_F11);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        const DipCandidate& added = moduleState().candidateLines.last();
        QCOMPARE(added.quantity, 5.0);
        QCOMPARE(added.relationQuantity, 0.5);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmCargarInsumo::zeroProductQuantityLeavesDerivedBox()
{
    DischargeFixture f;
    MessageRecorder recorder;
    scenario::seed(f);
    // 0.001 units of product show as a product quantity of zero.
    scenario::discharge(f, QStringLiteral("PRD1"), 0.001);
    ScreenScript script;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [&](QWidget* screen) {
        QCOMPARE(control<QLabel>(screen, "lbPRDCAN")->text(), fmt(0, "00.00"));
        auto* relation = control<QLineEdit>(screen, "lbRIPCAN");
        QCOMPARE(relation->text(), QString());
        relation->setText(QStringLiteral("keep"));
        control<QLineEdit>(screen, "txtDIPCAN")->setText(QStringLiteral("3"));
        QCOMPARE(relation->text(), QStringLiteral("keep"));
        QCOMPARE(recorder.messages.size(), 0);
        press(screen, "txtDIPCAN", Qt::Key_Escape);
    });
    closeSearchAndAllocation(script);
    QVERIFY(runOnAllocation(script));
}

void tst_frmCargarInsumo::escapeAddsNothing()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [](QWidget* screen) {
        control<QLineEdit>(screen, "txtDIPCAN")->setText(QStringLiteral("2"));
        control<QLineEdit>(screen, "txtARTCTC")->setText(QStringLiteral("OTRO"));
        press(screen, "txtARTCTC", Qt::Key_Escape);
    });
    script.on(QStringLiteral("frmBuscarInsumo"), [](QWidget* screen) {
        QCOMPARE(moduleState().currentInput.declaration, QString());
        QCOMPARE(moduleState().currentInput.inputCode, QString());
        press(screen, "lstInsumos", Qt::Key_Escape);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItemCount(), 3);
        QCOMPARE(moduleState().candidateLines.size(), 3);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(f.dischargeRowCount(), 0);
}

QTEST_MAIN(tst_frmCargarInsumo)
#include "tst_frmCargarInsumo.moc"
