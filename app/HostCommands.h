#pragma once

#include "TextTable.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <QVariant>

#include <memory>
#include <utility>

class ConsoleMessages;
class ExportOperation;
class HostDatabases;

namespace oquivran {
class clQUIVRAN;
struct PrintRequest;
} // namespace oquivran

// The headless subcommands of the host, for scripts and batch work: init, discharge, remove,
// number, inputs, print, check-stock and expiring, on the same databases the window uses.
// Results go to standard output as tables, progress and the component's messages to standard
// error.
class HostCommands
{
public:
    // The exit codes, as --help lists them.
    enum ExitCode {
        Success = 0,
        UsageError = 1,          // unknown subcommand or option, missing or invalid value
        DatabaseMissing = 2,     // a database file does not exist or cannot be opened
        NotFound = 3,            // unknown operation, sub-item or item
        Refused = 4,             // the component refused a discharge or a removal
        StockDifferences = 5,    // check-stock found lines whose availability is wrong, or
                                 // over-discharged lines (never repaired)
        Failed = 6,              // numbering or printing failed, or --out cannot be written
        Expired = 7,             // expiring found stock whose temporary import has expired
        DatabaseUnavailable = 8, // a discharge or removal failed because the database could
                                 // not be reached or stayed busy with other operators' units
                                 // beyond the wait
    };

    HostCommands();
    ~HostCommands();

    // True when name is one of the subcommands.
    static bool isSubcommand(const QString& name);
    // The program's overview: the window, the subcommands and the exit codes.
    static QString overview();
    // Runs a subcommand; arguments are the program's, the subcommand second. Returns the exit
    // code.
    int run(const QStringList& arguments);

private:
    int init();
    int discharge();
    int remove();
    int number();
    int inputs();
    int print();
    int checkStock();
    int expiring();

    // Adds the options every subcommand takes.
    void addCommonOptions();
    // Parses arguments; prints the subcommand's help (returns Success) or an error.
    bool parse(const QStringList& arguments, int& exitCode);
    // Opens the databases and binds them; prints why not.
    int openDatabases();
    // Loads the operation of --operation; prints why not.
    int loadOperation();
    // What a refusal the component just reported means: DatabaseUnavailable when it was the
    // database's (a conflict that outlasted the wait, a connection that broke or could not be
    // opened), else Refused (the discharge rules).
    int refusal() const;
    // The sub-items --subitem or --all select; empty with exitCode set when none.
    QList<int> selectedSubItems(int& exitCode) const;
    QString help() const;
    // Checks the print options' values before anything runs or is saved.
    int checkPrintOptions();
    // The largest font size, up to the saved one, at which the longest line of the report
    // that request prints fits the page; said on standard error. 0 when the report cannot be
    // produced (the print then tells why).
    int fittingFontSize(const oquivran::PrintRequest& request);

    // A table of a subcommand's result: its key in JSON, its heading in the text table.
    struct Section
    {
        QString key;
        QString heading;
        const TextTable* table;
    };
    // Writes the result in the --format chosen: the sections' tables one after the other
    // (CSV: separated by an empty line), or one JSON object holding fields and the sections.
    void write(const QList<std::pair<QString, QVariant>>& fields,
               const QList<Section>& sections) const;

    QString m_name;
    QCommandLineParser m_parser;
    TextTable::Format m_format = TextTable::Format::Table;
    std::unique_ptr<HostDatabases> m_databases;
    std::unique_ptr<ExportOperation> m_operation;
    std::unique_ptr<oquivran::clQUIVRAN> m_component;
    std::unique_ptr<ConsoleMessages> m_messages;
};
