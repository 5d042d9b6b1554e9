#pragma once

#include "ReportLine.h"

#include <QFont>
#include <QList>
#include <QString>
#include <QtGlobal>

#include <functional>

class QPainter;
class QPrinter;

namespace oquivran {

// How a report is put on paper.
enum class PrintMethod : qint16 {
    Text = 1,  // text mode ("MODO DOS"): pages handed to the text-mode print service
    Plain = 2, // the printer alone ("Solo Caida")
    Form = 3,  // over the scanned form image ("Impresion con formulario y caida")
};

// Page orientation as the listings ask for it.
enum class PageOrientation : qint16 {
    Unchanged = 0, // the printer's own (the declaration)
    Portrait = 1,
    Landscape = 2,
};

// Whether page 1 opens with the declaration's two titles.
enum class PageTitles {
    None,
    Declaration,
};

// The arguments of a print: printer name, font size, lines per page, method (1 to 3), left
// margin in millimetres and orientation.
struct PageSettings
{
    QString printerName;
    qint16 fontSize = 10;
    qint16 linesPerPage = 75;
    qint16 method = qint16(PrintMethod::Plain);
    qint16 margin = 15;
    PageOrientation orientation = PageOrientation::Unchanged;
};

// The print options screen's values that the form method prints in the form's header.
struct FormHeader
{
    QString sheet; // "1" to "5": the form image adj<sheet>.kbx
    QString officialDate;
    QString officialNumber;
};

// The page output: puts the report line buffer on paper page by page, by the text-mode print
// service or on a printer (plain or over the form image). An output file, when set, takes the
// pages instead: a PDF file for the printer methods, the pages' text, each followed by a form
// feed, for text mode. Without one, when the environment variable OQUIVRAN_PDF_OUTPUT names a
// file, the printer methods write that PDF file instead of printing. Coordinates are millimetres;
// the font is "Courier New" (another fixed-pitch family when it is missing), bold for lines of kind
// "T".
class PageOutput
{
public:
    using Progress = std::function<void(const QString&)>;

    // progress receives "Generando impresión...." and "Imprimiendo hoja N de M".
    PageOutput(const PageSettings& settings, PageTitles titles, const FormHeader& header,
               Progress progress);

    // Sets the file written instead of printing, which the print replaces: a PDF file for the
    // printer methods, a text file for text mode (the text-mode print service is not used).
    // Empty, the default: the printer, or the file the printing environment variables name.
    void setOutputFile(const QString& fileName);

    // Prints the report line buffer. Throws RuntimeError (a missing form image, a printer that
    // cannot start, a text-mode page refused or not written to the output file: "Error en
    // metodo de impresion DOS").
    void print() const;

    // The pages the buffer makes: each page's lines, the declaration's titles included, and
    // in pageCount the number of pages the progress texts announce. Throws RuntimeError 11
    // with 0 lines per page.
    static QList<QList<ReportLine>> paginate(const QList<ReportLine>& buffer, qint16 linesPerPage,
                                             PageTitles titles, int& pageCount);
    // The form image file of a sheet: "adj" + sheet + ".kbx" in the folder.
    static QString formImagePath(const QString& folder, const QString& sheet);
    // The environment variable naming the PDF file that replaces the printer.
    static const char* pdfOutputVariable();
    // The progress text of a page.
    static QString pageProgress(int page, int pageCount);
    // The printing font at a point size: "Courier New" or another fixed-pitch family, bold.
    // Throws RuntimeError 380 for a size of 0 or less.
    static QFont printerFont(qint16 size);

private:
    void printText(const QList<QList<ReportLine>>& pages, int pageCount) const;
    void printOnPrinter(const QList<QList<ReportLine>>& pages, int pageCount) const;
    void preparePrinter(QPrinter& printer) const;
    // Paints the form image and the header fields; returns where the lines continue (pixels).
    double paintForm(QPainter& painter, QPrinter& printer, int page, int pageCount) const;

    PageSettings m_settings;
    PageTitles m_titles;
    FormHeader m_header;
    Progress m_progress;
    QString m_outputFile;
};

} // namespace oquivran
