#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "Scenario.h"
#include "ScreenCase.h"
#include "ScreenScript.h"

#include "ListViewRows.h"
#include "ModuleState.h"
#include "NumberFormat.h"

#include <QLabel>
#include <QTreeWidget>
#include <QtTest>

using namespace oquivran;

namespace {

QString fmt(double value, const char* pattern)
{
    return NumberFormat::format(value, QString::fromLatin1(pattern));
}

QStringList rowTexts(const QTreeWidgetItem* row)
{
    QStringList texts;
    for (int column = 0; column < row->columnCount(); ++column)
        texts << row->text(column);
    return texts;
}

} // namespace

class tst_frmAgregarDIP : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void completeOpensWithoutMessageAndSavesWithoutQuestion();
    void shortInputOpensIncomplete();
    void blankCtcStopsSave();
    void noStockLineNeedsNoCtc();
    void unitPriceHasSevenDecimals_data();
    void unitPriceHasSevenDecimals();
    void insertOfListedLineIsRefused();
    void insertAppendsLine();
    void deleteAsksAndRemoves();
    void escapeAfterEditsWritesNothing();
    void failedRelationLookupOpensComplete();
    void controlsAndCaptions();
};

void tst_frmAgregarDIP::completeOpensWithoutMessageAndSavesWithoutQuestion()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        QCOMPARE(control<QLabel>(screen, "lbMensaje")->text(), QString());
        QVERIFY(control<QLabel>(screen, "lbTeclas")->isVisible());
        QVERIFY(!control<QLabel>(screen, "lbBlock")->isVisible());
        QVERIFY(!control<QLabel>(screen, "lbVDE")->isVisible());
        QCOMPARE(control<QLabel>(screen, "lbProducto")->text(), QStringLiteral("PRD1"));
        QCOMPARE(control<QLabel>(screen, "lbCatalogo")->text(), QStringLiteral("CAT"));
        QCOMPARE(control<QLabel>(screen, "lbInterno")->text(), QStringLiteral("OP1"));
        QCOMPARE(control<QLabel>(screen, "lbCantidad")->text(), QStringLiteral("10"));
        auto* relations = control<QTreeWidget>(screen, "lstINSPRD");
        QCOMPARE(relations->topLevelItemCount(), 2);
        QCOMPARE(rowTexts(relations->topLevelItem(0)),
                 QStringList({"IN1", "Tela de algodon", fmt(1, "00.0000"), fmt(10, "00.0000")}));
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItemCount(), 3);
        QCOMPARE(
            rowTexts(list->topLevelItem(0)),
            QStringList({"D1", "IN1", "1", "1", fmt(6, "00.0000"), fmt(2.5, "00.0000000"),
                         fmt(2, "00.000000"), "%", fmt(1, "00.000000"), "#", "CTC1", "1", ""}));
        QCOMPARE(list->topLevelItem(1)->text(4), fmt(4, "00.0000"));
        QCOMPARE(list->topLevelItem(2)->text(11), QStringLiteral("3"));
        // Complete lines keep the default colour.
        QCOMPARE(list->topLevelItem(0)->foreground(0).style(), Qt::NoBrush);
        press(screen, "lstINSUMOS", Qt::Key_F11);
    });
    script.start();
    QVERIFY(openAllocation());
    QVERIFY(script.finished());
    QCOMPARE(recorder.messages.size(), 0);
    QCOMPARE(f.dischargeRowCount(), 3);
    QCOMPARE(moduleState().CantidadDescontada, 15.0);
    QCOMPARE(moduleState().CIFDescontado, 33.743827);
    QVERIFY(f.stockInvariantViolations().isEmpty());
}

