#pragma once

#include "commands/HostCommand.h"

#include <QString>
#include <QStringList>

// The headless subcommands of the host, for scripts and batch work, on the same databases the
// window uses: one table names each with its summary, its options and the class that runs it
// (commands/), and the overview and every subcommand's --help are written from it.
class HostCommands
{
public:
    // True when name is one of the subcommands.
    static bool isSubcommand(const QString& name);
    // The program's overview: the window, the subcommands and the exit codes.
    static QString overview();
    // Runs a subcommand; arguments are the program's, the subcommand second. Prints its help
    // for --help and why the arguments are wrong when they are. Returns the exit code
    // (HostCommand::ExitCode).
    static int run(const QStringList& arguments);
};
