#include "HostCommands.h"

#include "HostDatabases.h"
#include "SampleData.h"
#include "TextTable.h"
#include "commands/AuditCommand.h"
#include "commands/CheckStockCommand.h"
#include "commands/DischargeCommand.h"
#include "commands/ExpiringCommand.h"
#include "commands/InitCommand.h"
#include "commands/InputsCommand.h"
#include "commands/NumberCommand.h"
#include "commands/PrintCommand.h"
#include "commands/RemoveCommand.h"

#include <QTextStream>

#include <algorithm>
#include <optional>

namespace {

// Runs a subcommand of class Command on the parsed options.
template <typename Command> int run(const QCommandLineParser& parser, TextTable::Format format)
{
    return Command(parser, format).run();
}

struct Subcommand
{
    const char* name;
    // Its line in the overview and under the usage line of its --help.
    const char* summary;
    // Its options beyond those of every subcommand, in the order --help lists them.
    QList<QCommandLineOption> (*options)();
    int (*run)(const QCommandLineParser& parser, TextTable::Format format);
};

const Subcommand subcommands[] = {
    {"init", "crea con la muestra las bases que faltan (--force reemplaza las dos)",
     InitCommand::options, run<InitCommand>},
    {"discharge",
     "descarga un subítem (--subitem N) o todos (--all) como los propone el componente",
     DischargeCommand::options, run<DischargeCommand>},
    {"remove", "elimina la descarga de un subítem (--subitem N) o de todos (--all)",
     RemoveCommand::options, run<RemoveCommand>},
    {"number", "agrupa subítems y numera los ítems de la operación", NumberCommand::options,
     run<NumberCommand>},
    {"inputs", "lista los insumos descargados de un ítem (--item N)", InputsCommand::options,
     run<InputsCommand>},
    {"print", "imprime un reporte de la operación en un archivo (--out ARCHIVO)",
     PrintCommand::options, run<PrintCommand>},
    {"check-stock", "verifica ARTDSC = ARTCAT - suma(DIPCAN) en cada línea de stock (--repair)",
     CheckStockCommand::options, run<CheckStockCommand>},
    {"audit",
     "lista el registro de auditoría (--operation, --declaration, --from y --to lo filtran)",
     AuditCommand::options, run<AuditCommand>},
    {"expiring",
     "lista el stock vencido o que vence dentro del horizonte (--days N, --as-of FECHA)",
     ExpiringCommand::options, run<ExpiringCommand>},
};

const Subcommand* find(const QString& name)
{
    for (const Subcommand& s : subcommands) {
        if (name == QLatin1String(s.name))
            return &s;
    }
    return nullptr;
}

// The sample host runs several operators on one stock: atomic writes are on (main.cpp).
const char* atomicWritesText =
    "Escrituras atómicas: activadas. Cada descarga, eliminación, numeración de ítems,\n"
    "edición de C.T.C. y registro de la oficialización se escribe entera o no se escribe:\n"
    "varios operadores pueden descargar de la misma base a la vez, y una descarga que\n"
    "otro operador dejó sin stock se rechaza sin escribir nada.\n"
    "Registro de auditoría: cuando la base de descargas tiene la tabla DIPAUD (init\n"
    "--audit), cada subcomando lo activa y cada cambio de una línea de descarga o de\n"
    "stock agrega una fila con la fecha, el operador (--operator, o el usuario de la\n"
    "base: el del sistema con SQLite, el rol con PostgreSQL) y las cantidades antes y\n"
    "después; audit lo lista y check-stock lo verifica.\n";

// What closes the overview and every --help.
QString closingText()
{
    return u'\n' + QString::fromUtf8(atomicWritesText) + u'\n' + HostCommand::exitCodesText();
}

// The options every subcommand takes.
QList<QCommandLineOption> commonOptions()
{
    return {
        {{"h", "help"}, "Muestra esta ayuda."},
        {"discharge-db",
         "Base de descargas (DIP, INS, INTINS, PRD, RIP): un archivo o "
         "postgresql://usuario@servidor/base.",
         "base"},
        {"host-db",
         "Base del anfitrión (item, groupsubitems, facturas, grupos): un archivo o "
         "postgresql://usuario@servidor/base.",
         "base"},
        {"database",
         "Las dos bases en un servidor PostgreSQL: postgresql://usuario@servidor"
         "[:puerto]/base (?host=/carpeta para un socket; ?sslmode=, ?application_name=, "
         "?connect_timeout=, ?options= y los demás parámetros de libpq pasan tal cual); por "
         "omisión $OQUIVRAN_DATABASE. No ponga la contraseña en la URI (la lista de procesos "
         "la muestra): libpq la lee de ~/.pgpass, del archivo que nombra PGPASSFILE o del "
         "servicio de PGSERVICE; donde se muestra una URI, su contraseña sale como ***.",
         "uri"},
        {"operation",
         "Operación de exportación (INTERNO); por omisión " + SampleData::operation() + ".",
         "interno", SampleData::operation()},
        {"yes", "Responde Sí a las preguntas del componente (por omisión No)."},
        {"operator",
         "Operador que nombra el registro de auditoría (por omisión el usuario de la base).",
         "nombre"},
    };
}

QString help(const Subcommand& subcommand, const QCommandLineParser& parser)
{
    const QString options = parser.helpText();
    return QStringLiteral("Uso: oquivran-host %1 [opciones]\n")
               .arg(QString::fromLatin1(subcommand.name)) +
           QString::fromUtf8(subcommand.summary) + u'\n' +
           options.mid(options.indexOf(QStringLiteral("Options:"))) + closingText();
}

} // namespace