void tst_frmAgregarDIP::shortInputOpensIncomplete()
{
    DischargeFixture f;
    MessageRecorder recorder(AnswerNo);
    scenario::seed(f);
    scenario::discharge(f, QStringLiteral("PRD2"));
    ScreenScript script;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        QCOMPARE(control<QLabel>(screen, "lbMensaje")->text(),
                 QStringLiteral("No se puede descontar ya que no hay insumos suficientes."));
        QVERIFY(recorder.lastPrompt().startsWith(
            QStringLiteral("Cantidad insuficiente en stock para el insumo IN7")));
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItemCount(), 3);
        QTreeWidgetItem* partial = list->topLevelItem(0);
        QTreeWidgetItem* noStock = list->topLevelItem(1);
        QCOMPARE(noStock->text(0), QStringLiteral("Sin Stock"));
        for (int column = 0; column <= 12; ++column) {
            QCOMPARE(partial->foreground(column).color(), QColor(0, 128, 128));
            QCOMPARE(noStock->foreground(column).color(), ListViewRows::buttonFace());
        }
        // ENTER edits nothing while the allocation is incomplete: no line edit screen opens.
        list->setCurrentItem(list->topLevelItem(2));
        recorder.clear();
        press(screen, "lstINSUMOS", Qt::Key_Return);
        QCOMPARE(QApplication::activeModalWidget(), screen);
        // F11 asks first; No leaves the screen open with nothing written.
        press(screen, "lstINSUMOS", Qt::Key_F11);
        QCOMPARE(recorder.messages.size(), 1);
        QCOMPARE(recorder.lastPrompt(), QStringLiteral("Confirma descargar estos insumos"));
        QCOMPARE(recorder.lastStyle(), MessageYesNo | MessageQuestion);
        QCOMPARE(recorder.messages.last().title, QString());
        QCOMPARE(f.dischargeRowCount(), 0);
        QCOMPARE(QApplication::activeModalWidget(), screen);
    });
    closeAllocation(script);
    script.start();
    QVERIFY(!openAllocation());
    QVERIFY(script.finished());
}

void tst_frmAgregarDIP::blankCtcStopsSave()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"), QStringLiteral(""));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        press(screen, "lstINSUMOS", Qt::Key_F11);
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("Falta ingresar algunos datos obligatorios, por favor verifique el "
                                "numero de CTC."));
        QCOMPARE(recorder.lastStyle(), MessageExclamation | MessageOkOnly);
        QCOMPARE(QApplication::activeModalWidget(), screen);
        QCOMPARE(f.dischargeRowCount(), 0);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    script.start();
    QVERIFY(!openAllocation());
    QVERIFY(script.finished());
}

void tst_frmAgregarDIP::noStockLineNeedsNoCtc()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD3"));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItem(2)->text(0), QStringLiteral("Sin Stock"));
        QCOMPARE(list->topLevelItem(2)->text(10), QString());
        press(screen, "lstINSUMOS", Qt::Key_F11);
    });
    script.start();
    QVERIFY(openAllocation());
    QVERIFY(script.finished());
    QCOMPARE(recorder.messages.size(), 0);
    // The line without stock is never written.
    QCOMPARE(f.dischargeRowCount(), 2);
}

void tst_frmAgregarDIP::unitPriceHasSevenDecimals_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("normal") << QStringLiteral("N");
    QTest::newRow("extended") << QStringLiteral("S");
}

void tst_frmAgregarDIP::unitPriceHasSevenDecimals()
{
    QFETCH(QString, mode);
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItem(1)->text(5), fmt(3.1234567, "00.0000000"));
        QCOMPARE(list->topLevelItem(1)->text(5).size(), 10);
        QCOMPARE(control<QLabel>(screen, "lbVDE")->isVisible(), mode != QStringLiteral("N"));
        QCOMPARE(list->topLevelItem(1)->text(4),
                 NumberFormat::format(4, moduleState().valueFormat));
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script, mode));
}

