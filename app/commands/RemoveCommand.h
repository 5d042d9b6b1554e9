#pragma once

#include "HostCommand.h"

// remove: removes the discharge of one sub-item or of all, giving their stock back.
class RemoveCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