bool HostCommands::isSubcommand(const QString& name)
{
    return find(name) != nullptr;
}

QString HostCommands::overview()
{
    QString text =
        QStringLiteral(
            "Uso: oquivran-host [--discharge-db ARCHIVO] [--host-db ARCHIVO] [--operation OP]\n"
            "     oquivran-host SUBCOMANDO [opciones]   (oquivran-host SUBCOMANDO --help)\n"
            "     oquivran-host --version               (muestra la versión)\n\n"
            "Sin subcomando abre la ventana. La primera ejecución crea las bases de muestra en la\n"
            "carpeta de datos del usuario (") +
        HostDatabases::defaultFolder() +
        QStringLiteral(");\nuna base indicada con --discharge-db o --host-db debe "
                       "existir (créela con init).\n\nSubcomandos:\n");
    for (const Subcommand& s : subcommands)
        text +=
            QStringLiteral("  %1%2\n")
                .arg(QString::fromLatin1(s.name).leftJustified(13), QString::fromUtf8(s.summary));
    return text + closingText();
}

int HostCommands::run(const QStringList& arguments)
{
    QTextStream& out = HostCommand::out();
    QTextStream& err = HostCommand::err();
    const QString name = arguments.value(1);
    const Subcommand* subcommand = find(name);
    if (!subcommand) {
        err << "Subcomando desconocido: " << name << "\n\n" << overview();
        return HostCommand::UsageError;
    }
    QCommandLineParser parser;
    parser.addOptions(commonOptions());
    const QList<QCommandLineOption> options = subcommand->options();
    parser.addOptions(options);
    QStringList withoutName = arguments;
    withoutName.removeAt(1);
    if (!parser.parse(withoutName)) {
        err << parser.errorText() << "\n\n" << help(*subcommand, parser);
        return HostCommand::UsageError;
    }
    if (parser.isSet("help")) {
        out << help(*subcommand, parser);
        return HostCommand::Success;
    }
    if (!parser.positionalArguments().isEmpty()) {
        err << "Argumento inesperado: " << parser.positionalArguments().first() << '\n';
        return HostCommand::UsageError;
    }
    const bool takesFormat = std::any_of(options.begin(), options.end(), [](const auto& option) {
        return option.names().contains(QStringLiteral("format"));
    });
    const std::optional<TextTable::Format> format =
        takesFormat ? HostCommand::format(parser) : TextTable::Format::Table;
    if (!format)
        return HostCommand::UsageError;
    return subcommand->run(parser, *format);
}
