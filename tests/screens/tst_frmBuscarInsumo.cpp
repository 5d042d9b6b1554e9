#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "RecordingDataObject.h"
#include "Scenario.h"
#include "ScreenCase.h"
#include "ScreenScript.h"

#include "DateText.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlError>
#include <QSqlQuery>
#include <QTreeWidget>
#include <QtTest>

using namespace oquivran;

namespace {

QString fmt(double value, const char* pattern)
{
    return NumberFormat::format(value, QString::fromLatin1(pattern));
}

// Steps: Insert on the allocation screen, then body on the search screen, then ESC on the
// search screen (when it is still open) and on the allocation screen.
void onSearch(ScreenScript& script, const std::function<void(QWidget*)>& body)
{
    script.on(QStringLiteral("frmAgregarDIP"),
              [](QWidget* screen) { press(screen, "lstINSUMOS", Qt::Key_Insert); });
    script.on(QStringLiteral("frmBuscarInsumo"), [body](QWidget* screen) {
        body(screen);
        if (QApplication::activeModalWidget() == screen)
            press(screen, "txtBuscarInsumos", Qt::Key_Escape);
    });
    closeAllocation(script);
}

void search(QWidget* screen, const QString& text)
{
    auto* box = control<QLineEdit>(screen, "txtBuscarInsumos");
    box->setText(text);
    QTest::keyClick(box, Qt::Key_Return);
}

QTreeWidget* results(QWidget* screen)
{
    return control<QTreeWidget>(screen, "lstInsumos");
}

} // namespace

class tst_frmBuscarInsumo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void searchListsStockLines();
    void searchStatementIsExact();
    void quoteIsSearchedAsBlank();
    void blankTextGivesMessage();
    void exhaustedStockGreyedOrHidden();
    void nullAvailabilityEndsTheFilling();
    void enterOrDoubleClickOnEmptyListDoesNothing();
    void escapeFromLoadKeepsResults();
};

void tst_frmBuscarInsumo::searchListsStockLines()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    onSearch(script, [](QWidget* screen) {
        QCOMPARE(screen->windowTitle(), QStringLiteral("Buscar Insumo"));
        QCOMPARE(control<QLabel>(screen, "Label1")->text(),
                 QStringLiteral("Ingrese codigo de Insumo"));
        QCOMPARE(control<QPushButton>(screen, "cmdBuscar")->text(), QStringLiteral("Buscar"));
        QCOMPARE(control<QCheckBox>(screen, "chSoloDisponibles")->text(),
                 QStringLiteral("Mostrar solo disponibles"));
        control<QLineEdit>(screen, "txtBuscarInsumos")->setText(QStringLiteral("IN1"));
        QTest::mouseClick(control<QPushButton>(screen, "cmdBuscar"), Qt::LeftButton);
        QTreeWidget* list = results(screen);
        QCOMPARE(list->topLevelItemCount(), 3);
        QVERIFY(list->hasFocus());
        // Earliest expiry first: D2 expires before D1. Its two lines share the expiry, so
        // the statement leaves their order to the database.
        QTreeWidgetItem* row = list->topLevelItem(0);
        if (row->text(5) != u"1")
            row = list->topLevelItem(1);
        QCOMPARE(row->text(0), QStringLiteral("IN1"));
        QCOMPARE(row->text(1), QStringLiteral("D2"));
        QCOMPARE(row->text(2), QStringLiteral("2222.22.22"));
        QCOMPARE(row->text(3), fmt(10, "00.00"));
        QCOMPARE(row->text(4), DateText::toText(QDate(2027, 3, 31)));
        QCOMPARE(row->text(5), QStringLiteral("1"));
        QCOMPARE(row->text(6), QStringLiteral("1"));
        QCOMPARE(row->text(7), NumberText::toText(3.1234567));
        QCOMPARE(row->text(8), QStringLiteral("CTC2"));
        QCOMPARE(row->text(9), QString());
        QCOMPARE(list->topLevelItem(2)->text(1), QStringLiteral("D1"));
        QStringList headers;
        for (int column = 0; column < 10; ++column)
            headers << list->headerItem()->text(column);
        QCOMPARE(headers, QStringList({"Insumo", "DIT", "NCM", "Disponible", "Vencimiento", "", "",
                                       "", "", ""}));
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(recorder.messages.size(), 0);
}

void tst_frmBuscarInsumo::searchStatementIsExact()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    RecordingDataObject recording(f.dischargeData.get());
    moduleState().dataObject = &recording;
    onSearch(script, [&](QWidget* screen) {
        recording.clear();
        search(screen, QStringLiteral("AB"));
        control<QCheckBox>(screen, "chSoloDisponibles")->setChecked(false);
        search(screen, QStringLiteral("AB"));
    });
    QVERIFY(runOnAllocation(script));
    const QString start = QStringLiteral(
        "select ARTNRO, INS.INTDCL as DIT, ARTNCM, ARTDSC, INTVEN, INTIOK, ARTITM, ARTSBT, ARTPRE, "
        "ARTCTC, INSEXP from INS, INTINS where ARTNRO like 'AB%' AND INS.INTDCL = INTINS.INTDCL ");
    QCOMPARE(recording.opened, QStringList({start + "AND ARTDSC>0 AND INTIOK = 1 order by INTVEN",
                                            start + "order by INTVEN"}));
}

