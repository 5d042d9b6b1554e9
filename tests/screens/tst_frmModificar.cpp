#include "AuditRows.h"
#include "DischargeFixture.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"
#include "Scenario.h"
#include "ScreenCase.h"
#include "ScreenScript.h"

#include "ModuleState.h"
#include "NumberFormat.h"

#include <QLabel>
#include <QLineEdit>
#include <QSqlQuery>
#include <QTreeWidget>
#include <QtTest>

using namespace oquivran;

namespace {

QString fmt(double value, const char* pattern)
{
    return NumberFormat::format(value, QString::fromLatin1(pattern));
}

// Sets a box and presses F11 on it.
void saveWith(QWidget* screen, const char* box, const QString& text)
{
    control<QLineEdit>(screen, box)->setText(text);
    press(screen, box, Qt::Key_F11);
}

bool anyStartsWith(const QStringList& statements, const QString& prefix)
{
    for (const QString& statement : statements) {
        if (statement.startsWith(prefix))
            return true;
    }
    return false;
}

} // namespace

class tst_frmModificar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensWithLineValues();
    void invalidQuantityOrPriceChangesNothing();
    void priceWithSevenDecimalsStoredWithSix();
    void earlierCtcOfSameDeclarationIsOffered();
    void ctcMatchingNoStockIsNotRemembered();
    void blankCtcAndReferenceIssueNoUpdate();
    void ctcAndReferenceAreWrittenToStock();
    void ctcAndReferenceWithTheTrailAreRecorded();
    void rememberedCtcStaysInLineAfterEscape();
    void quoteInCtcEndsInErrorMessage_data();
    void quoteInCtcEndsInErrorMessage();
    void nonNumericShrinkageEndsInErrorMessage();
};

void tst_frmModificar::opensWithLineValues()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 1);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        QCOMPARE(screen->windowTitle(), QStringLiteral("Modificar"));
        QCOMPARE(control<QLineEdit>(screen, "txtCantidad")->text(), fmt(4, "00.0000"));
        QCOMPARE(control<QLineEdit>(screen, "txtPrecio")->text(), fmt(3.1234567, "00.000000"));
        QCOMPARE(control<QLineEdit>(screen, "txtMerma")->text(), fmt(2, "00.000000"));
        QCOMPARE(control<QLineEdit>(screen, "txtPerdida")->text(), fmt(1, "00.000000"));
        QCOMPARE(control<QLineEdit>(screen, "txtCTC")->text(), QStringLiteral("CTC2"));
        QCOMPARE(control<QLineEdit>(screen, "txtEXP")->text(), QString());
        QCOMPARE(control<QLabel>(screen, "lbNcm")->text(), QStringLiteral("2222.22.22"));
        QCOMPARE(control<QLabel>(screen, "Label3")->text(),
                 QStringLiteral("[F11] Guardar - [ESC] Salir"));
        QCOMPARE(control<QLabel>(screen, "Label7")->text(), QStringLiteral("Posición"));
        press(screen, "txtCantidad", Qt::Key_Escape);
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
    QVERIFY(!moduleState().editFlag);
}

void tst_frmModificar::invalidQuantityOrPriceChangesNothing()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [&](QWidget* screen) {
        saveWith(screen, "txtCantidad", QStringLiteral("abc"));
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("Debe ingresar un valor válido en cantidad."));
        QCOMPARE(recorder.lastStyle(), MessageCritical | MessageOkOnly);
        QCOMPARE(QApplication::activeModalWidget(), screen);
        control<QLineEdit>(screen, "txtCantidad")->setText(QStringLiteral("5"));
        saveWith(screen, "txtPrecio", QStringLiteral("abc"));
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("Debe ingresar un valor válido en precio unitario."));
        QCOMPARE(recorder.lastStyle(), MessageCritical | MessageOkOnly);
        QCOMPARE(QApplication::activeModalWidget(), screen);
        QCOMPARE(moduleState().candidateLines.at(0).quantity, 6.0);
        QCOMPARE(moduleState().candidateLines.at(0).unitPrice, 2.5);
        QVERIFY(!moduleState().editFlag);
        press(screen, "txtPrecio", Qt::Key_Escape);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItem(0)->text(4),
                 fmt(6, "00.0000"));
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmModificar::priceWithSevenDecimalsStoredWithSix()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        control<QLineEdit>(screen, "txtMerma")->setText(localeText("1.123456"));
        saveWith(screen, "txtPrecio", localeText("2.1234567"));
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QCOMPARE(moduleState().candidateLines.at(0).unitPrice, 2.123457);
        QCOMPARE(moduleState().candidateLines.at(0).shrinkage, 1.123456);
        QTreeWidgetItem* row = control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItem(0);
        // The rewritten row: six decimals for the price, five for shrinkage and loss.
        QCOMPARE(row->text(5), fmt(2.123457, "00.000000"));
        QCOMPARE(row->text(6), fmt(1.12346, "00.00000"));
        QCOMPARE(row->text(8), fmt(1, "00.00000"));
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(recorder.messages.size(), 0);
}

