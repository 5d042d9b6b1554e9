#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "PdfText.h"
#include "PrintingData.h"
#include "RecordingTextService.h"

#include "Alinear.h"
#include "ComparativeReport.h"
#include "ControlReport.h"
#include "DeclarationReport.h"
#include "ModuleState.h"
#include "PageOutput.h"
#include "ReportGenerator.h"

#include <oquivran/RuntimeError.h>

#include <QFont>
#include <QFontInfo>
#include <QImage>
#include <QtTest>

#include <memory>

using namespace oquivran;

namespace {

const QString title = QStringLiteral("DECLARACION JURADA DE DESCARGA DE IMPORTACION TEMPORAL");
const QString subtitle = QStringLiteral("DETALLE DE LA DESCARGA (Res. AFIP 128/98)");

void fillBuffer(int lines)
{
    QList<ReportLine>& buffer = moduleState().reportLines;
    buffer.clear();
    for (int i = 1; i <= lines; ++i)
        buffer.append(
            {i % 2 ? QStringLiteral("T") : QStringLiteral(" "), QStringLiteral("line %1").arg(i)});
}

// Runs a print and returns the progress texts it showed.
QStringList printWith(const PageSettings& settings, PageTitles titles,
                      const FormHeader& header = {})
{
    QStringList progress;
    PageOutput(settings, titles, header, [&](const QString& text) {
        progress.append(text);
    }).print();
    return progress;
}

PageSettings textMode(qint16 linesPerPage = 75)
{
    return {QStringLiteral("LPT1"),    10, linesPerPage,
            qint16(PrintMethod::Text), 15, PageOrientation::Unchanged};
}

// The line of a text holding needle, and the column where needle starts in it; -1 if none.
int columnOf(const QStringList& lines, const QString& needle, QString* line = nullptr)
{
    for (const QString& candidate : lines) {
        const int column = candidate.indexOf(needle);
        if (column >= 0) {
            if (line)
                *line = candidate;
            return column;
        }
    }
    return -1;
}

} // namespace

class tst_PageOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void pagination_data();
    void pagination();
    void declarationTitlesOnFirstPage();
    void zeroLinesPerPageIsAnError();
    void progressTexts_data();
    void progressTexts();
    void textModePages();
    void refusedTextPageIsAnError();
    void formImagePath_data();
    void formImagePath();
    void formImageOfSheetThree();
    void missingFormImageIsAnError();
    void fixedPitchFont();
    void pdfOfEachReport_data();
    void pdfOfEachReport();
    void pdfPagesAndBreaks();

private:
    std::unique_ptr<MessageRecorder> m_messages;
};

void tst_PageOutput::init()
{
    resetModuleState();
    m_messages = std::make_unique<MessageRecorder>();
}

void tst_PageOutput::pagination_data()
{
    QTest::addColumn<int>("lines");
    QTest::addColumn<int>("linesPerPage");
    QTest::addColumn<int>("pageCount");
    QTest::addColumn<QList<int>>("pageSizes");
    QTest::newRow("150 at 75") << 150 << 75 << 2 << QList<int>{75, 75};
    QTest::newRow("151 at 75") << 151 << 75 << 3 << QList<int>{75, 75, 1};
    QTest::newRow("74 at 75") << 74 << 75 << 1 << QList<int>{74};
    QTest::newRow("empty buffer prints one empty line") << 0 << 75 << 1 << QList<int>{1};
    QTest::newRow("one per page") << 3 << 1 << 3 << QList<int>{1, 1, 1};
}

void tst_PageOutput::pagination()
{
    QFETCH(int, lines);
    QFETCH(int, linesPerPage);
    QFETCH(int, pageCount);
    QFETCH(QList<int>, pageSizes);
    fillBuffer(lines);
    int count = 0;
    const auto pages = PageOutput::paginate(moduleState().reportLines, qint16(linesPerPage),
                                            PageTitles::None, count);
    QCOMPARE(count, pageCount);
    QList<int> sizes;
    for (const auto& page : pages)
        sizes.append(int(page.size()));
    QCOMPARE(sizes, pageSizes);
    if (lines > 0)
        QCOMPARE(pages.last().last().text, QStringLiteral("line %1").arg(lines));
}

void tst_PageOutput::declarationTitlesOnFirstPage()
{
    fillBuffer(150);
    int count = 0;
    const auto pages =
        PageOutput::paginate(moduleState().reportLines, 75, PageTitles::Declaration, count);
    QCOMPARE(count, 2);
    // Page 1: the titles, then its counter starts at 5: 71 lines; page 2 takes 75; 4 remain.
    QCOMPARE(pages.size(), 3);
    const auto& first = pages.first();
    QCOMPARE(first.at(0).text, QString());
    QCOMPARE(first.at(1).text, QString());
    QCOMPARE(first.at(2).text, Alinear(title, Alignment::Right, 91));
    QCOMPARE(first.at(2).text.size(), 91);
    QVERIFY(first.at(2).text.endsWith(title));
    QCOMPARE(first.at(3).text, QString());
    QCOMPARE(first.at(4).text, Alinear(subtitle, Alignment::Right, 85));
    QCOMPARE(first.at(7).text, QStringLiteral("line 1"));
    QCOMPARE(first.size(), 7 + 71);
    QCOMPARE(pages.at(1).size(), 75);
    QCOMPARE(pages.at(2).size(), 4);
    // Later pages carry no titles.
    QCOMPARE(pages.at(1).first().text, QStringLiteral("line 72"));
}

