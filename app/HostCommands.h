#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <memory>

class ExportOperation;
class HostDatabases;

namespace oquivran {
class clQUIVRAN;
}

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
        UsageError = 1,       // unknown subcommand or option, missing or invalid value
        DatabaseMissing = 2,  // a database file does not exist or cannot be opened
        NotFound = 3,         // unknown operation, sub-item or item
        Refused = 4,          // the component refused a discharge or a removal
        StockDifferences = 5, // check-stock found lines whose availability is wrong
        Failed = 6,           // numbering or printing failed
        Expired = 7,          // expiring found stock whose temporary import has expired
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
    // The sub-items --subitem or --all select; empty with exitCode set when none.
    QList<int> selectedSubItems(int& exitCode) const;
    QString help() const;

    QString m_name;
    QCommandLineParser m_parser;
    std::unique_ptr<HostDatabases> m_databases;
    std::unique_ptr<ExportOperation> m_operation;
    std::unique_ptr<oquivran::clQUIVRAN> m_component;
};
