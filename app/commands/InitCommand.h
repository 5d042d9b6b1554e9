#pragma once

#include "HostCommand.h"

// init: creates the missing sample databases, or with --force replaces both; with --audit the
// discharge database also gets the audit trail.
class InitCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;

private:
    // Adds the audit trail to the existing discharge database; returns the exit code.
    int addAuditTrail(const QString& dischargePath, const QString& hostPath);
};
