#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "PdfText.h"
#include "PrintingData.h"
#include "RecordingDataObject.h"
#include "RecordingTextService.h"
#include "ScreenScript.h"
#include "Settings.h"

#include "ModuleState.h"

#include <oquivran/oquivran.h>

#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPrinterInfo>
#include <QRadioButton>
#include <QSettings>
#include <QtTest>

#include <functional>
#include <memory>

using namespace oquivran;
using namespace printingdata;

namespace {

const QString outputLabel = QStringLiteral(" - Sección [oQUIVRAN.frmImpresion.lp_Imprimir]");

QSettings settings()
{
    return Settings::store();
}

void setSetting(const QString& key, const QString& value)
{
    settings().setValue(key, value);
}

// Opens the print screen through GenerarIMP and runs action on it; the action ends with ESC.
// True when the action ran and the screen closed.
bool runPrintScreen(const std::function<void(QWidget*)>& action)
{
    ScreenScript script;
    script.on(QStringLiteral("frmImpresion"), action);
    script.start(30000);
    clQUIVRAN().GenerarIMP();
    return script.finished();
}

template <class T> T* find(QWidget* screen, const char* name)
{
    return control<T>(screen, name);
}

void check(QWidget* screen, const char* option)
{
    find<QRadioButton>(screen, option)->setChecked(true);
}

void setText(QWidget* screen, const char* box, const QString& text)
{
    find<QLineEdit>(screen, box)->setText(text);
}

// Fills the export data validly.
void fillValid(QWidget* screen)
{
    setText(screen, "txtOficializacion", QStringLiteral("05/03/2027"));
    setText(screen, "txtAAT", QStringLiteral("27001EC01000123K"));
}

QVariant dipValue(DischargeFixture& db, const QString& column, const QString& operation = interno)
{
    return db.scalar("select " + column + " from DIP where EXTINT = ? limit 1", {operation});
}

// Prints the declaration in text mode with valid export data and one box set to text, then
// closes the screen.
bool printDeclaration(const char* box, const QString& text)
{
    return runPrintScreen([=](QWidget* screen) {
        fillValid(screen);
        setText(screen, box, text);
        check(screen, "opMODDOS");
        QTest::keyClick(screen, Qt::Key_F11);
        QTest::keyClick(screen, Qt::Key_Escape);
    });
}

// Prints the declaration over the form of sheet 3, then closes the screen.
bool printFormSheetThree()
{
    return runPrintScreen([](QWidget* screen) {
        fillValid(screen);
        find<QComboBox>(screen, "cboFoja")->setCurrentIndex(2);
        check(screen, "opMODFRM");
        QTest::keyClick(screen, Qt::Key_F11);
        QTest::keyClick(screen, Qt::Key_Escape);
    });
}

} // namespace

class tst_frmImpresion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void loadsSettingsAndExportData();
    void comparativeOnlyInExtendedMode_data();
    void comparativeOnlyInExtendedMode();
    void operationWithoutLinesLeavesExportDataEmpty();
    void noInvoicesLeaveInvoicesEmpty();
    void recordedInvoicesAreShown();
    void printersComeFromTheSystem();
    void savedPrinterNotInstalledPassesEmptyName();
    void f11Table_data();
    void f11Table();
    void validationMessages_data();
    void validationMessages();
    void listingsNeedNoValidation();
    void f11SavesSettings();
    void escapeSavesValidSettingsAndCloses();
    void escapeWithNonNumericFontSizeShowsMessageAndCloses();
    void declarationRecordsExportData();
    void emptyInvoicesStoreDash();
    void quoteInOfficialNumberIsReported();
    void progressShownInLbMensaje();
    void formImageOfSheetThree();
    void missingFormImageIsReported();

private:
    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
    std::unique_ptr<QTemporaryDir> m_forms;
};

