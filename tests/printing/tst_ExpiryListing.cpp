#include "DischargeFixture.h"
#include "ExpiryData.h"
#include "LocaleText.h"
#include "MessageRecorder.h"
#include "PdfText.h"
#include "PrintingData.h"

#include "ExpiryListing.h"
#include "LocaleRules.h"
#include "ModuleState.h"
#include "Settings.h"

#include <oquivran/Expiry.h>
#include <oquivran/Printing.h>

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace oquivran;
using namespace printingdata;

// The expiry listing: its lines in the report line buffer, compared with an expected file,
// and its print through the page output in text mode and to PDF.
class tst_ExpiryListing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void wholeListing_data();
    void wholeListing();
    void linesFitTheLayout();
    void expiredLinesAreMarked();
    void emptyListing();
    void failedCheckLeavesEmptyBuffer();
    void textModePages();
    void pdfInLandscape();

private:
    std::unique_ptr<DischargeFixture> m_db;
    std::unique_ptr<MessageRecorder> m_messages;
};

namespace {

QString readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void setMode(const QString& opVDE)
{
    Settings::setValue(QStringLiteral("CONFIG"), QStringLiteral("opVDE"), opVDE);
}

} // namespace

void tst_ExpiryListing::init()
{
    m_messages.reset();
    m_db.reset();
    m_db = std::make_unique<DischargeFixture>();
    m_messages = std::make_unique<MessageRecorder>();
    QVERIFY(m_db->isOpen());
    expirydata::seed(*m_db);
    setMode(QStringLiteral("N"));
}

void tst_ExpiryListing::wholeListing_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("expected");
    QTest::newRow("normal") << "N"
                            << "expiry_normal.txt";
    QTest::newRow("extended") << "S"
                              << "expiry_extended.txt";
}

void tst_ExpiryListing::wholeListing()
{
    QFETCH(QString, mode);
    QFETCH(QString, expected);
    setMode(mode);
    QVERIFY(ExpiryListing::GenerarVencimientos(expirydata::asOf(), expirydata::horizon()));
    QVERIFY(m_messages->messages.isEmpty());
    compareBufferWithExpected(expected);
}

void tst_ExpiryListing::linesFitTheLayout()
{
    QVERIFY(ExpiryListing::GenerarVencimientos(expirydata::asOf(), expirydata::horizon()));
    const int width = int(ExpiryListing::layout().titleLine().size());
    for (const ReportLine& line : moduleState().reportLines)
        QVERIFY2(line.text.size() <= width, qPrintable(line.text));
    // Titles, rules and subtotals are bold; detail lines are not.
    const QList<ReportLine>& lines = moduleState().reportLines;
    QCOMPARE(lines.first().kind, QStringLiteral("T"));
    QCOMPARE(lines.first().text,
             QStringLiteral("VENCIMIENTOS DE IMPORTACION TEMPORAL AL 10/03/2027 - HORIZONTE: 30 "
                            "DIAS"));
    int details = 0;
    for (const ReportLine& line : lines)
        details += line.kind == u" " && line.text.startsWith(QStringLiteral("24001IT")) ? 1 : 0;
    QCOMPARE(details, 7);
}

void tst_ExpiryListing::expiredLinesAreMarked()
{
    QVERIFY(ExpiryListing::GenerarVencimientos(expirydata::asOf(), expirydata::horizon()));
    QStringList marks;
    for (const ReportLine& line : moduleState().reportLines) {
        if (line.kind == u" " && line.text.startsWith(QStringLiteral("24001IT")))
            marks << QString(line.text.left(16) + u' ' + line.text.right(8)).trimmed();
    }
    const QStringList expected = {"24001IT04000100A VENCIDA", "24001IT04000100A VENCIDA",
                                  "24001IT04000200B VENCIDA", "24001IT04000200B VENCIDA",
                                  "24001IT04000300C",         "24001IT04000400D",
                                  "24001IT04000700G SIN VTO."};
    QCOMPARE(marks, expected);
}

void tst_ExpiryListing::emptyListing()
{
    DischargeFixture::run(m_db->discharge(), "delete from INS");
    QVERIFY(ExpiryListing::GenerarVencimientos(expirydata::asOf(), expirydata::horizon()));
    QStringList texts;
    for (const ReportLine& line : moduleState().reportLines)
        texts << line.text.trimmed();
    QVERIFY(texts.contains(QStringLiteral("No hay declaraciones vencidas ni por vencer.")));
    QVERIFY(texts.contains(QStringLiteral("Lineas vencidas: 0 - por vencer: 0 - sin "
                                          "vencimiento: 0")));
}

void tst_ExpiryListing::failedCheckLeavesEmptyBuffer()
{
    QVERIFY(ExpiryListing::GenerarVencimientos(expirydata::asOf(), expirydata::horizon()));
    QVERIFY(!ExpiryListing::GenerarVencimientos(expirydata::asOf(), -3));
    QVERIFY(moduleState().reportLines.isEmpty());
    QCOMPARE(m_messages->messages.size(), 1);
}

void tst_ExpiryListing::textModePages()
{
    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("pages.txt"));
    qputenv("OQUIVRAN_TEXT_OUTPUT", out.toLocal8Bit());
    PrintRequest request;
    request.output = PrintOutput::Text;
    request.linesPerPage = 20;
    QStringList progress;
    request.progress = [&](const QString& text) {
        progress << text;
    };
    const bool printed = printExpiryListing(expirydata::asOf(), expirydata::horizon(), request);
    qunsetenv("OQUIVRAN_TEXT_OUTPUT");
    QVERIFY2(printed, qPrintable(m_messages->lastPrompt()));
    // The pages hold the buffer's lines, in order, 20 to a page.
    const int lines = int(moduleState().reportLines.size());
    QVERIFY(lines > 20);
    QString expected;
    for (int i = 0; i < lines; ++i) {
        expected += moduleState().reportLines.at(i).text + QStringLiteral("\r\n");
        if ((i + 1) % 20 == 0 || i + 1 == lines)
            expected += u'\f';
    }
    QCOMPARE(readAll(out), expected);
    QVERIFY(progress.contains(QStringLiteral("Imprimiendo hoja 2 de 2")));
}

void tst_ExpiryListing::pdfInLandscape()
{
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("vencimientos.pdf"));
    qputenv("OQUIVRAN_PDF_OUTPUT", pdf.toLocal8Bit());
    PrintRequest request;
    request.output = PrintOutput::Printer;
    request.fontSize = 8;
    const bool printed = printExpiryListing(expirydata::asOf(), expirydata::horizon(), request);
    qunsetenv("OQUIVRAN_PDF_OUTPUT");
    QVERIFY2(printed, qPrintable(m_messages->lastPrompt()));
    QCOMPARE(pdfPageCount(pdf), 1);
    // Landscape A4: wider than high.
    const QStringList size = pdfPageSize(pdf).split(u' ');
    QVERIFY2(size.size() > 3 && size.at(0).toDouble() > size.at(2).toDouble(),
             qPrintable(pdfPageSize(pdf)));
    QVERIFY(pdfPageSize(pdf).endsWith(QStringLiteral("(A4)")));
    const QString text = pdfLayoutText(pdf);
    QVERIFY2(text.contains(QStringLiteral("VENCIMIENTOS DE IMPORTACION TEMPORAL AL 10/03/2027")),
             qPrintable(text));
    // The widest line fits the page: its last column is there.
    QVERIFY(text.contains(QStringLiteral("SIN VTO.")));
    QVERIFY(text.contains(localeText("1342.32")));
}

QTEST_MAIN(tst_ExpiryListing)
#include "tst_ExpiryListing.moc"
