#pragma once

#include "HostCommand.h"

// number: groups the sub-items and numbers the items of the operation.
class NumberCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
