#pragma once

#include "HostCommand.h"

// inputs: lists the inputs discharged for an item of the operation.
class InputsCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
