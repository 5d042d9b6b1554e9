#pragma once

#include <QString>

namespace oquivran {

// The text-mode print service: the way the reports reach a printer in text mode ("MODO DOS"),
// one page of plain text at a time. The component's default sends each page as raw text to
// the CUPS queue of that name, or, when the environment variable OQUIVRAN_TEXT_OUTPUT names a
// file, appends the page's text and a form feed to that file instead. A host may install its
// own service.
class TextPrintService
{
public:
    virtual ~TextPrintService();

    // Prints one page of text on the named printer. Returns true when the page was accepted.
    virtual bool ImprimirDOS(const QString& pageText, const QString& printerName) = 0;
};

// Installs the service the component uses from now on (not owned; it must outlive its use).
// A null service restores the default one.
void setTextPrintService(TextPrintService* service);

} // namespace oquivran
