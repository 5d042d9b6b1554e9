// The print job the print options screen's F11 and the headless print share: a host prints
// into a file of its own with options of its own, and the operator's saved settings and the
// printing environment variables are left as they were; the screen's F11 still saves its
// settings.
#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "PdfText.h"
#include "PrintingData.h"
#include "RecordingTextService.h"

#include "ModuleState.h"
#include "PageOutput.h"
#include "Settings.h"
#include "frmImpresion.h"

#include <oquivran/Printing.h>

#include <QImage>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace oquivran;
using namespace printingdata;

namespace {

// The operator's saved print settings the tests start from.
const QList<std::pair<QString, QString>> savedSettings = {
    {QStringLiteral("CONFIG/opVDE"), QStringLiteral("S")},
    {QStringLiteral("IMPRESION/IMPTAM"), QStringLiteral("10")},
    {QStringLiteral("IMPRESION/PAGLIN"), QStringLiteral("75")},
    {QStringLiteral("IMPRESION/MARGEN"), QStringLiteral("15")},
    {QStringLiteral("IMPRESION/IMPNOM"), QStringLiteral("Impresora del operador")},
};

// Every key and value of the settings store, as "key=value" lines.
QStringList settingsText()
{
    const QSettings store = Settings::store();
    QStringList lines;
    const QStringList keys = store.allKeys();
    for (const QString& key : keys)
        lines << key + u'=' + store.value(key).toString();
    return lines;
}

// The bytes of the settings file; empty where the settings are not a file (the registry).
QByteArray settingsBytes()
{
    QFile file(Settings::store().fileName());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The pages the report line buffer makes at a number of lines per page.
int pageCount(qint16 linesPerPage, PageTitles titles)
{
    int count = 0;
    PageOutput::paginate(moduleState().reportLines, linesPerPage, titles, count);
    return count;
}

template <class T> T* control(QWidget& screen, const char* name)
{
    T* found = screen.findChild<T*>(QString::fromLatin1(name));
    if (!found)
        qFatal("no control %s", name);
    return found;
}

} // namespace

class tst_PrintJob : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void headlessPrintKeepsSavedSettings_data();
    void headlessPrintKeepsSavedSettings();
    void screenF11SavesSettings_data();
    void screenF11SavesSettings();

private:
    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
    std::unique_ptr<QTemporaryDir> m_dir;
    // The files the printing environment variables name.
    QString m_variablePdf;
    QString m_variableText;
};

void tst_PrintJob::init()
{
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    m_dir = std::make_unique<QTemporaryDir>();
    seed(*m_db);
    moduleState().INTERNO = interno;
    QSettings store = Settings::store();
    store.clear();
    for (const auto& [key, value] : savedSettings)
        store.setValue(key, value);
    store.sync();
    QImage form(105, 148, QImage::Format_RGB32);
    form.fill(QColor(235, 245, 255));
    QVERIFY(form.save(m_dir->filePath(QStringLiteral("adj1.kbx")), "PNG"));
    moduleState().Dir_Formularios = m_dir->path() + u'/';
    m_variablePdf = m_dir->filePath(QStringLiteral("variable.pdf"));
    m_variableText = m_dir->filePath(QStringLiteral("variable.txt"));
    qputenv("OQUIVRAN_PDF_OUTPUT", m_variablePdf.toLocal8Bit());
    qputenv("OQUIVRAN_TEXT_OUTPUT", m_variableText.toLocal8Bit());
}

void tst_PrintJob::cleanup()
{
    qunsetenv("OQUIVRAN_PDF_OUTPUT");
    qunsetenv("OQUIVRAN_TEXT_OUTPUT");
    m_messages.reset();
    m_db.reset();
    m_dir.reset();
}

void tst_PrintJob::headlessPrintKeepsSavedSettings_data()
{
    QTest::addColumn<PrintReport>("report");
    QTest::addColumn<PrintOutput>("output");
    QTest::addColumn<QString>("title");
    // Whether the pages start with the declaration's titles.
    QTest::addColumn<bool>("declaration");
    const QString declarationTitle = QStringLiteral("DECLARACION JURADA");
    const QString control = QStringLiteral("Nro D.I.T.");
    const QString comparative = QStringLiteral("Adu");
    const struct
    {
        const char* tag;
        PrintReport report;
        PrintOutput output;
        QString title;
    } rows[] = {
        {"declaration, text", PrintReport::Declaration, PrintOutput::Text, declarationTitle},
        {"declaration, printer", PrintReport::Declaration, PrintOutput::Printer, declarationTitle},
        {"declaration, form", PrintReport::Declaration, PrintOutput::Form, declarationTitle},
        {"control, text", PrintReport::ControlListing, PrintOutput::Text, control},
        {"control, printer", PrintReport::ControlListing, PrintOutput::Printer, control},
        {"comparative, text", PrintReport::ComparativeListing, PrintOutput::Text, comparative},
        {"comparative, form", PrintReport::ComparativeListing, PrintOutput::Form, comparative},
    };
    for (const auto& row : rows)
        QTest::newRow(row.tag) << row.report << row.output << row.title
                               << (row.report == PrintReport::Declaration);
}

