#pragma once

#include "HostCommand.h"

// discharge: discharges one sub-item or all of the operation as the component proposes, and
// lists the lines written and the totals.
class DischargeCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
