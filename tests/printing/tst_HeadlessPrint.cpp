#include "AuditRows.h"
#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "PdfText.h"
#include "PrintingData.h"

#include <oquivran/Printing.h>

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

using namespace oquivran;
using namespace printingdata;

// printReport: the print options screen's F11 without the screen.
class tst_HeadlessPrint : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void declarationInTextModeRecordsExportData();
    void declarationRefusesAnInvalidDate();
    void controlListingToPdf();
    void emptyFieldsKeepRecordedExportData();
    void recordingWithTheTrailIsRecorded();
};

namespace {

QString readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

PrintRequest declarationRequest()
{
    PrintRequest request;
    request.report = PrintReport::Declaration;
    request.output = PrintOutput::Text;
    request.officialNumber = QStringLiteral("25/001/EC01/000123/K");
    request.officialDate = QStringLiteral("05/03/2025");
    request.invoices = QStringLiteral("A-0001-00000045");
    return request;
}

} // namespace

void tst_HeadlessPrint::declarationInTextModeRecordsExportData()
{
    QTemporaryDir dir;
    DischargeFixture db;
    seed(db);
    MessageRecorder messages;
    const QString out = dir.filePath(QStringLiteral("pages.txt"));
    qputenv("OQUIVRAN_TEXT_OUTPUT", out.toLocal8Bit());
    QStringList progress;
    PrintRequest request = declarationRequest();
    request.progress = [&](const QString& text) {
        progress << text;
    };

    QVERIFY(printReport(request));
    qunsetenv("OQUIVRAN_TEXT_OUTPUT");
    QVERIFY2(messages.messages.isEmpty(), qPrintable(messages.lastPrompt()));
    const QString text = readAll(out);
    QVERIFY(
        text.contains(QStringLiteral("DECLARACION JURADA DE DESCARGA DE IMPORTACION TEMPORAL")));
    QVERIFY(text.contains(QStringLiteral("INS-01")));
    QVERIFY(progress.contains(QStringLiteral("Imprimiendo hoja 1 de 1")));
    QCOMPARE(db.scalar("select EXTNOF from DIP where EXTINT = 'OP-0001' limit 1").toString(),
             QStringLiteral("25/001/EC01/000123/K"));
    QCOMPARE(db.scalar("select EXTFOF from DIP where EXTINT = 'OP-0001' limit 1").toString(),
             QStringLiteral("2025-03-05"));
    QCOMPARE(db.scalar("select EXTFAC from DIP where EXTINT = 'OP-0001' limit 1").toString(),
             QStringLiteral("A-0001-00000045"));
}

void tst_HeadlessPrint::declarationRefusesAnInvalidDate()
{
    DischargeFixture db;
    seed(db);
    MessageRecorder messages;
    PrintRequest request = declarationRequest();
    request.officialDate = QStringLiteral("31/02/2025");
    QVERIFY(!printReport(request));
    QCOMPARE(messages.lastPrompt(),
             QStringLiteral("En Oficialización debe poner una Fecha Valida"));
    QCOMPARE(messages.lastStyle(), int(MessageExclamation));
    QVERIFY(db.scalar("select EXTNOF from DIP where EXTINT = 'OP-0001' limit 1").isNull());
}

void tst_HeadlessPrint::controlListingToPdf()
{
    QTemporaryDir dir;
    DischargeFixture db;
    seed(db);
    MessageRecorder messages;
    const QString pdf = dir.filePath(QStringLiteral("control.pdf"));
    qputenv("OQUIVRAN_PDF_OUTPUT", pdf.toLocal8Bit());
    PrintRequest request;
    request.report = PrintReport::ControlListing;
    request.output = PrintOutput::Form; // the listings print as Printer
    QVERIFY(printReport(request));
    qunsetenv("OQUIVRAN_PDF_OUTPUT");
    QVERIFY2(messages.messages.isEmpty(), qPrintable(messages.lastPrompt()));
    QCOMPARE(pdfPageCount(pdf), 1);
    QVERIFY(pdfLayoutText(pdf).contains(QStringLiteral("INS-04")));
    // The listings record nothing.
    QVERIFY(db.scalar("select EXTNOF from DIP where EXTINT = 'OP-0001' limit 1").isNull());
}