void tst_frmModificar::earlierCtcOfSameDeclarationIsOffered()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"), QStringLiteral(""));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        QCOMPARE(control<QLineEdit>(screen, "txtCTC")->text(), QString());
        saveWith(screen, "txtCTC", QStringLiteral("NEW1"));
    });
    // Line 3 is of the same declaration and tariff position.
    editRow(script, 2);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        QCOMPARE(control<QLineEdit>(screen, "txtCTC")->text(), QStringLiteral("NEW1"));
        press(screen, "txtCTC", Qt::Key_F11);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItem(2)->text(10),
                 QStringLiteral("NEW1"));
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(f.scalar("select ARTCTC from INS where INTDCL = 'D1' and ARTNRO = 'IN2'").toString(),
             QStringLiteral("NEW1"));
}

void tst_frmModificar::ctcMatchingNoStockIsNotRemembered()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"), QStringLiteral(""));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget*) {
        // The stock of D1 is gone: the update matches no stock record.
        DischargeFixture::run(f.discharge(), QStringLiteral("delete from INS where INTDCL = 'D1'"));
    });
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"),
              [](QWidget* screen) { saveWith(screen, "txtCTC", QStringLiteral("ZZ9")); });
    editRow(script, 2);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        QCOMPARE(control<QLineEdit>(screen, "txtCTC")->text(), QString());
        press(screen, "txtCTC", Qt::Key_Escape);
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
    for (const CtcMemoryEntry& entry : moduleState().ctcMemory)
        QVERIFY(entry.ctc != QStringLiteral("ZZ9"));
    // The line itself took it.
    QCOMPARE(moduleState().candidateLines.at(0).ctc, QStringLiteral("ZZ9"));
}

void tst_frmModificar::blankCtcAndReferenceIssueNoUpdate()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"), QStringLiteral(""));
    auto& [f, recorder, script] = screenCase;
    RecordingDataObject recording(f.dischargeData.get());
    moduleState().dataObject = &recording;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [&](QWidget* screen) {
        recording.clear();
        control<QLineEdit>(screen, "txtEXP")->setText(QString());
        saveWith(screen, "txtCTC", QString());
    });
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        QVERIFY(moduleState().editFlag);
        QVERIFY(recording.executed.isEmpty());
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmModificar::ctcAndReferenceAreWrittenToStock()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    RecordingDataObject recording(f.dischargeData.get());
    moduleState().dataObject = &recording;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [&](QWidget* screen) {
        recording.clear();
        control<QLineEdit>(screen, "txtEXP")->setText(QStringLiteral("EXP-7"));
        saveWith(screen, "txtCTC", QStringLiteral("C-99"));
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
    QCOMPARE(recording.executed,
             QStringList({"update INS set ARTCTC = 'C-99' where INTDCL = 'D1'  and ARTNCM = "
                          "'1111.11.11'",
                          "update INS set INSEXP = 'EXP-7' where INTDCL = 'D1'  and ARTNCM = "
                          "'1111.11.11'"}));
    QCOMPARE(
        f.scalar("select count(*) from INS where ARTCTC = 'C-99' and INSEXP = 'EXP-7'").toInt(), 4);
    const CtcMemoryEntry& last = moduleState().ctcMemory.last();
    QCOMPARE(last.exportReference, QStringLiteral("EXP-7"));
    QCOMPARE(last.ctc, QString());
}

