// Printing faults of the sworn declaration: a missing form image, no printer, a text-mode
// service that refuses a page. Each ends in the print routine's common error message, and the
// export data is not recorded on the operation's lines.
#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "PrintingData.h"

#include "DeclarationReport.h"
#include "ModuleState.h"
#include "ReportGenerator.h"
#include "frmImpresion.h"

#include <oquivran/oquivran.h>

#include <QLineEdit>
#include <QPrinterInfo>
#include <QTemporaryDir>
#include <QtTest>

using namespace oquivran;
using namespace printingdata;

namespace {

const QString outputLabel = QStringLiteral(" - Sección [oQUIVRAN.frmImpresion.lp_Imprimir]");

// A text-mode service that refuses every page.
class RefusingService : public TextPrintService
{
public:
    RefusingService() { setTextPrintService(this); }
    ~RefusingService() override { setTextPrintService(nullptr); }
    bool ImprimirDOS(const QString&, const QString&) override
    {
        ++pages;
        return false;
    }
    int pages = 0;
};

} // namespace

class tst_PrintFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void refusingTextService();
    void missingFormImage();
    void noPrinter();

private:
    // Generates the declaration and prints it with a method; the print routine's result.
    bool print(qint16 method);
    QVariant officialNumber() const
    {
        return m_db->scalar("select EXTNOF from DIP where EXTINT = ? limit 1", {interno});
    }

    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
    QTemporaryDir m_forms;
};

void tst_PrintFaults::init()
{
    qunsetenv("OQUIVRAN_PDF_OUTPUT");
    qunsetenv("OQUIVRAN_TEXT_OUTPUT");
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    seed(*m_db);
    moduleState().Dir_Formularios = m_forms.path() + u'/';
}

void tst_PrintFaults::cleanup()
{
    m_messages.reset();
    m_db.reset();
}

bool tst_PrintFaults::print(qint16 method)
{
    moduleState().INTERNO = interno;
    printingFormats(QStringLiteral("N"));
    frmImpresion screen;
    screen.findChild<QLineEdit*>(QStringLiteral("txtOficializacion"))
        ->setText(QStringLiteral("05/03/2027"));
    screen.findChild<QLineEdit*>(QStringLiteral("txtAAT"))
        ->setText(QStringLiteral("27001EC01000123K"));
    m_messages->clear();
    if (!ReportGenerator(DeclarationReport()).GenerarOM())
        return false;
    return screen.lp_Imprimir(QString(), 10, 75, method, 15);
}

void tst_PrintFaults::refusingTextService()
{
    RefusingService service;
    QVERIFY(!print(1));
    QCOMPARE(service.pages, 1);
    QCOMPARE(m_messages->messages.size(), 1);
    QCOMPARE(m_messages->lastPrompt(),
             QStringLiteral("Error en metodo de impresion DOS\r\n\r\n-2147221504") + outputLabel);
    QCOMPARE(m_messages->lastStyle(), int(MessageCritical | MessageOkOnly));
    QVERIFY(officialNumber().isNull());
}

void tst_PrintFaults::missingFormImage()
{
    // The printer starts (into a PDF file) and the form folder holds no adj1.kbx.
    qputenv("OQUIVRAN_PDF_OUTPUT", m_forms.filePath(QStringLiteral("out.pdf")).toUtf8());
    const bool printed = print(3);
    qunsetenv("OQUIVRAN_PDF_OUTPUT");
    QVERIFY(!printed);
    QCOMPARE(m_messages->messages.size(), 1);
    QVERIFY(m_messages->lastPrompt().contains(QStringLiteral("adj1.kbx\r\n\r\n53") + outputLabel));
    QCOMPARE(m_messages->lastStyle(), int(MessageCritical | MessageOkOnly));
    QVERIFY(officialNumber().isNull());
}

void tst_PrintFaults::noPrinter()
{
    if (!QPrinterInfo::availablePrinterNames().isEmpty())
        QSKIP("a printer is installed here");
    // No printer and no PDF file to print into: the printer cannot start.
    const bool printed = print(2);
    if (printed) {
        // Qt may still accept the job (a PDF printer of its own): then nothing is lost either.
        QVERIFY(m_messages->messages.isEmpty());
        QCOMPARE(officialNumber().toString(), QStringLiteral("27001EC01000123K"));
        return;
    }
    QCOMPARE(m_messages->messages.size(), 1);
    QCOMPARE(m_messages->lastPrompt(), QStringLiteral("Printer error\r\n\r\n482") + outputLabel);
    QVERIFY(officialNumber().isNull());
}

QTEST_MAIN(tst_PrintFaults)
#include "tst_PrintFaults.moc"
