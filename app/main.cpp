// oquivran-host: the sample host of the component. Without a subcommand it opens the window;
// with one it runs headless (see --help).
#include "HostCommands.h"
#include "HostDatabases.h"
#include "HostWindow.h"

#include <oquivran/Module.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>

#include <algorithm>
#include <cstring>

namespace {

bool hasDisplay()
{
#ifdef Q_OS_WIN
    // A Windows session always has its desktop.
    return true;
#endif
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// A password typed in a URI stays in the process list while the program runs: once the
// arguments are read, it is overwritten where the system shows them from (on Linux).
void hidePasswords(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray typed(argv[i]);
        const QByteArray shown = HostDatabases::shown(QString::fromLocal8Bit(typed)).toLocal8Bit();
        if (shown == typed)
            continue;
        std::memset(argv[i], 0, size_t(typed.size()));
        std::memcpy(argv[i], shown.constData(), size_t(std::min(typed.size(), shown.size())));
    }
}

int runWindow(QApplication& app, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOptions({
        {{"h", "help"}, "Muestra la ayuda."},
        {"discharge-db", "Base de descargas: un archivo o postgresql://...", "base"},
        {"host-db", "Base del anfitrión: un archivo o postgresql://...", "base"},
        {"database",
         "Las dos bases en un servidor PostgreSQL (postgresql://...; la contraseña, en "
         "~/.pgpass o PGPASSFILE).",
         "uri"},
        {"operation", "Operación que se muestra primero.", "interno"},
        {"operator", "Operador que nombra el registro de auditoría.", "nombre"},
    });
    QTextStream err(stderr);
    if (!parser.parse(arguments)) {
        err << parser.errorText() << "\n\n" << HostCommands::overview();
        return HostCommand::UsageError;
    }
    if (parser.isSet("help")) {
        QTextStream(stdout) << HostCommands::overview();
        return HostCommand::Success;
    }
    if (!parser.positionalArguments().isEmpty()) {
        err << "Subcomando desconocido: " << parser.positionalArguments().first() << "\n\n"
            << HostCommands::overview();
        return HostCommand::UsageError;
    }
    HostDatabases databases;
    const HostDatabases::Status status = databases.open(parser);
    if (status != HostDatabases::Status::Opened && status != HostDatabases::Status::Created)
        return HostCommand::openFailure(databases, status);
    // The window's discharges are recorded as the subcommands' are.
    if (const int audited = HostCommand::auditAs(databases, parser.value("operator"));
        audited != HostCommand::Success)
        return audited;
    HostWindow window(databases, parser.isSet("operation") ? parser.value("operation")
                                                           : QStringLiteral("OP-2025-0042"));
    window.show();
    return app.exec();
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication::setApplicationName(QStringLiteral("oquivran-host"));
    // Several operators may work on one discharge database: every write of the component is
    // one unit that takes effect whole or not at all.
    oquivran::setAtomicWrites(true);
    const QString first = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (first == u"--help" || first == u"-h") {
        QTextStream(stdout) << HostCommands::overview();
        return HostCommand::Success;
    }
    if (first == u"--version") {
        QTextStream(stdout) << "oquivran-host " << OQUIVRAN_VERSION << '\n';
        return HostCommand::Success;
    }
    // A first argument that is neither an option nor a subcommand is a usage error, --help or
    // not: opening the window instead would hide the typing slip.
    if (!first.isEmpty() && !first.startsWith(u'-') && !HostCommands::isSubcommand(first)) {
        QTextStream(stderr) << "Subcomando desconocido: " << first << "\n\n"
                            << HostCommands::overview();
        return HostCommand::UsageError;
    }
    const bool headless = HostCommands::isSubcommand(first);
    // The headless subcommands print without a screen.
    if (headless && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!headless && !hasDisplay()) {
        QTextStream(stderr) << "No hay pantalla (DISPLAY o WAYLAND_DISPLAY) para la ventana; "
                               "use un subcomando.\n\n"
                            << HostCommands::overview();
        return HostCommand::UsageError;
    }
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    hidePasswords(argc, argv);
    if (headless)
        return HostCommands().run(arguments);
    return runWindow(app, arguments);
}