// With the trail on, each stock line of the declaration and tariff position whose C.T.C. or
// export reference changes gets a row, under the operation and sub-item being discharged.
void tst_frmModificar::ctcAndReferenceWithTheTrailAreRecorded()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    auditrows::create(f);
    setAtomicWrites(true);
    QVERIFY(setAuditTrail(true, QStringLiteral("Op")));
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [&](QWidget* screen) {
        control<QLineEdit>(screen, "txtEXP")->setText(QStringLiteral("EXP-7"));
        saveWith(screen, "txtCTC", QStringLiteral("C-99"));
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
    setAuditTrail(false);
    setAtomicWrites(false);
    QCOMPARE(
        f.scalar("select count(*) from INS where ARTCTC = 'C-99' and INSEXP = 'EXP-7'").toInt(), 4);
    // One row per stock line and column, each with the value it held and the one written.
    const QStringList rows = auditrows::rows(f, QStringLiteral("AUDQUE, ARTNRO, ARTITM, ARTSBT"));
    QCOMPARE(rows.size(), 8);
    QSqlQuery query(f.discharge());
    QVERIFY(query.exec("select INS.ARTNRO, INS.ARTITM, INS.ARTSBT, INS.ARTDSC from INS where "
                       "INTDCL = 'D1' and ARTNCM = '1111.11.11' order by ARTNRO, ARTITM, ARTSBT"));
    QStringList expected;
    QStringList references;
    const ModuleState& state = moduleState();
    while (query.next()) {
        const QString line = state.INTERNO + u'|' + QString::number(state.SUBITEM) + u"|D1|" +
                             query.value(0).toString() + u'|' + query.value(1).toString() + u'|' +
                             query.value(2).toString() + u"|Op|" +
                             QString::number(query.value(3).toDouble(), 'g', 15) + u'|' +
                             QString::number(query.value(3).toDouble(), 'g', 15) + u'|';
        expected.append(u"INS.ARTCTC|" + line);
        references.append(u"INS.INSEXP|" + line);
    }
    QCOMPARE(expected.size(), 4);
    for (int i = 0; i < 4; ++i) {
        QVERIFY2(rows.at(i).startsWith(expected.at(i)), qPrintable(rows.at(i)));
        QVERIFY2(rows.at(i).endsWith(QStringLiteral("|C-99")), qPrintable(rows.at(i)));
        QVERIFY2(rows.at(4 + i).startsWith(references.at(i)), qPrintable(rows.at(4 + i)));
        QVERIFY2(rows.at(4 + i).endsWith(QStringLiteral("|EXP-7")), qPrintable(rows.at(4 + i)));
    }
}

void tst_frmModificar::rememberedCtcStaysInLineAfterEscape()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"), QStringLiteral(""));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"),
              [](QWidget* screen) { saveWith(screen, "txtCTC", QStringLiteral("NEW1")); });
    editRow(script, 2);
    script.on(QStringLiteral("frmModificar"),
              [](QWidget* screen) { press(screen, "txtCTC", Qt::Key_Escape); });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QVERIFY(!moduleState().editFlag);
        QCOMPARE(moduleState().candidateLines.at(2).ctc, QStringLiteral("NEW1"));
        // The row is not rewritten after a cancelled edit.
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItem(2)->text(10), QString());
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmModificar::quoteInCtcEndsInErrorMessage_data()
{
    QTest::addColumn<QByteArray>("box");
    QTest::addColumn<QStringList>("updates");
    QTest::newRow("C.T.C.") << QByteArray("txtCTC") << QStringList();
    // The C.T.C. update runs before the export reference's statement is refused, and stays.
    QTest::newRow("Expediente") << QByteArray("txtEXP")
                                << QStringList{"update INS set ARTCTC = 'CTC1' where INTDCL = "
                                               "'D1'  and ARTNCM = '1111.11.11'"};
}

void tst_frmModificar::quoteInCtcEndsInErrorMessage()
{
    QFETCH(QByteArray, box);
    QFETCH(QStringList, updates);
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    RecordingDataObject recording(f.dischargeData.get());
    moduleState().dataObject = &recording;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [&](QWidget* screen) {
        recording.clear();
        recorder.clear();
        saveWith(screen, box.constData(), QStringLiteral("A'B"));
        QCOMPARE(recorder.messages.size(), 1);
        QVERIFY(recorder.lastPrompt().endsWith(
            QStringLiteral("\r\n\r\n-2147221504 - Seccion [oQUIVRAN.frmModificar.f_Aceptar]")));
        QCOMPARE(recorder.lastStyle(), MessageCritical | MessageOkOnly);
        QCOMPARE(recording.executed, updates);
        QVERIFY(!moduleState().editFlag);
        QCOMPARE(QApplication::activeModalWidget(), screen);
        press(screen, box.constData(), Qt::Key_Escape);
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
    QCOMPARE(anyStartsWith(recording.statements, QStringLiteral("update")), !updates.isEmpty());
    QCOMPARE(
        f.scalar("select count(*) from INS where ARTCTC like '%''%' or INSEXP like '%''%'").toInt(),
        0);
}

void tst_frmModificar::nonNumericShrinkageEndsInErrorMessage()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [&](QWidget* screen) {
        saveWith(screen, "txtMerma", QStringLiteral("xyz"));
        QCOMPARE(recorder.lastPrompt(), QStringLiteral("Type mismatch\r\n\r\n13 - Seccion "
                                                       "[oQUIVRAN.frmModificar.f_Aceptar]"));
        QCOMPARE(QApplication::activeModalWidget(), screen);
        press(screen, "txtMerma", Qt::Key_Escape);
    });
    closeAllocation(script);
    QVERIFY(runOnAllocation(script));
    QVERIFY(!moduleState().editFlag);
}

QTEST_MAIN(tst_frmModificar)
#include "tst_frmModificar.moc"