void tst_frmImpresion::init()
{
    m_messages.reset();
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    seed(*m_db);
    DischargeFixture::run(m_db->host(),
                          "insert into facturas (interno, FACTURA, ORDEN) values (?, 'B-0002', 2), "
                          "(?, 'A-0001', 1), ('OP-0002', 'Z-9', 1)",
                          {interno, interno});
    settings().clear();
    setSetting(QStringLiteral("CONFIG/opVDE"), QStringLiteral("N"));
    m_forms = std::make_unique<QTemporaryDir>();
    QImage image(105, 148, QImage::Format_RGB32);
    image.fill(QColor(235, 245, 255));
    QVERIFY(image.save(m_forms->filePath(QStringLiteral("adj1.kbx")), "PNG"));
    moduleState().Dir_Formularios = m_forms->path() + u'/';
}

void tst_frmImpresion::cleanup()
{
    m_messages.reset();
    m_db.reset();
}

void tst_frmImpresion::loadsSettingsAndExportData()
{
    DischargeFixture::run(m_db->discharge(),
                          "update DIP set EXTNOF = '26001EC01000999K', EXTFOF = '2026-11-22'");
    QVERIFY(runPrintScreen([](QWidget* screen) {
        QCOMPARE(find<QLineEdit>(screen, "txtIMPTAM")->text(), QStringLiteral("10"));
        QCOMPARE(find<QLineEdit>(screen, "txtPAGLIN")->text(), QStringLiteral("75"));
        QCOMPARE(find<QLineEdit>(screen, "txtMargen")->text(), QStringLiteral("15"));
        auto* sheets = find<QComboBox>(screen, "cboFoja");
        QCOMPARE(sheets->count(), 5);
        QCOMPARE(sheets->itemText(4), QStringLiteral("5"));
        QCOMPARE(sheets->currentText(), QStringLiteral("1"));
        QCOMPARE(find<QLineEdit>(screen, "txtAAT")->text(), QStringLiteral("26001EC01000999K"));
        QCOMPARE(find<QLineEdit>(screen, "txtOficializacion")->text(),
                 QStringLiteral("22/11/2026"));
        // Invoices in their order, joined by commas.
        QCOMPARE(find<QLineEdit>(screen, "txtFACTU")->text(), QStringLiteral("A-0001,B-0002"));
        QCOMPARE(find<QLabel>(screen, "Label2")->text(),
                 QStringLiteral("[F11] Imprimir - [ESC] Salir"));
        QCOMPARE(find<QRadioButton>(screen, "opDESINS")->text(),
                 QStringLiteral("Descarga de Insumos"));
        QCOMPARE(find<QRadioButton>(screen, "opMODDOS")->text(),
                 QStringLiteral(
                     "Impresión MODO DOS, recomendado para impresoras matriz de punto o InkJet"));
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
}

void tst_frmImpresion::comparativeOnlyInExtendedMode_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("normal") << "N" << false;
    QTest::newRow("extended") << "S" << true;
}

void tst_frmImpresion::comparativeOnlyInExtendedMode()
{
    QFETCH(QString, mode);
    QFETCH(bool, enabled);
    setSetting(QStringLiteral("CONFIG/opVDE"), mode);
    QVERIFY(runPrintScreen([&](QWidget* screen) {
        QCOMPARE(find<QRadioButton>(screen, "opDESINSReal")->isEnabled(), enabled);
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
}

void tst_frmImpresion::operationWithoutLinesLeavesExportDataEmpty()
{
    RecordingDataObject host(m_db->hostData.get());
    const DischargeFixture::Bound bound(*m_db, m_db->dischargeData.get(), &host);
    moduleState().INTERNO = QStringLiteral("OP-0003");
    DischargeFixture::run(
        m_db->host(), "insert into facturas (interno, FACTURA, ORDEN) values ('OP-0003', 'C', 1)");
    QVERIFY(runPrintScreen([](QWidget* screen) {
        QCOMPARE(find<QLineEdit>(screen, "txtAAT")->text(), QString());
        QCOMPARE(find<QLineEdit>(screen, "txtOficializacion")->text(), QString());
        QCOMPARE(find<QLineEdit>(screen, "txtFACTU")->text(), QString());
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    // facturas is not read.
    QVERIFY(host.statements.isEmpty());
}

void tst_frmImpresion::noInvoicesLeaveInvoicesEmpty()
{
    DischargeFixture::run(m_db->host(), "delete from facturas");
    QVERIFY(runPrintScreen([](QWidget* screen) {
        QCOMPARE(find<QLineEdit>(screen, "txtFACTU")->text(), QString());
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
}

void tst_frmImpresion::recordedInvoicesAreShown()
{
    DischargeFixture::run(m_db->discharge(), "update DIP set EXTFAC = 'F-77'");
    QVERIFY(runPrintScreen([](QWidget* screen) {
        QCOMPARE(find<QLineEdit>(screen, "txtFACTU")->text(), QStringLiteral("F-77"));
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
}

void tst_frmImpresion::printersComeFromTheSystem()
{
    QVERIFY(runPrintScreen([](QWidget* screen) {
        auto* printers = find<QComboBox>(screen, "cboImpresion");
        QStringList names;
        for (int i = 0; i < printers->count(); ++i)
            names.append(printers->itemText(i));
        QCOMPARE(names, QPrinterInfo::availablePrinterNames());
        // No saved printer: none shown.
        QCOMPARE(printers->currentIndex(), -1);
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
}

void tst_frmImpresion::savedPrinterNotInstalledPassesEmptyName()
{
    setSetting(QStringLiteral("IMPRESION/IMPNOM"), QStringLiteral("Gone printer"));
    RecordingTextService service;
    QVERIFY(runPrintScreen([](QWidget* screen) {
        QCOMPARE(find<QComboBox>(screen, "cboImpresion")->currentText(), QString());
        check(screen, "opIMPINT");
        check(screen, "opMODDOS");
        QTest::keyClick(screen, Qt::Key_F11);
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    QVERIFY(!service.printers.isEmpty());
    QCOMPARE(service.printers.first(), QString());
}

void tst_frmImpresion::f11Table_data()
{
    QTest::addColumn<QString>("report");
    QTest::addColumn<QString>("method");
    // "text" for the text-mode service, "plain" or "form" for a PDF without or with the form.
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("orientation");
    QTest::addColumn<QString>("firstTitle");
    QTest::addColumn<bool>("records");
    const QString declaration = QStringLiteral("D.I.T.           Insumo");
    const QString control = QStringLiteral("Nro D.I.T.");
    const QString comparative = QStringLiteral("D.I.T.           Adu");
    // The rows of the screen's F11 table: report option, method option, what comes out.
    const struct
    {
        const char* tag;
        const char* report;
        const char* method;
        const char* output;
        const char* orientation;
        QString firstTitle;
        bool records;
    } rows[] = {
        {"declaration, text mode", "opDESINS", "opMODDOS", "text", "", declaration, true},
        {"declaration, printer", "opDESINS", "opMODCAD", "plain", "portrait", declaration, true},
        {"declaration, form", "opDESINS", "opMODFRM", "form", "portrait", declaration, true},
        {"control, text mode", "opIMPINT", "opMODDOS", "text", "", control, false},
        {"control, printer", "opIMPINT", "opMODCAD", "plain", "landscape", control, false},
        {"control, form is printer", "opIMPINT", "opMODFRM", "plain", "landscape", control, false},
        {"comparative, text mode", "opDESINSReal", "opMODDOS", "text", "", comparative, false},
        {"comparative, printer", "opDESINSReal", "opMODCAD", "plain", "portrait", comparative,
         false},
        {"comparative, form is printer", "opDESINSReal", "opMODFRM", "plain", "portrait",
         comparative, false},
    };
    for (const auto& row : rows)
        QTest::newRow(row.tag) << QString::fromLatin1(row.report) << QString::fromLatin1(row.method)
                               << QString::fromLatin1(row.output)
                               << QString::fromLatin1(row.orientation) << row.firstTitle
                               << row.records;
}

void tst_frmImpresion::f11Table()
{
    QFETCH(QString, report);
    QFETCH(QString, method);
    QFETCH(QString, output);
    QFETCH(QString, orientation);
    QFETCH(QString, firstTitle);
    QFETCH(bool, records);
    setSetting(QStringLiteral("CONFIG/opVDE"), QStringLiteral("S"));
    setSetting(QStringLiteral("IMPRESION/IMPTAM"), QStringLiteral("6"));
    RecordingTextService service;
    PdfOutput pdf(QStringLiteral("screen-pdf"),
                  QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-').remove(u','));
    bool stayedOpen = false;
    QVERIFY(runPrintScreen([&](QWidget* screen) {
        fillValid(screen);
        check(screen, report.toLatin1().constData());
        check(screen, method.toLatin1().constData());
        QTest::keyClick(find<QWidget>(screen, "txtFACTU"), Qt::Key_F11);
        stayedOpen = screen->isVisible();
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    QVERIFY(stayedOpen);
    QVERIFY2(m_messages->messages.isEmpty(), qPrintable(m_messages->lastPrompt()));
    QCOMPARE(moduleState().reportLines.at(3).text.left(firstTitle.size()), firstTitle);
    if (output == u"text") {
        QVERIFY(!service.pages.isEmpty());
        QCOMPARE(service.pages.first().contains(QStringLiteral("DECLARACION JURADA")), records);
        QVERIFY(!QFile::exists(pdf.file));
    } else {
        QVERIFY(service.pages.isEmpty());
        QVERIFY(pdfPageCount(pdf.file) >= 1);
        QCOMPARE(pdfImageCount(pdf.file) > 0, output == u"form");
        const QStringList size = pdfPageSize(pdf.file).split(u' ');
        QCOMPARE(size.at(0).toDouble() > size.at(2).toDouble(), orientation == u"landscape");
    }
    QCOMPARE(dipValue(*m_db, QStringLiteral("EXTNOF")).toString(),
             records ? QStringLiteral("27001EC01000123K") : QString());
}

void tst_frmImpresion::validationMessages_data()
{
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("message");
    // Each check of the validation, in its order: the box, a failing text, the message.
    const char* const rows[][4] = {
        {"date empty", "txtOficializacion", "", "En Oficialización debe poner una Fecha Valida"},
        {"date invalid", "txtOficializacion", "31/02/2027",
         "En Oficialización debe poner una Fecha Valida"},
        {"official number blank", "txtAAT", "   ", "Falta ingresar [ Año/Ad/Tipo/N. Reg/DC ]"},
        {"font size", "txtIMPTAM", "diez", "Debe ingresar un valor númerico en Tamaño de Fuente"},
        {"margin", "txtMargen", "", "Debe ingresar un valor númerico en Margen"},
        {"lines per page", "txtPAGLIN", "x75",
         "Debe ingresar un valor númerico en Lineas por Pagina"},
    };
    for (const auto& row : rows)
        QTest::newRow(row[0]) << QString::fromUtf8(row[1]) << QString::fromUtf8(row[2])
                              << QString::fromUtf8(row[3]);
}

void tst_frmImpresion::validationMessages()
{
    QFETCH(QString, box);
    QFETCH(QString, text);
    QFETCH(QString, message);
    RecordingTextService service;
    QVERIFY(runPrintScreen([&](QWidget* screen) {
        fillValid(screen);
        // Two failing fields: only the first check's message shows.
        setText(screen, "txtPAGLIN", QStringLiteral("?"));
        setText(screen, box.toLatin1().constData(), text);
        check(screen, "opMODDOS");
        QTest::keyClick(screen, Qt::Key_F11);
        QCOMPARE(m_messages->messages.size(), 1);
        QCOMPARE(m_messages->lastPrompt(), message);
        QCOMPARE(m_messages->lastStyle(), 48);
        QVERIFY(screen->isVisible());
        m_messages->clear();
        setText(screen, "txtPAGLIN", QStringLiteral("75"));
        setText(screen, "txtIMPTAM", QStringLiteral("10"));
        setText(screen, "txtMargen", QStringLiteral("15"));
        fillValid(screen);
        m_messages->setAnswer(AnswerOk);
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    QVERIFY(service.pages.isEmpty());
    QVERIFY(dipValue(*m_db, QStringLiteral("EXTNOF")).isNull());
}

void tst_frmImpresion::listingsNeedNoValidation()
{
    RecordingTextService service;
    QVERIFY(runPrintScreen([](QWidget* screen) {
        setText(screen, "txtOficializacion", QString());
        setText(screen, "txtAAT", QString());
        check(screen, "opIMPINT");
        check(screen, "opMODDOS");
        QTest::keyClick(screen, Qt::Key_F11);
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    QVERIFY(!service.pages.isEmpty());
    // Only ESC's validation spoke.
    QCOMPARE(m_messages->messages.size(), 1);
    QCOMPARE(m_messages->lastPrompt(),
             QStringLiteral("En Oficialización debe poner una Fecha Valida"));
}

void tst_frmImpresion::f11SavesSettings()
{
    RecordingTextService service;
    QVERIFY(runPrintScreen([](QWidget* screen) {
        fillValid(screen);
        setText(screen, "txtIMPTAM", QStringLiteral("8"));
        setText(screen, "txtPAGLIN", QStringLiteral("60"));
        setText(screen, "txtMargen", QStringLiteral("12"));
        check(screen, "opMODDOS");
        QTest::keyClick(screen, Qt::Key_F11);
        // Saved before ESC changes anything.
        QCOMPARE(settings().value(QStringLiteral("IMPRESION/IMPTAM")).toString(),
                 QStringLiteral("8"));
        QCOMPARE(settings().value(QStringLiteral("IMPRESION/PAGLIN")).toString(),
                 QStringLiteral("60"));
        QCOMPARE(settings().value(QStringLiteral("IMPRESION/MARGEN")).toString(),
                 QStringLiteral("12"));
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    // The next opening shows them.
    QVERIFY(runPrintScreen([](QWidget* screen) {
        QCOMPARE(find<QLineEdit>(screen, "txtIMPTAM")->text(), QStringLiteral("8"));
        QCOMPARE(find<QLineEdit>(screen, "txtPAGLIN")->text(), QStringLiteral("60"));
        QCOMPARE(find<QLineEdit>(screen, "txtMargen")->text(), QStringLiteral("12"));
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    // No printer list on this machine: IMPNOM is saved only when there are printers.
    QCOMPARE(settings().contains(QStringLiteral("IMPRESION/IMPNOM")),
             !QPrinterInfo::availablePrinterNames().isEmpty());
}

void tst_frmImpresion::escapeSavesValidSettingsAndCloses()
{
    QVERIFY(runPrintScreen([](QWidget* screen) {
        fillValid(screen);
        setText(screen, "txtIMPTAM", QStringLiteral("9"));
        QTest::keyClick(find<QWidget>(screen, "txtIMPTAM"), Qt::Key_Escape);
    }));
    QVERIFY(m_messages->messages.isEmpty());
    QCOMPARE(settings().value(QStringLiteral("IMPRESION/IMPTAM")).toString(), QStringLiteral("9"));
}

void tst_frmImpresion::escapeWithNonNumericFontSizeShowsMessageAndCloses()
{
    QVERIFY(runPrintScreen([](QWidget* screen) {
        fillValid(screen);
        setText(screen, "txtIMPTAM", QStringLiteral("grande"));
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    QCOMPARE(m_messages->messages.size(), 1);
    QCOMPARE(m_messages->lastPrompt(),
             QStringLiteral("Debe ingresar un valor númerico en Tamaño de Fuente"));
    QCOMPARE(m_messages->lastStyle(), 48);
    QVERIFY(!settings().contains(QStringLiteral("IMPRESION/IMPTAM")));
}

void tst_frmImpresion::declarationRecordsExportData()
{
    RecordingTextService service;
    QVERIFY(printDeclaration("txtFACTU", QStringLiteral("A'1,B")));
    // Every line of the operation; quotes in the invoices become blanks.
    QCOMPARE(m_db->scalar("select count(*) from DIP where EXTINT = ? and EXTNOF = ? and "
                          "EXTFOF = '2027-03-05' and EXTFAC = 'A 1,B'",
                          {interno, QStringLiteral("27001EC01000123K")})
                 .toInt(),
             6);
    QVERIFY(dipValue(*m_db, QStringLiteral("EXTNOF"), QStringLiteral("OP-0002")).isNull());
}

void tst_frmImpresion::emptyInvoicesStoreDash()
{
    RecordingTextService service;
    QVERIFY(printDeclaration("txtFACTU", QStringLiteral("   ")));
    QCOMPARE(dipValue(*m_db, QStringLiteral("EXTFAC")).toString(), QStringLiteral("-"));
}

void tst_frmImpresion::quoteInOfficialNumberIsReported()
{
    RecordingTextService service;
    QVERIFY(printDeclaration("txtAAT", QStringLiteral("27001EC01'123K")));
    // Printed, then the update breaks: the common error message, nothing recorded.
    QVERIFY(!service.pages.isEmpty());
    QCOMPARE(m_messages->messages.size(), 1);
    QVERIFY(m_messages->lastPrompt().endsWith(QStringLiteral("\r\n\r\n-2147221504") + outputLabel));
    QCOMPARE(m_messages->lastStyle(), 16);
    QVERIFY(dipValue(*m_db, QStringLiteral("EXTNOF")).isNull());
}

void tst_frmImpresion::progressShownInLbMensaje()
{
    RecordingTextService service;
    QStringList shown;
    QVERIFY(runPrintScreen([&](QWidget* screen) {
        auto* label = find<QLabel>(screen, "lbMensaje");
        service.onPage = [&, label](const QString&) {
            shown.append(label->text());
        };
        check(screen, "opIMPINT");
        check(screen, "opMODDOS");
        setText(screen, "txtPAGLIN", QStringLiteral("10"));
        QTest::keyClick(screen, Qt::Key_F11);
        fillValid(screen);
        QTest::keyClick(screen, Qt::Key_Escape);
    }));
    // The control listing has 29 lines: three pages of 10.
    QCOMPARE(moduleState().reportLines.size(), 29);
    QCOMPARE(shown, (QStringList{"Imprimiendo hoja 1 de 3", "Imprimiendo hoja 2 de 3",
                                 "Imprimiendo hoja 3 de 3"}));
}

void tst_frmImpresion::formImageOfSheetThree()
{
    QFile::rename(m_forms->filePath(QStringLiteral("adj1.kbx")),
                  m_forms->filePath(QStringLiteral("adj3.kbx")));
    PdfOutput pdf(QStringLiteral("screen-pdf"), QStringLiteral("form-sheet-3"));
    QVERIFY(printFormSheetThree());
    QVERIFY2(m_messages->messages.isEmpty(), qPrintable(m_messages->lastPrompt()));
    QVERIFY(pdfImageCount(pdf.file) > 0);
}

void tst_frmImpresion::missingFormImageIsReported()
{
    PdfOutput pdf(QStringLiteral("screen-pdf"), QStringLiteral("form-sheet-3-missing"));
    QVERIFY(printFormSheetThree());
    QCOMPARE(m_messages->messages.size(), 1);
    QVERIFY(m_messages->lastPrompt().contains(QStringLiteral("adj3.kbx\r\n\r\n53") + outputLabel));
    // Nothing recorded after the failed print.
    QVERIFY(dipValue(*m_db, QStringLiteral("EXTNOF")).isNull());
}

QTEST_MAIN(tst_frmImpresion)
#include "tst_frmImpresion.moc"
