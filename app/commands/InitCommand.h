#pragma once

#include "HostCommand.h"

// init: creates the missing sample databases, or with --force replaces both.
class InitCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