void tst_frmAgregarDIP::insertOfListedLineIsRefused()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D1"), 1);
    script.on(QStringLiteral("frmCargarInsumo"),
              [](QWidget* screen) { press(screen, "txtDIPCAN", Qt::Key_F11); });
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("El insumo IN1 perteneciente a la DIT: D1 ya esta seleccionado\r\n"
                                "si desea agregar mas de ese insumo, presione ENTER para "
                                "modificar su cantidad"));
        QCOMPARE(recorder.lastStyle(), MessageExclamation | MessageOkOnly);
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItemCount(), 3);
        QCOMPARE(moduleState().candidateLines.size(), 3);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmAgregarDIP::insertAppendsLine()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    insertStock(script, QStringLiteral("IN1"), QStringLiteral("D2"), 2);
    script.on(QStringLiteral("frmCargarInsumo"), [](QWidget* screen) {
        control<QLineEdit>(screen, "txtDIPCAN")->setText(QStringLiteral("3"));
        press(screen, "txtDIPCAN", Qt::Key_F11);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItemCount(), 4);
        // The added line shows its unit price with six decimals.
        QCOMPARE(
            rowTexts(list->topLevelItem(3)),
            QStringList({"D2", "IN1", "2", "1", fmt(3, "00.0000"), fmt(4, "00.000000"),
                         fmt(0, "00.000000"), "#", fmt(0, "00.000000"), "#", "CTC2", "4", ""}));
        QCOMPARE(moduleState().candidateLines.size(), 4);
        QCOMPARE(moduleState().candidateLines.last().quantity, 3.0);
        QCOMPARE(recorder.messages.size(), 0);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

void tst_frmAgregarDIP::deleteAsksAndRemoves()
{
    DischargeFixture f;
    MessageRecorder recorder(AnswerNo);
    scenario::seed(f);
    scenario::discharge(f, QStringLiteral("PRD1"));
    ScreenScript script;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        list->setCurrentItem(list->topLevelItem(1));
        press(screen, "lstINSUMOS", Qt::Key_Delete);
        QCOMPARE(recorder.lastPrompt(),
                 QStringLiteral("Confirma eliminar el insumo [ IN1 ] de la DIT [ D2 ] ?"));
        QCOMPARE(recorder.lastStyle(), MessageYesNo | MessageQuestion);
        QCOMPARE(recorder.messages.last().title, QStringLiteral("Insumos"));
        QCOMPARE(list->topLevelItemCount(), 3);
        recorder.setAnswer(AnswerYes);
        press(screen, "lstINSUMOS", Qt::Key_Delete);
        QCOMPARE(list->topLevelItemCount(), 2);
        QCOMPARE(list->topLevelItem(1)->text(1), QStringLiteral("IN2"));
        QCOMPARE(moduleState().candidateLines.size(), 2);
        QCOMPARE(moduleState().candidateLines.at(1).inputCode, QStringLiteral("IN2"));
        // "ord" follows the candidate line's new position, so ENTER edits the line shown.
        QCOMPARE(list->topLevelItem(0)->text(11), QStringLiteral("1"));
        QCOMPARE(list->topLevelItem(1)->text(11), QStringLiteral("2"));
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(f.dischargeRowCount(), 0);
}

void tst_frmAgregarDIP::escapeAfterEditsWritesNothing()
{
    DischargeFixture f;
    MessageRecorder recorder(AnswerYes);
    scenario::seed(f);
    scenario::discharge(f, QStringLiteral("PRD1"));
    ScreenScript script;
    editRow(script, 0);
    script.on(QStringLiteral("frmModificar"), [](QWidget* screen) {
        control<QLineEdit>(screen, "txtCantidad")->setText(QStringLiteral("5"));
        press(screen, "txtCantidad", Qt::Key_F11);
    });
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        auto* list = control<QTreeWidget>(screen, "lstINSUMOS");
        QCOMPARE(list->topLevelItem(0)->text(4), fmt(5, "00.0000"));
        list->setCurrentItem(list->topLevelItem(2));
        press(screen, "lstINSUMOS", Qt::Key_Delete);
        QCOMPARE(list->topLevelItemCount(), 2);
        press(screen, "lstINSUMOS", Qt::Key_Escape);
    });
    script.start();
    QVERIFY(!openAllocation());
    QVERIFY(script.finished());
    QCOMPARE(f.dischargeRowCount(), 0);
    QCOMPARE(f.available(QStringLiteral("D1"), QStringLiteral("IN1"), 1, 1), 6.0);
    QCOMPARE(f.available(QStringLiteral("D1"), QStringLiteral("IN2"), 2, 1), 20.0);
}

