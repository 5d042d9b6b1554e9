#include "PageOutput.h"

#include "Alinear.h"
#include "DefaultTextPrintService.h"
#include "ModuleState.h"
#include "ReportBuffer.h"
#include "TextPrintServices.h"

#include <oquivran/RuntimeError.h>

#include <QFile>
#include <QFont>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>

namespace oquivran {

namespace {

// Page 1 of the declaration: its line counter starts here, after the titles.
constexpr int declarationFirstLine = 5;

// Margins of the printable area of a PDF written instead of printing, in millimetres.
constexpr double pdfMargin = 5;

// The header fields of the form, in millimetres.
constexpr double subRegimenX = 54, subRegimenY = 2;
constexpr double customsX = 41, officialDateX = 90, officialNumberX = 125, pagesX = 174;
constexpr double secondRowY = 9;

ReportLine emptyLine()
{
    return {ReportBuffer::kindText(LineKind::Detail), QString()};
}

// Two empty lines, the two titles (each ending at its own column), then empty lines.
QList<ReportLine> declarationTitles()
{
    const QString title = ReportBuffer::kindText(LineKind::Title);
    return {
        emptyLine(),
        emptyLine(),
        {title, Alinear(QStringLiteral("DECLARACION JURADA DE DESCARGA DE IMPORTACION TEMPORAL"),
                        Alignment::Right, 91)},
        emptyLine(),
        {title, Alinear(QStringLiteral("DETALLE DE LA DESCARGA (Res. AFIP 128/98)"),
                        Alignment::Right, 85)},
        emptyLine(),
        emptyLine()};
}

// The family the reports print in: "Courier New". Where the system has none and does not put
// another fixed-pitch family in its place itself (fontconfig does; a bare list of font files,
// as Qt's offscreen platform on Windows reads, does not), the first fixed-pitch family there
// is, Liberation Mono before the others for its Courier New metrics, so columns still line up.
QString reportFamily()
{
    static const QString family = [] {
        const QString courier = QStringLiteral("Courier New");
        QFont font(courier);
        font.setStyleHint(QFont::TypeWriter);
        font.setFixedPitch(true);
        if (QFontInfo(font).fixedPitch())
            return courier;
        const QString liberation = QStringLiteral("Liberation Mono");
        if (QFontDatabase::hasFamily(liberation))
            return liberation;
        const QFontInfo fixed(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        if (fixed.fixedPitch())
            return fixed.family();
        const QStringList families = QFontDatabase::families();
        for (const QString& candidate : families) {
            if (QFontDatabase::isFixedPitch(candidate))
                return candidate;
        }
        return courier;
    }();
    return family;
}

} // namespace

QFont PageOutput::printerFont(qint16 size)
{
    if (size <= 0)
        throw RuntimeError(380, QStringLiteral("Invalid property value"));
    QFont font(reportFamily());
    font.setStyleHint(QFont::TypeWriter);
    font.setFixedPitch(true);
    font.setPointSize(size);
    font.setBold(true);
    return font;
}

PageOutput::PageOutput(const PageSettings& settings, PageTitles titles, const FormHeader& header,
                       Progress progress)
    : m_settings(settings), m_titles(titles), m_header(header), m_progress(std::move(progress))
{
}

void PageOutput::setOutputFile(const QString& fileName)
{
    m_outputFile = fileName;
}

const char* PageOutput::pdfOutputVariable()
{
    return "OQUIVRAN_PDF_OUTPUT";
}

QString PageOutput::pageProgress(int page, int pageCount)
{
    return QStringLiteral("Imprimiendo hoja ") + QString::number(page) + QStringLiteral(" de ") +
           QString::number(pageCount);
}

QString PageOutput::formImagePath(const QString& folder, const QString& sheet)
{
    QString path = folder;
    if (!path.isEmpty() && !path.endsWith(u'/') && !path.endsWith(u'\\'))
        path += u'/';
    return path + QStringLiteral("adj") + sheet + QStringLiteral(".kbx");
}

QList<QList<ReportLine>> PageOutput::paginate(const QList<ReportLine>& buffer, qint16 linesPerPage,
                                              PageTitles titles, int& pageCount)
{
    if (linesPerPage == 0)
        throw RuntimeError(11, QStringLiteral("Division by zero"));
    // An emptied buffer still holds its one empty element.
    const int lines = qMax(int(buffer.size()), 1);
    pageCount = lines / linesPerPage + (lines % linesPerPage != 0 ? 1 : 0);

    QList<QList<ReportLine>> pages;
    int next = 0;
    while (next < lines) {
        QList<ReportLine> page;
        int counter = 1;
        if (pages.isEmpty() && titles == PageTitles::Declaration) {
            page = declarationTitles();
            counter = declarationFirstLine;
        }
        // Every page takes at least one line, so the walk always ends.
        do {
            page.append(next < buffer.size() ? buffer.at(next) : emptyLine());
            ++next;
            ++counter;
        } while (counter <= linesPerPage && next < lines);
        pages.append(page);
    }
    return pages;
}

void PageOutput::print() const
{
    m_progress(QStringLiteral("Generando impresión...."));
    int pageCount = 0;
    const QList<QList<ReportLine>> pages =
        paginate(moduleState().reportLines, m_settings.linesPerPage, m_titles, pageCount);
    if (m_settings.method == qint16(PrintMethod::Text))
        printText(pages, pageCount);
    else
        printOnPrinter(pages, pageCount);
}

void PageOutput::printText(const QList<QList<ReportLine>>& pages, int pageCount) const
{
    // An output file takes the pages in place of the text-mode service, from its start.
    if (!m_outputFile.isEmpty())
        QFile::remove(m_outputFile);
    TextPrintService& service = TextPrintServices::current();
    for (int page = 0; page < pages.size(); ++page) {
        m_progress(pageProgress(page + 1, pageCount));
        QString text;
        for (const ReportLine& line : pages.at(page))
            text += line.text + QStringLiteral("\r\n");
        const bool printed = m_outputFile.isEmpty()
                                 ? service.ImprimirDOS(text, m_settings.printerName)
                                 : DefaultTextPrintService::appendPage(m_outputFile, text);
        if (!printed)
            throw RuntimeError::userDefined(QStringLiteral("Error en metodo de impresion DOS"),
                                            QStringLiteral("[go_Ut.ImprimirDOS]"));
    }
}

void PageOutput::preparePrinter(QPrinter& printer) const
{
    const QString pdfFile =
        m_outputFile.isEmpty() ? qEnvironmentVariable(pdfOutputVariable()) : m_outputFile;
    if (!pdfFile.isEmpty()) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdfFile);
        printer.setPageSize(QPageSize(QPageSize::A4));
        printer.setPageMargins(QMarginsF(pdfMargin, pdfMargin, pdfMargin, pdfMargin),
                               QPageLayout::Millimeter);
    } else if (!m_settings.printerName.isEmpty() &&
               QPrinterInfo::availablePrinterNames().contains(m_settings.printerName)) {
        // An unknown name leaves the default printer.
        printer.setPrinterName(m_settings.printerName);
    }
    if (m_settings.orientation == PageOrientation::Portrait)
        printer.setPageOrientation(QPageLayout::Portrait);
    else if (m_settings.orientation == PageOrientation::Landscape)
        printer.setPageOrientation(QPageLayout::Landscape);
    printer.setDocName(QStringLiteral("oQUIVRAN"));
}

