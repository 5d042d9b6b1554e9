#pragma once

#include "PageOutput.h"

#include <oquivran/Printing.h>

namespace oquivran {

// One print of a report: what is printed, how, with which printer settings and export data,
// and where to. Every value is used as given (an empty printer name is the default printer,
// an empty output file the printer itself or the printing environment variables); filling
// values from the saved settings is the print options screen's part. A job never reads or
// writes the saved settings. The print options screen's F11 and the headless print both
// print through one.
class PrintJob
{
public:
    // request holds the job's values; its progress receiver, when set, gets the progress
    // texts.
    explicit PrintJob(PrintRequest request);

    // Fills the report line buffer with a report (the operation set in INTERNO). Returns
    // false when the generator did (it reports its own errors); the buffer is printed anyway.
    static bool generate(PrintReport report);

    // Prints the report line buffer as the job's report: the declaration with its titles,
    // then records the official number, date and invoices on the operation's discharge
    // lines; the control listing in landscape, the comparative listing in portrait. False
    // after an error, which it reports.
    bool print() const;
    // Prints the report line buffer as a listing in an orientation (Form prints as Printer).
    // False after an error, which it reports.
    bool printListing(PageOrientation orientation) const;

    // The values the job prints with.
    const PrintRequest& request() const { return m_request; }

private:
    bool printDeclaration() const;
    // The page output's method for the job's output: Form only for the declaration.
    qint16 method(PageTitles titles) const;
    PageOutput pageOutput(PageOrientation orientation, PageTitles titles) const;

    PrintRequest m_request;
};

} // namespace oquivran
