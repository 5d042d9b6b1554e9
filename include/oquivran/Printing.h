#pragma once

#include <QDate>
#include <QString>
#include <QtGlobal>

#include <functional>

class QFont;

namespace oquivran {

// The reports of the print options screen.
enum class PrintReport {
    Declaration,        // "Descarga de Insumos": the sworn declaration
    ControlListing,     // "Impresion para control interno"
    ComparativeListing, // "Listado Comparativo de insumos"
};

// How a report is put on paper, as the print options screen's methods.
enum class PrintOutput : qint16 {
    Text = 1,    // text mode ("Impresión MODO DOS"), through the text-mode print service
    Printer = 2, // "Solo Caida"
    Form = 3,    // "Impresion con formulario y caida" (the declaration only; the listings
                 // print as Printer)
};

// What to print without the screen, and where. Empty texts and zero numbers keep what the
// print options screen loads: the saved printer settings, and the export data recorded on the
// operation's discharge lines (the invoices of the host's "facturas" table when none are
// recorded). The values given are this print's alone: printing never saves them as the
// operator's settings.
struct PrintRequest
{
    PrintReport report = PrintReport::Declaration;
    PrintOutput output = PrintOutput::Printer;
    QString printerName;
    qint16 fontSize = 0;
    qint16 linesPerPage = 0;
    qint16 margin = 0;
    // The form sheet, "1" to "5": the form image adj<sheet>.kbx in Dir_Formularios.
    QString sheet;
    // The export declaration's official number (Año/Ad/Tipo/N. Reg/DC), official date and
    // invoices.
    QString officialNumber;
    QString officialDate;
    QString invoices;
    // The file the print writes instead of printing, replacing it: a PDF file for Printer and
    // Form, a text file for Text (each page's text in UTF-8, lines ending in CR LF, followed by
    // a form feed; the text-mode print service is not used). Empty: the printer, or the files
    // the printing environment variables name.
    QString outputFile;
    // Receives the progress texts ("Generando impresión....", "Imprimiendo hoja N de M").
    std::function<void(const QString&)> progress;
};

// Prints a report of the operation set in INTERNO as F11 does on the print options screen,
// without showing it: the print formats of GenerarIMP, the declaration's validation (its
// messages go through the message handler), the report generator and the page output; the
// declaration then records the export data on the operation's discharge lines. Unlike F11 it
// never saves the printer settings: the operator's saved ones stay as they were. The request's
// output file takes the output; without one the printing environment variables apply
// (OQUIVRAN_PDF_OUTPUT, OQUIVRAN_TEXT_OUTPUT). Needs a QApplication (one is created when the
// host has no application object). Returns false when the validation refused or the output
// failed.
bool printReport(const PrintRequest& request);

// Prints the expiry listing "VENCIMIENTOS DE IMPORTACION TEMPORAL" (see expiringStock() in
// <oquivran/Expiry.h>) for a reference date and a horizon in days, in landscape, like the
// listings: request gives the output (Text or Printer; Form prints as Printer) and the printer
// settings and output file, its report and export data are not used. Without an output file
// the printing environment variables apply.
// Needs a QApplication (one is created when the host has none). Returns false when the expiry
// check or the output failed (the error is shown by the common error message).
bool printExpiryListing(const QDate& asOf, int horizonDays, const PrintRequest& request);
// The font the reports print with at a point size (above 0): "Courier New", or another
// fixed-pitch family where it is missing, bold. A host measures its lines with it.
QFont reportFont(qint16 pointSize);

} // namespace oquivran