void PageOutput::printOnPrinter(const QList<QList<ReportLine>>& pages, int pageCount) const
{
    QFont font = printerFont(m_settings.fontSize);
    QPrinter printer(QPrinter::HighResolution);
    preparePrinter(printer);
    QPainter painter;
    if (!painter.begin(&printer))
        throw RuntimeError(482, QStringLiteral("Printer error"));

    const double dotsPerMm = printer.resolution() / 25.4;
    const double left = m_settings.margin * dotsPerMm;
    for (int page = 0; page < pages.size(); ++page) {
        if (page > 0)
            printer.newPage();
        m_progress(pageProgress(page + 1, pageCount));
        painter.setFont(font);
        double y = 0;
        if (m_settings.method == qint16(PrintMethod::Form))
            y = paintForm(painter, printer, page + 1, pageCount);
        for (const ReportLine& line : pages.at(page)) {
            font.setBold(line.kind == ReportBuffer::kindText(LineKind::Title));
            painter.setFont(font);
            const QFontMetricsF metrics(font, &printer);
            painter.drawText(QPointF(left, y + metrics.ascent()), line.text);
            y += metrics.lineSpacing();
        }
    }
    painter.end();
}

double PageOutput::paintForm(QPainter& painter, QPrinter& printer, int page, int pageCount) const
{
    const QString path = formImagePath(moduleState().Dir_Formularios, m_header.sheet);
    if (!QFile::exists(path))
        throw RuntimeError(53, QStringLiteral("File not found: ") + path);
    // The format is read from the content: the form files keep their own extension.
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    const QImage image = reader.read();
    if (image.isNull())
        throw RuntimeError(481, QStringLiteral("Invalid picture: ") + path);
    painter.drawImage(QRectF(QPointF(0, 0), printer.pageRect(QPrinter::DevicePixel).size()), image);

    const ModuleState& state = moduleState();
    const double dotsPerMm = printer.resolution() / 25.4;
    const QFontMetricsF metrics(painter.font(), &printer);
    auto place = [&](double x, double y, const QString& text) {
        painter.drawText(QPointF(x * dotsPerMm, y * dotsPerMm + metrics.ascent()), text);
    };
    place(subRegimenX, subRegimenY, state.SubRegimen);
    place(customsX, secondRowY, state.Aduana);
    place(officialDateX, secondRowY, m_header.officialDate);
    place(officialNumberX, secondRowY, m_header.officialNumber);
    place(pagesX, secondRowY,
          QString::number(page) + QStringLiteral(" de ") + QString::number(pageCount));
    // The lines go on below the last field, as after printing it.
    return secondRowY * dotsPerMm + metrics.lineSpacing();
}

} // namespace oquivran
