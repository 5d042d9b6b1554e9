#pragma once

#include "HostCommand.h"

// audit: lists the audit trail of the discharge database, oldest first, filtered by
// operation, declaration and date.
class AuditCommand : public HostCommand
{
public:
    using HostCommand::HostCommand;
    // The options it takes beyond those of every subcommand.
    static QList<QCommandLineOption> options();
    int run() override;

private:
    // The date an option holds as YYYY-MM-DD; an invalid date when it is not set. None, said
    // on standard error, when it holds anything else.
    std::optional<QDate> isoDateOption(const QString& name) const;
};