void tst_HeadlessPrint::emptyFieldsKeepRecordedExportData()
{
    QTemporaryDir dir;
    DischargeFixture db;
    seed(db);
    DischargeFixture::run(db.discharge(), "update DIP set EXTNOF = 'REC/1', EXTFOF = "
                                          "'2025-04-07', EXTFAC = 'F-9' where EXTINT = 'OP-0001'");
    MessageRecorder messages;
    const QString out = dir.filePath(QStringLiteral("pages.txt"));
    qputenv("OQUIVRAN_TEXT_OUTPUT", out.toLocal8Bit());
    PrintRequest request;
    request.output = PrintOutput::Text;
    QVERIFY(printReport(request));
    qunsetenv("OQUIVRAN_TEXT_OUTPUT");
    QVERIFY2(messages.messages.isEmpty(), qPrintable(messages.lastPrompt()));
    QCOMPARE(db.scalar("select EXTNOF from DIP where EXTINT = 'OP-0001' limit 1").toString(),
             QStringLiteral("REC/1"));
    QCOMPARE(db.scalar("select EXTFAC from DIP where EXTINT = 'OP-0001' limit 1").toString(),
             QStringLiteral("F-9"));
}

// With the trail on, the recording after the declaration gets a row for each line and column
// it changes, with the value recorded before and the one written.
void tst_HeadlessPrint::recordingWithTheTrailIsRecorded()
{
    QTemporaryDir dir;
    DischargeFixture db;
    seed(db);
    auditrows::create(db);
    DischargeFixture::run(db.discharge(), "update DIP set EXTNOF = 'REC/1', EXTFOF = "
                                          "'2025-04-07', EXTFAC = 'F-9' where EXTINT = 'OP-0001'");
    MessageRecorder messages;
    const QString out = dir.filePath(QStringLiteral("pages.txt"));
    qputenv("OQUIVRAN_TEXT_OUTPUT", out.toLocal8Bit());
    setAtomicWrites(true);
    QVERIFY(setAuditTrail(true, QStringLiteral("Op")));
    const bool printed = printReport(declarationRequest());
    setAuditTrail(false);
    setAtomicWrites(false);
    qunsetenv("OQUIVRAN_TEXT_OUTPUT");
    QVERIFY2(printed, qPrintable(messages.lastPrompt()));

    QSqlQuery query(db.discharge());
    QVERIFY(query.exec("select EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT, DIPCAN from DIP where "
                       "EXTINT = 'OP-0001' order by EXTSBT, ARTDCL, ARTNRO, ARTITM, ARTSBT"));
    QStringList expected;
    while (query.next()) {
        const QString quantity = QString::number(query.value(5).toDouble(), 'g', 15);
        const QString line = u"|OP-0001|" + query.value(0).toString() + u'|' +
                             query.value(1).toString() + u'|' + query.value(2).toString() + u'|' +
                             query.value(3).toString() + u'|' + query.value(4).toString() +
                             u"|Op|" + quantity + u'|' + quantity + u'|';
        expected.append(u"DIP.EXTFAC" + line + u"F-9|A-0001-00000045");
        expected.append(u"DIP.EXTFOF" + line + u"2025-04-07|2025-03-05");
        expected.append(u"DIP.EXTNOF" + line + u"REC/1|25/001/EC01/000123/K");
    }
    QVERIFY(expected.size() >= 3);
    expected.sort();
    QStringList rows = auditrows::rows(db);
    rows.sort();
    QCOMPARE(rows, expected);
}

QTEST_MAIN(tst_HeadlessPrint)
#include "tst_HeadlessPrint.moc"