void tst_PageOutput::zeroLinesPerPageIsAnError()
{
    fillBuffer(3);
    try {
        printWith(textMode(0), PageTitles::None);
        QFAIL("no error");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, 11);
    }
}

void tst_PageOutput::progressTexts_data()
{
    QTest::addColumn<int>("lines");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("150") << 150
                         << QStringList{"Generando impresión....", "Imprimiendo hoja 1 de 2",
                                        "Imprimiendo hoja 2 de 2"};
    QTest::newRow("151") << 151
                         << QStringList{"Generando impresión....", "Imprimiendo hoja 1 de 3",
                                        "Imprimiendo hoja 2 de 3", "Imprimiendo hoja 3 de 3"};
}

void tst_PageOutput::progressTexts()
{
    QFETCH(int, lines);
    QFETCH(QStringList, expected);
    fillBuffer(lines);
    RecordingTextService service;
    QCOMPARE(printWith(textMode(), PageTitles::None), expected);
    QCOMPARE(service.pages.size(), expected.size() - 1);
}

void tst_PageOutput::textModePages()
{
    fillBuffer(3);
    RecordingTextService service;
    printWith(textMode(2), PageTitles::None);
    // Kinds play no part in text mode; each line ends in CR LF.
    QCOMPARE(service.pages, (QList<QString>{"line 1\r\nline 2\r\n", "line 3\r\n"}));
    QCOMPARE(service.printers, (QList<QString>{"LPT1", "LPT1"}));

    service.pages.clear();
    printWith(textMode(), PageTitles::Declaration);
    QCOMPARE(service.pages.size(), 1);
    QVERIFY(service.pages.first().startsWith(
        QStringLiteral("\r\n\r\n") + Alinear(title, Alignment::Right, 91) +
        QStringLiteral("\r\n\r\n") + Alinear(subtitle, Alignment::Right, 85) +
        QStringLiteral("\r\n\r\n\r\nline 1\r\n")));
}

void tst_PageOutput::refusedTextPageIsAnError()
{
    fillBuffer(100);
    RecordingTextService service;
    service.result = false;
    try {
        printWith(textMode(), PageTitles::None);
        QFAIL("no error");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, qint32(UserDefinedError));
        QCOMPARE(error.description, QStringLiteral("Error en metodo de impresion DOS"));
        QCOMPARE(error.source, QStringLiteral("[go_Ut.ImprimirDOS]"));
    }
    // The first refused page stops the print.
    QCOMPARE(service.pages.size(), 1);
}

void tst_PageOutput::formImagePath_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("sheet");
    QTest::addColumn<QString>("expected");
    QTest::newRow("sheet 1") << "/forms/"
                             << "1"
                             << "/forms/adj1.kbx";
    QTest::newRow("sheet 3") << "/forms/"
                             << "3"
                             << "/forms/adj3.kbx";
    QTest::newRow("folder without separator") << "/forms"
                                              << "3"
                                              << "/forms/adj3.kbx";
    QTest::newRow("windows folder") << "C:\\forms\\"
                                    << "5"
                                    << "C:\\forms\\adj5.kbx";
}

void tst_PageOutput::formImagePath()
{
    QFETCH(QString, folder);
    QFETCH(QString, sheet);
    QFETCH(QString, expected);
    QCOMPARE(PageOutput::formImagePath(folder, sheet), expected);
}

void tst_PageOutput::formImageOfSheetThree()
{
    QTemporaryDir forms;
    // A PNG under the form's own extension: the format is read from the content.
    QImage image(210, 297, QImage::Format_RGB32);
    image.fill(QColor(230, 240, 255));
    QVERIFY(image.save(forms.filePath(QStringLiteral("adj3.kbx")), "PNG"));
    moduleState().Dir_Formularios = forms.path() + u'/';
    moduleState().SubRegimen = QStringLiteral("EC01");
    moduleState().Aduana = QStringLiteral("001");
    fillBuffer(100);
    PdfOutput pdf(QStringLiteral("pdf"), QStringLiteral("form-sheet3"));
    const QStringList progress = printWith(
        {QString(), 8, 75, qint16(PrintMethod::Form), 15, PageOrientation::Unchanged},
        PageTitles::None,
        {QStringLiteral("3"), QStringLiteral("05/03/2027"), QStringLiteral("27001EC01000123K")});
    QCOMPARE(progress.size(), 3);
    QCOMPARE(pdfPageCount(pdf.file), 2);
    QCOMPARE(pdfImageCount(pdf.file), 2);
    const QString text = pdfLayoutText(pdf.file);
    QVERIFY(text.contains(QStringLiteral("EC01")));
    QVERIFY(text.contains(QStringLiteral("27001EC01000123K")));
    QVERIFY(text.contains(QStringLiteral("05/03/2027")));
    QVERIFY(text.contains(QStringLiteral("1 de 2")));
    QVERIFY(text.contains(QStringLiteral("2 de 2")));
}