void tst_frmBuscarInsumo::quoteIsSearchedAsBlank()
{
    DischargeFixture f;
    MessageRecorder recorder;
    RecordingDataObject recording(f.dischargeData.get());
    scenario::seed(f);
    f.addStock(QStringLiteral("D1"), QStringLiteral("A B1"), 1, 1, 5, 1);
    scenario::discharge(f, QStringLiteral("PRD1"));
    moduleState().dataObject = &recording;
    ScreenScript script;
    onSearch(script, [&](QWidget* screen) {
        recording.clear();
        search(screen, QStringLiteral("A'B"));
        QCOMPARE(recording.opened.size(), 1);
        QVERIFY(recording.opened.first().contains(QStringLiteral("ARTNRO like 'A B%' ")));
        QCOMPARE(results(screen)->topLevelItemCount(), 1);
        QCOMPARE(results(screen)->topLevelItem(0)->text(0), QStringLiteral("A B1"));
        // The box keeps what the operator typed.
        QCOMPARE(control<QLineEdit>(screen, "txtBuscarInsumos")->text(), QStringLiteral("A'B"));
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(recorder.messages.size(), 0);
}

void tst_frmBuscarInsumo::blankTextGivesMessage()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    RecordingDataObject recording(f.dischargeData.get());
    moduleState().dataObject = &recording;
    onSearch(script, [&](QWidget* screen) {
        search(screen, QStringLiteral("IN"));
        const int listed = results(screen)->topLevelItemCount();
        QVERIFY(listed > 0);
        recording.clear();
        search(screen, QStringLiteral("   "));
        QCOMPARE(recorder.lastPrompt(), QStringLiteral("Debe ingresar un codigo de articulo"));
        QCOMPARE(recorder.lastStyle(), MessageCritical | MessageOkOnly);
        QVERIFY(recording.opened.isEmpty());
        QCOMPARE(results(screen)->topLevelItemCount(), listed);
        recorder.clear();
        search(screen, QStringLiteral("A "));
        QCOMPARE(recorder.messages.size(), 0);
        QVERIFY(recording.opened.first().contains(QStringLiteral("ARTNRO like 'A %' ")));
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmBuscarInsumo::exhaustedStockGreyedOrHidden()
{
    DischargeFixture f;
    MessageRecorder recorder;
    scenario::seed(f);
    f.addDeclaration(QStringLiteral("D3"), QDate(2026, 3, 1), 0, QDate(2027, 9, 30));
    f.addStock(QStringLiteral("D1"), QStringLiteral("IN8"), 1, 1, 5, 1, scenario::tariff,
               QStringLiteral("C"), QString(), 0);
    f.addStock(QStringLiteral("D2"), QStringLiteral("IN8"), 1, 1, 5, 1, scenario::tariff,
               QStringLiteral("C"), QString(), 5);
    f.addStock(QStringLiteral("D3"), QStringLiteral("IN8"), 1, 1, 5, 1);
    scenario::discharge(f, QStringLiteral("PRD1"));
    ScreenScript script;
    onSearch(script, [&](QWidget* screen) {
        control<QCheckBox>(screen, "chSoloDisponibles")->setChecked(true);
        search(screen, QStringLiteral("IN8"));
        QCOMPARE(results(screen)->topLevelItemCount(), 1);
        QCOMPARE(results(screen)->topLevelItem(0)->text(1), QStringLiteral("D2"));
        control<QCheckBox>(screen, "chSoloDisponibles")->setChecked(false);
        search(screen, QStringLiteral("IN8"));
        QTreeWidget* list = results(screen);
        QCOMPARE(list->topLevelItemCount(), 3);
        for (int i = 0; i < 3; ++i) {
            QTreeWidgetItem* row = list->topLevelItem(i);
            const bool greyed = row->text(1) != QStringLiteral("D2");
            for (int column = 0; column <= 4; ++column)
                QCOMPARE(row->foreground(column).color() == QColor(192, 192, 192), greyed);
            QCOMPARE(row->foreground(5).style(), Qt::NoBrush);
        }
    });
    QVERIFY(runOnAllocation(script));
}

// A null in a column other than the C.T.C. and the export reference ends the filling through
// the search's handler; the lines added before it stay.
void tst_frmBuscarInsumo::nullAvailabilityEndsTheFilling()
{
    DischargeFixture f;
    MessageRecorder recorder;
    scenario::seed(f);
    // A host's own stock table may allow a null availability.
    const QStringList open =
        f.discharge().driverName() == u"QPSQL"
            ? QStringList{QStringLiteral("alter table INS alter column ARTDSC drop not null")}
            : QStringList{QStringLiteral("create table INS_OPEN as select * from INS"),
                          QStringLiteral("drop table INS"),
                          QStringLiteral("alter table INS_OPEN rename to INS")};
    for (const QString& sql : open) {
        QSqlQuery query(f.discharge());
        QVERIFY2(query.exec(sql), qPrintable(query.lastError().text()));
    }
    f.addDeclaration(QStringLiteral("D3"), QDate(2026, 3, 1), 1, QDate(2027, 9, 30));
    // Listed by expiry: D2, then D1 (its availability null), then D3.
    for (const char* declaration : {"D1", "D2", "D3"})
        f.addStock(QString::fromLatin1(declaration), QStringLiteral("IN8"), 1, 1, 5, 1,
                   scenario::tariff, QStringLiteral("C"), QString(), 5);
    DischargeFixture::run(f.discharge(),
                          "update INS set ARTDSC = NULL where INTDCL = 'D1' and ARTNRO = 'IN8'");
    scenario::discharge(f, QStringLiteral("PRD1"));
    ScreenScript script;
    onSearch(script, [&](QWidget* screen) {
        control<QCheckBox>(screen, "chSoloDisponibles")->setChecked(false);
        recorder.clear();
        search(screen, QStringLiteral("IN8"));
        QCOMPARE(recorder.messages.size(), 1);
        QCOMPARE(recorder.lastPrompt(), QStringLiteral("94\r\nInvalid use of Null"));
        QCOMPARE(recorder.lastStyle(), 16);
        QTreeWidget* list = results(screen);
        QVERIFY(list->isVisible());
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(1), QStringLiteral("D2"));
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmBuscarInsumo::enterOrDoubleClickOnEmptyListDoesNothing()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    onSearch(script, [&](QWidget* screen) {
        search(screen, QStringLiteral("NADA"));
        QTreeWidget* list = results(screen);
        QCOMPARE(list->topLevelItemCount(), 0);
        QTest::keyClick(list, Qt::Key_Return);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, QPoint(20, 10));
        QCOMPARE(QApplication::activeModalWidget(), screen);
        QCOMPARE(recorder.messages.size(), 0);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmBuscarInsumo::escapeFromLoadKeepsResults()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"),
              [](QWidget* screen) { press(screen, "txtDIPCAN", Qt::Key_Escape); });
    script.on(QStringLiteral("frmBuscarInsumo"), [](QWidget* screen) {
        QCOMPARE(results(screen)->topLevelItemCount(), 3);
        QCOMPARE(control<QLineEdit>(screen, "txtBuscarInsumos")->text(), QStringLiteral("IN1"));
        // A double-click picks the line again.
        QTreeWidget* list = results(screen);
        const QRect rect = list->visualItemRect(list->topLevelItem(0));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    });
    script.on(QStringLiteral("frmCargarInsumo"),
              [](QWidget* screen) { press(screen, "txtDIPCAN", Qt::Key_Escape); });
    script.on(QStringLiteral("frmBuscarInsumo"),
              [](QWidget* screen) { press(screen, "lstInsumos", Qt::Key_Escape); });
    script.on(QStringLiteral("frmAgregarDIP"), [](QWidget* screen) {
        QCOMPARE(moduleState().currentInput.declaration, QString());
        QCOMPARE(moduleState().currentInput.inputCode, QString());
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItemCount(), 3);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

QTEST_MAIN(tst_frmBuscarInsumo)
#include "tst_frmBuscarInsumo.moc"
