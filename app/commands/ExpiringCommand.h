#pragma once

#include "HostCommand.h"

// expiring: lists the stock whose temporary import has expired or expires within the
// horizon, by line and by declaration, and with --pdf prints the listing.
class ExpiringCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;
};
