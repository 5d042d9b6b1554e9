#pragma once

#include "HostCommand.h"

// check-stock: checks ARTDSC = ARTCAT - sum(DIPCAN) on every stock line, and with --repair
// recomputes ARTDSC where it is wrong (never on over-discharged lines).
class CheckStockCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
