#include "FontFit.h"

#include <oquivran/Printing.h>

#include <QFont>
#include <QFontMetricsF>
#include <QMarginsF>
#include <QPageSize>
#include <QPrinter>
#include <QRegularExpression>
#include <QStringList>

namespace {

// The page margins of the PDF the component writes instead of printing, in millimetres.
constexpr double pdfMargin = 5;

} // namespace

QString FontFit::longestLine(const QString& pages)
{
    QString longest;
    for (QString line : pages.split(QRegularExpression(QStringLiteral("\r\n|\n|\f")))) {
        while (line.endsWith(u' '))
            line.chop(1);
        if (line.size() > longest.size())
            longest = line;
    }
    return longest;
}

bool FontFit::fits(const QString& line, QPageLayout::Orientation orientation, double marginMm,
                   int size)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setPageMargins(QMarginsF(pdfMargin, pdfMargin, pdfMargin, pdfMargin),
                           QPageLayout::Millimeter);
    printer.setPageOrientation(orientation);
    const int resolution = printer.resolution();
    const double width = printer.pageLayout().paintRectPixels(resolution).width();
    const QFontMetricsF metrics(oquivran::reportFont(qint16(size)), &printer);
    return marginMm * resolution / 25.4 + metrics.horizontalAdvance(line) <= width;
}

int FontFit::largestFitting(const QString& line, QPageLayout::Orientation orientation,
                            double marginMm, int largest, int smallest)
{
    for (int size = largest; size > smallest; --size) {
        if (fits(line, orientation, marginMm, size))
            return size;
    }
    return smallest;
}