void tst_frmAgregarDIP::failedRelationLookupOpensComplete()
{
    scenario::ScreenCase screenCase(QStringLiteral("NOPRD"));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        QCOMPARE(recorder.messages.size(), 1);
        QVERIFY(recorder.lastPrompt().startsWith(
            QStringLiteral("No se puede obtener el valor del multiplicador del articulo NOPRD")));
        QCOMPARE(control<QTreeWidget>(screen, "lstINSPRD")->topLevelItemCount(), 0);
        QCOMPARE(control<QTreeWidget>(screen, "lstINSUMOS")->topLevelItemCount(), 0);
        QCOMPARE(control<QLabel>(screen, "lbMensaje")->text(), QString());
        QVERIFY(qobject_cast<frmAgregarDIP*>(screen)->isComplete());
        // Complete: F11 asks nothing.
        recorder.clear();
        press(screen, "lstINSUMOS", Qt::Key_F11);
        for (const auto& message : recorder.messages)
            QVERIFY(message.prompt != QStringLiteral("Confirma descargar estos insumos"));
    });
    QVERIFY(runOnAllocation(script));
    QCOMPARE(f.dischargeRowCount(), 0);
}

void tst_frmAgregarDIP::controlsAndCaptions()
{
    scenario::ScreenCase screenCase(QStringLiteral("PRD1"));
    auto& [f, recorder, script] = screenCase;
    script.on(QStringLiteral("frmAgregarDIP"), [&](QWidget* screen) {
        const QList<std::pair<const char*, QString>> captions = {
            {"Label1", "Relación INSUMO-PRODUCTO"},
            {"Label5", "Insumos encontrados en stock"},
            {"Label4", "PRODUCTO "},
            {"Label6", "CATALOGO "},
            {"Label7", "INTERNO "},
            {"Label9", "CANTIDAD "},
            {"lbTeclas", "ENTER [Modificar unitario] - ESC [Cancelar] - F11 [PROCESAR Y GUARDAR]"},
            {"lbBlock", "Debido a que no hay stock suficiente se bloquearon los comandos"},
            {"lbVDE", "MODO: Valores Decimales Extendidos"},
            {"Label2", "Completo"},
            {"Label8", "Incompleto"},
            {"Label10", "No hay stock"},
        };
        for (const auto& [name, caption] : captions)
            QCOMPARE(control<QLabel>(screen, name)->text(), caption);
        for (const char* shape : {"Shape4", "Shape5", "Shape6"})
            QVERIFY(control<QWidget>(screen, shape));
        QTreeWidgetItem* header = control<QTreeWidget>(screen, "lstINSUMOS")->headerItem();
        QCOMPARE(rowTexts(header),
                 QStringList({"Nro DCL", "Insumo", "Item", "Subit", "Cantidad", "Unitario", "Merma",
                              "Tip", "Perdida", "Tip", "C.T.C.", "ord", "Exped"}));
        QCOMPARE(rowTexts(control<QTreeWidget>(screen, "lstINSPRD")->headerItem()),
                 QStringList({"Insumo", "Descripción", "Relación", "Cant. Total"}));
        press(screen, "lstINSPRD", Qt::Key_Escape);
    });
    QVERIFY(runOnAllocation(script));
}

QTEST_MAIN(tst_frmAgregarDIP)
#include "tst_frmAgregarDIP.moc"