void tst_PrintJob::headlessPrintKeepsSavedSettings()
{
    QFETCH(PrintReport, report);
    QFETCH(PrintOutput, output);
    QFETCH(QString, title);
    QFETCH(bool, declaration);
    const QStringList settingsBefore = settingsText();
    const QByteArray bytesBefore = settingsBytes();
    QVERIFY(settingsBefore.contains(QStringLiteral("IMPRESION/IMPTAM=10")));

    const bool text = output == PrintOutput::Text;
    const QString file =
        m_dir->filePath(text ? QStringLiteral("pages.txt") : QStringLiteral("report.pdf"));
    // An earlier file is replaced.
    {
        QFile earlier(file);
        QVERIFY(earlier.open(QIODevice::WriteOnly));
        earlier.write("earlier print\n");
    }
    PrintRequest request;
    request.report = report;
    request.output = output;
    request.fontSize = 7;
    request.linesPerPage = 20;
    request.margin = 12;
    request.printerName = QStringLiteral("Impresora del anfitrion");
    request.sheet = QStringLiteral("1");
    request.officialNumber = QStringLiteral("25/001/EC01/000123/K");
    request.officialDate = QStringLiteral("05/03/2025");
    request.outputFile = file;
    QVERIFY(printReport(request));
    QVERIFY2(m_messages->messages.isEmpty(), qPrintable(m_messages->lastPrompt()));

    // Printed where and as asked: the lines per page given make the pages.
    const int pages = pageCount(20, declaration ? PageTitles::Declaration : PageTitles::None);
    QVERIFY(pages > 1);
    if (text) {
        const QString printed = readAll(file);
        QVERIFY(!printed.startsWith(QStringLiteral("earlier")));
        QCOMPARE(printed.count(u'\f'), pages);
        QVERIFY2(printed.contains(title), qPrintable(printed));
    } else {
        QCOMPARE(pdfPageCount(file), pages);
        QVERIFY(pdfLayoutText(file).contains(title));
        QCOMPARE(pdfImageCount(file) > 0, declaration && output == PrintOutput::Form);
    }
    // The declaration still records its export data.
    QCOMPARE(m_db->scalar("select EXTNOF from DIP where EXTINT = ? limit 1", {interno}).toString(),
             declaration ? QStringLiteral("25/001/EC01/000123/K") : QString());

    // The operator's settings are as they were, to the byte.
    QCOMPARE(settingsText(), settingsBefore);
    QCOMPARE(settingsBytes(), bytesBefore);
    // The printing environment variables were neither followed nor changed.
    QVERIFY(!QFile::exists(m_variablePdf));
    QVERIFY(!QFile::exists(m_variableText));
    QCOMPARE(qEnvironmentVariable("OQUIVRAN_PDF_OUTPUT"), m_variablePdf);
    QCOMPARE(qEnvironmentVariable("OQUIVRAN_TEXT_OUTPUT"), m_variableText);
}

void tst_PrintJob::screenF11SavesSettings_data()
{
    QTest::addColumn<QString>("report");
    // F11 validates, and so saves, for the declaration only.
    QTest::addColumn<bool>("saves");
    QTest::newRow("declaration") << "opDESINS" << true;
    QTest::newRow("control") << "opIMPINT" << false;
    QTest::newRow("comparative") << "opDESINSReal" << false;
}

void tst_PrintJob::screenF11SavesSettings()
{
    QFETCH(QString, report);
    QFETCH(bool, saves);
    RecordingTextService service;
    const QStringList settingsBefore = settingsText();
    frmImpresion screen;
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    control<QRadioButton>(screen, report.toLatin1().constData())->setChecked(true);
    control<QRadioButton>(screen, "opMODDOS")->setChecked(true);
    control<QLineEdit>(screen, "txtOficializacion")->setText(QStringLiteral("05/03/2027"));
    control<QLineEdit>(screen, "txtAAT")->setText(QStringLiteral("27001EC01000123K"));
    control<QLineEdit>(screen, "txtIMPTAM")->setText(QStringLiteral("8"));
    control<QLineEdit>(screen, "txtPAGLIN")->setText(QStringLiteral("60"));
    control<QLineEdit>(screen, "txtMargen")->setText(QStringLiteral("12"));
    QTest::keyClick(control<QLineEdit>(screen, "txtFACTU"), Qt::Key_F11);
    QVERIFY2(m_messages->messages.isEmpty(), qPrintable(m_messages->lastPrompt()));
    QVERIFY(!service.pages.isEmpty());

    const QSettings store = Settings::store();
    if (saves) {
        QCOMPARE(store.value(QStringLiteral("IMPRESION/IMPTAM")).toString(), QStringLiteral("8"));
        QCOMPARE(store.value(QStringLiteral("IMPRESION/PAGLIN")).toString(), QStringLiteral("60"));
        QCOMPARE(store.value(QStringLiteral("IMPRESION/MARGEN")).toString(), QStringLiteral("12"));
    } else {
        QCOMPARE(settingsText(), settingsBefore);
    }
}

QTEST_MAIN(tst_PrintJob)
#include "tst_PrintJob.moc"