void tst_PageOutput::missingFormImageIsAnError()
{
    QTemporaryDir forms;
    QImage image(10, 10, QImage::Format_RGB32);
    image.fill(Qt::white);
    QVERIFY(image.save(forms.filePath(QStringLiteral("adj1.kbx")), "PNG"));
    moduleState().Dir_Formularios = forms.path() + u'/';
    fillBuffer(10);
    PdfOutput pdf(QStringLiteral("pdf"), QStringLiteral("form-missing"));
    try {
        printWith({QString(), 8, 75, qint16(PrintMethod::Form), 15, PageOrientation::Unchanged},
                  PageTitles::None, {QStringLiteral("3"), QString(), QString()});
        QFAIL("no error");
    } catch (const RuntimeError& error) {
        QCOMPARE(error.number, 53);
        QVERIFY(error.description.endsWith(forms.path() + QStringLiteral("/adj3.kbx")));
    }
}

void tst_PageOutput::fixedPitchFont()
{
    const QFont font = PageOutput::printerFont(10);
    QVERIFY2(QFontInfo(font).fixedPitch(), qPrintable(QFontInfo(font).family()));
}

void tst_PageOutput::pdfOfEachReport_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("fontSize");
    QTest::addColumn<int>("orientation");
    QTest::newRow("declaration") << "declaration" << 6 << 0;
    QTest::newRow("control") << "control" << 7 << 2;
    QTest::newRow("comparative") << "comparative" << 7 << 1;
}

void tst_PageOutput::pdfOfEachReport()
{
    QFETCH(QString, name);
    QFETCH(int, fontSize);
    QFETCH(int, orientation);
    DischargeFixture db;
    printingdata::seed(db);
    printingdata::printingFormats(QStringLiteral("N"));
    std::unique_ptr<ReportKind> kind;
    if (name == u"declaration")
        kind = std::make_unique<DeclarationReport>();
    else if (name == u"control")
        kind = std::make_unique<ControlReport>();
    else
        kind = std::make_unique<ComparativeReport>();
    QVERIFY(ReportGenerator(*kind).GenerarOM());

    PdfOutput pdf(QStringLiteral("pdf"), name);
    printWith({QString(), qint16(fontSize), 75, qint16(PrintMethod::Plain), 10,
               PageOrientation(orientation)},
              name == u"declaration" ? PageTitles::Declaration : PageTitles::None);
    const QString size = pdfPageSize(pdf.file);
    QVERIFY2(size.contains(QStringLiteral("(A4)")), qPrintable(size));
    const QStringList dimensions = size.split(u' ');
    const bool landscape = dimensions.at(0).toDouble() > dimensions.at(2).toDouble();
    QCOMPARE(landscape, orientation == 2);

    const QStringList lines = pdfLayoutText(pdf.file).split(u'\n');
    QVERIFY(lines.size() > 20);
    // Columns are counted from where the detail lines start (the margin).
    QString detail;
    const QString longDeclaration = printingdata::longDeclaration.left(16);
    const int base = columnOf(lines, longDeclaration, &detail);
    QVERIFY2(base >= 0, qPrintable(lines.join(u'\n')));
    const QList<ReportLine>& buffer = moduleState().reportLines;
    QString expected;
    for (const ReportLine& line : buffer) {
        if (line.text.startsWith(longDeclaration)) {
            expected = line.text;
            break;
        }
    }
    QCOMPARE(detail.mid(base).trimmed(), expected.trimmed());
    if (name == u"declaration") {
        // The first title ends at column 91, the second at 85.
        QCOMPARE(columnOf(lines, title) + title.size() - base, 91);
        QCOMPARE(columnOf(lines, subtitle) + subtitle.size() - base, 85);
        QCOMPARE(columnOf(lines, QStringLiteral("Vencimient")) - base, 33);
        QCOMPARE(columnOf(lines, QStringLiteral("Declaramos bajo juramento")) - base, 0);
    }
}

void tst_PageOutput::pdfPagesAndBreaks()
{
    fillBuffer(151);
    PdfOutput pdf(QStringLiteral("pdf"), QStringLiteral("pages"));
    const QStringList progress =
        printWith({QString(), 8, 75, qint16(PrintMethod::Plain), 15, PageOrientation::Portrait},
                  PageTitles::None);
    QCOMPARE(progress.last(), QStringLiteral("Imprimiendo hoja 3 de 3"));
    QCOMPARE(pdfPageCount(pdf.file), 3);
    const QStringList pages = pdfLayoutText(pdf.file).split(u'\f');
    QVERIFY(pages.at(0).contains(QStringLiteral("line 75")));
    QVERIFY(!pages.at(0).contains(QStringLiteral("line 76")));
    QVERIFY(pages.at(2).contains(QStringLiteral("line 151")));
}

QTEST_MAIN(tst_PageOutput)
#include "tst_PageOutput.moc"
