#pragma once

#include "ExportOperation.h"
#include "HostCommand.h"

namespace oquivran {
struct PrintRequest;
} // namespace oquivran

// print: prints a report of the operation into a file, as text, PDF or over the form.
class PrintCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;

private:
    // Checks the print options' values before anything runs or is saved.
    int checkOptions();
    int print();
    // The official number and date recorded on the operation when the declaration printed
    // with --aat and --date would record others; none when it records the same or nothing is
    // recorded.
    std::optional<OfficialData> replacedData() const;
    // What the declaration records: --aat and --date, and what recorded holds for one not
    // given.
    OfficialData newData(const OfficialData& recorded) const;
    // The largest font size, up to the saved one, at which the longest line of the report
    // that request prints fits the page; said on standard error. 0 when the report cannot be
    // produced (the print then tells why).
    int fittingFontSize(const oquivran::PrintRequest& request);
};
