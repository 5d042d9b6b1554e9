#pragma once

#include <oquivran/TextPrintService.h>

#include <QByteArray>

namespace oquivran {

// The default text-mode print service. Each page goes as raw bytes (its text in UTF-8) to the
// printer queue of the given name (CUPS on Linux, the spooler on Windows; the default queue
// when the name is empty), one job per page. When the environment variable OQUIVRAN_TEXT_OUTPUT
// names a file, the page's text followed by a form feed is appended to that file instead and no
// printer is used.
class DefaultTextPrintService : public TextPrintService
{
public:
    bool ImprimirDOS(const QString& pageText, const QString& printerName) override;

    // The environment variable naming the file that replaces the printer.
    static const char* outputVariable();
    // Appends a page's text (UTF-8) and a form feed to a file, created when missing. False
    // when the file cannot be opened or written.
    static bool appendPage(const QString& fileName, const QString& pageText);

private:
    static bool appendToFile(const QString& fileName, const QByteArray& page);
};

} // namespace oquivran
