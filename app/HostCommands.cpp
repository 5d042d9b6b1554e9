#include "HostCommands.h"
#include "HostText.h"

#include "CheckStock.h"
#include "ConsoleMessages.h"
#include "ExportOperation.h"
#include "FontFit.h"
#include "HostDatabases.h"
#include "HostSettings.h"
#include "SampleData.h"
#include "TextTable.h"

#include <oquivran/oquivran.h>

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

// The state of an expiry line or declaration as the expiry output names it.
QString expiryStateName(oquivran::ExpiryState state)
{
    switch (state) {
    case oquivran::ExpiryState::Expired:
        return QStringLiteral("vencida");
    case oquivran::ExpiryState::NoExpiry:
        return QStringLiteral("sin vencimiento");
    case oquivran::ExpiryState::DueSoon:
        break;
    }
    return QStringLiteral("por vencer");
}

// The days left before an expiry; null (an empty cell) when there is no expiry date.
QVariant daysLeft(oquivran::ExpiryState state, int days)
{
    return state == oquivran::ExpiryState::NoExpiry ? QVariant() : QVariant(days);
}

// A figure of the component: its number for scripts, its text for the table.
QVariant figure(double value, const QString& text)
{
    return QVariant::fromValue(TextTable::Figure{value, text});
}

struct Subcommand
{
    const char* name;
    const char* summary;
};

const Subcommand subcommands[] = {
    {"init", "crea con la muestra las bases que faltan (--force reemplaza las dos)"},
    {"discharge",
     "descarga un subítem (--subitem N) o todos (--all) como los propone el componente"},
    {"remove", "elimina la descarga de un subítem (--subitem N) o de todos (--all)"},
    {"number", "agrupa subítems y numera los ítems de la operación"},
    {"inputs", "lista los insumos descargados de un ítem (--item N)"},
    {"print", "imprime un reporte de la operación en un archivo (--out ARCHIVO)"},
    {"check-stock", "verifica ARTDSC = ARTCAT - suma(DIPCAN) en cada línea de stock (--repair)"},
    {"expiring",
     "lista el stock vencido o que vence dentro del horizonte (--days N, --as-of FECHA)"},
};

const char* exitCodesText =
    "Códigos de salida:\n"
    "  0  correcto\n"
    "  1  uso incorrecto (subcomando, opción o valor)\n"
    "  2  falta una base de datos o no se puede abrir\n"
    "  3  operación, subítem o ítem desconocido\n"
    "  4  el componente rechazó una descarga o una eliminación\n"
    "  5  check-stock encontró líneas con disponibilidad incorrecta\n"
    "  6  falló la numeración o la impresión\n"
    "  7  expiring encontró stock con la importación temporal vencida\n"
    "  8  una descarga o eliminación no se escribió porque la base de datos\n"
    "     no respondió o siguió ocupada por otros operadores más allá de la\n"
    "     espera (nada quedó escrito: puede intentarse de nuevo)\n";

// Of two exit codes of a run over several sub-items, the one to end with: a database that
// failed outranks a refusal by the rules.
int worstOf(int exitCode, int next)
{
    if (next == HostCommands::DatabaseUnavailable || exitCode == HostCommands::Success)
        return next;
    return exitCode;
}

// The sample host runs several operators on one stock: atomic writes are on (main.cpp).
const char* atomicWritesText =
    "Escrituras atómicas: activadas. Cada descarga, eliminación, numeración de ítems,\n"
    "edición de C.T.C. y registro de la oficialización se escribe entera o no se escribe:\n"
    "varios operadores pueden descargar de la misma base a la vez, y una descarga que\n"
    "otro operador dejó sin stock se rechaza sin escribir nada.\n";

// The ranges the print options accept.
constexpr int minimumFontSize = 4;
constexpr int maximumFontSize = 72;
constexpr int minimumLines = 10;
constexpr int maximumLines = 300;
constexpr int sheetCount = 5;

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

TextTable linesTable()
{
    using Align = TextTable::Align;
    return TextTable({{"Subítem", "subitem", Align::Right},
                      {"Despacho", "declaration"},
                      {"Insumo", "input"},
                      {"Ítem", "item", Align::Right},
                      {"Sub", "sub", Align::Right},
                      {"Cantidad", "quantity", Align::Right, 4},
                      {"Real", "real_quantity", Align::Right, 4},
                      {"CIF unit.", "unit_price", Align::Right, 6},
                      {"C.T.C.", "ctc"}});
}

void addLines(TextTable& table, const QList<DischargeLine>& lines)
{
    for (const DischargeLine& l : lines) {
        table.addValues({l.subItem, l.declaration, l.input, l.stockItem, l.stockSubItem, l.quantity,
                         l.realQuantity, l.unitPrice, l.ctc});
    }
}

// A whole-number option within a range; false with the message printed when it is not.
bool wholeOption(const QCommandLineParser& parser, const QString& name, int minimum, int maximum,
                 int& value)
{
    bool ok = false;
    value = parser.value(name).toInt(&ok);
    if (ok && value >= minimum && value <= maximum)
        return true;
    err() << "Valor inválido para --" << name << ": " << parser.value(name) << " (un número de "
          << minimum << " a " << maximum << ")\n";
    return false;
}

// A date option as the component reads dates: ISO text becomes the locale's day and month
// order; other text is passed as typed.
QString dateText(const QString& text)
{
    const QDate date = QDate::fromString(text, Qt::ISODate);
    return date.isValid() ? HostText::date(date) : text;
}

} // namespace

HostCommands::HostCommands() = default;
HostCommands::~HostCommands() = default;

bool HostCommands::isSubcommand(const QString& name)
{
    for (const Subcommand& s : subcommands) {
        if (name == QLatin1String(s.name))
            return true;
    }
    return false;
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
    return text + u'\n' + QString::fromUtf8(atomicWritesText) + u'\n' +
           QString::fromUtf8(exitCodesText);
}

void HostCommands::addCommonOptions()
{
    m_parser.addOptions({
        {{"h", "help"}, "Muestra esta ayuda."},
        {"discharge-db",
         "Base de descargas (DIP, INS, INTINS, PRD, RIP): un archivo o "
         "postgresql://usuario@servidor/base.",
         "base"},
        {"host-db",
         "Base del anfitrión (item, groupsubitems, facturas): un archivo o "
         "postgresql://usuario@servidor/base.",
         "base"},
        {"database",
         "Las dos bases en un servidor PostgreSQL: postgresql://usuario@servidor"
         "[:puerto]/base (?host=/carpeta para un socket); por omisión "
         "$OQUIVRAN_DATABASE.",
         "uri"},
        {"operation",
         "Operación de exportación (INTERNO); por omisión " + SampleData::operation() + ".",
         "interno", SampleData::operation()},
        {"yes", "Responde Sí a las preguntas del componente (por omisión No)."},
    });
}

int HostCommands::run(const QStringList& arguments)
{
    m_name = arguments.value(1);
    addCommonOptions();
    const QCommandLineOption subItem("subitem", "Subítem de la operación.", "n");
    const QCommandLineOption all("all", "Todos los subítems de la operación.");
    const QCommandLineOption format(
        "format", "Formato del resultado: table (por omisión), csv o json.", "formato", "table");
    if (m_name == u"init") {
        m_parser.addOption({"force", "Reemplaza las bases existentes."});
    } else if (m_name == u"discharge") {
        m_parser.addOptions({subItem,
                             all,
                             format,
                             {"accept-incomplete", "Descarga aunque falte stock de algún insumo."},
                             {"restar-merma", "Resta merma y pérdida de la cantidad real."}});
    } else if (m_name == u"remove") {
        m_parser.addOptions({subItem, all, format});
    } else if (m_name == u"number") {
        m_parser.addOption(format);
    } else if (m_name == u"inputs") {
        m_parser.addOptions({{"item", "Ítem de la operación.", "n"}, format});
    } else if (m_name == u"print") {
        m_parser.addOptions({
            {"report", "declaracion, control o comparativo (por omisión declaracion).", "reporte",
             "declaracion"},
            {"method", "text (texto, MODO DOS), pdf (solo caída) o form (PDF sobre el formulario).",
             "metodo", "pdf"},
            {"out", "Archivo de salida (se reemplaza).", "archivo"},
            {"aat", "Número oficial de la exportación (Año/Ad/Tipo/N. Reg/DC).", "numero"},
            {"date", "Fecha de oficialización (AAAA-MM-DD o en el formato local).", "fecha"},
            {"invoices", "Facturas (por omisión las de la operación).", "facturas"},
            {"sheet", "Foja del formulario, 1 a 5.", "n"},
            {"font-size",
             QStringLiteral("Tamaño de fuente, %1 a %2 (por omisión el mayor con el que la línea "
                            "más larga del reporte entra en la hoja).")
                 .arg(minimumFontSize)
                 .arg(maximumFontSize),
             "n"},
            {"subregimen", "Subrégimen impreso en el formulario.", "texto"},
            {"aduana", "Aduana impresa en el formulario.", "texto"},
            {"forms", "Carpeta de los formularios adjN.kbx.", "carpeta"},
            {"lines",
             QStringLiteral("Líneas por hoja, %1 a %2.").arg(minimumLines).arg(maximumLines), "n"},
        });
    } else if (m_name == u"check-stock") {
        m_parser.addOptions(
            {{"repair",
              "Recalcula ARTDSC de las líneas con diferencias (no las sobre-descargadas)."},
             format});
    } else if (m_name == u"expiring") {
        m_parser.addOptions({
            {"days",
             "Horizonte en días (por omisión el de la configuración, " +
                 QString::number(HostSettings::expiryHorizon()) + ").",
             "n"},
            {"as-of", "Fecha de referencia (AAAA-MM-DD o en el formato local; por omisión hoy).",
             "fecha"},
            {"format", "table, csv o json (por omisión table).", "formato", "table"},
            {"pdf", "Imprime además el listado de vencimientos en este PDF.", "archivo"},
        });
    } else if (!isSubcommand(m_name)) {
        err() << "Subcomando desconocido: " << m_name << "\n\n" << overview();
        return UsageError;
    }

    int exitCode = Success;
    if (!parse(arguments, exitCode))
        return exitCode;
    const bool takesFormat = m_name != u"init" && m_name != u"print";
    if (takesFormat && m_parser.isSet("format") &&
        !TextTable::parseFormat(m_parser.value("format"), m_format)) {
        err() << "Formato desconocido: " << m_parser.value("format") << " (table, csv o json)\n";
        return UsageError;
    }
    if (m_name == u"print") {
        if (const int checked = checkPrintOptions(); checked != Success)
            return checked;
    }
    if (m_name == u"init")
        return init();
    if (const int opened = openDatabases(); opened != Success)
        return opened;
    if (m_name == u"check-stock")
        return checkStock();
    if (m_name == u"expiring")
        return expiring();
    if (const int loaded = loadOperation(); loaded != Success)
        return loaded;
    m_messages = std::make_unique<ConsoleMessages>(
        m_parser.isSet("yes") ? ConsoleMessages::Answer::Yes : ConsoleMessages::Answer::No);
    if (m_name == u"discharge")
        return discharge();
    if (m_name == u"remove")
        return remove();
    if (m_name == u"number")
        return number();
    if (m_name == u"inputs")
        return inputs();
    return print();
}

bool HostCommands::parse(const QStringList& arguments, int& exitCode)
{
    QStringList withoutName = arguments;
    withoutName.removeAt(1);
    if (!m_parser.parse(withoutName)) {
        err() << m_parser.errorText() << "\n\n" << help();
        exitCode = UsageError;
        return false;
    }
    if (m_parser.isSet("help")) {
        out() << help();
        exitCode = Success;
        return false;
    }
    if (!m_parser.positionalArguments().isEmpty()) {
        err() << "Argumento inesperado: " << m_parser.positionalArguments().first() << '\n';
        exitCode = UsageError;
        return false;
    }
    return true;
}

QString HostCommands::help() const
{
    QString text = QStringLiteral("Uso: oquivran-host %1 [opciones]\n").arg(m_name);
    for (const Subcommand& s : subcommands) {
        if (m_name == QLatin1String(s.name))
            text += QString::fromUtf8(s.summary) + u'\n';
    }
    const QString options = m_parser.helpText();
    text += options.mid(options.indexOf(QStringLiteral("Options:")));
    return text + u'\n' + QString::fromUtf8(atomicWritesText) + u'\n' +
           QString::fromUtf8(exitCodesText);
}

int HostCommands::openDatabases()
{
    bool explicitDischarge = false;
    bool explicitHost = false;
    const QString dischargePath =
        HostDatabases::location(m_parser, HostDatabases::Which::Discharge, &explicitDischarge);
    const QString hostPath =
        HostDatabases::location(m_parser, HostDatabases::Which::Host, &explicitHost);
    const bool explicitPaths = explicitDischarge || explicitHost;
    m_databases = std::make_unique<HostDatabases>();
    const HostDatabases::Status status = m_databases->open(
        dischargePath, hostPath,
        explicitPaths ? HostDatabases::Missing::Fail : HostDatabases::Missing::CreateSample);
    if (status == HostDatabases::Status::NotFound || status == HostDatabases::Status::Failed) {
        err() << m_databases->errorText() << '\n';
        if (status == HostDatabases::Status::NotFound)
            err() << "Créela con: oquivran-host init --discharge-db " << dischargePath
                  << " --host-db " << hostPath << '\n';
        return DatabaseMissing;
    }
    if (status == HostDatabases::Status::Created)
        err() << "Bases de muestra creadas: " << dischargePath << ", " << hostPath << '\n';
    m_component = std::make_unique<oquivran::clQUIVRAN>();
    m_databases->bind(*m_component);
    m_component->Dir_Formularios(HostDatabases::defaultFormsFolder());
    m_operation = std::make_unique<ExportOperation>(m_databases->discharge(), m_databases->host());
    return Success;
}

int HostCommands::loadOperation()
{
    const QString interno = m_parser.value("operation");
    if (!m_operation->load(interno)) {
        err() << "No existe la operación " << interno << " en la base del anfitrión "
              << m_databases->hostPath() << '\n';
        return NotFound;
    }
    m_component->INTERNO(interno);
    return Success;
}

QList<int> HostCommands::selectedSubItems(int& exitCode) const
{
    QList<int> result;
    if (m_parser.isSet("subitem") == m_parser.isSet("all")) {
        err() << "Indique --subitem N o --all.\n";
        exitCode = UsageError;
        return result;
    }
    if (m_parser.isSet("all")) {
        for (const SubItem& s : m_operation->subItems())
            result << s.idsub;
        return result;
    }
    bool ok = false;
    const int idsub = m_parser.value("subitem").toInt(&ok);
    if (!ok) {
        err() << "Subítem inválido: " << m_parser.value("subitem") << '\n';
        exitCode = UsageError;
    } else if (!m_operation->subItem(idsub)) {
        err() << "La operación " << m_operation->interno() << " no tiene el subítem " << idsub
              << '\n';
        exitCode = NotFound;
    } else {
        result << idsub;
    }
    return result;
}

int HostCommands::init()
{
    const QString dischargePath =
        HostDatabases::location(m_parser, HostDatabases::Which::Discharge);
    const QString hostPath = HostDatabases::location(m_parser, HostDatabases::Which::Host);
    const bool force = m_parser.isSet("force");
    if (!force && HostDatabases::exists(dischargePath, HostDatabases::Which::Discharge) &&
        HostDatabases::exists(hostPath, HostDatabases::Which::Host)) {
        err() << "Las bases ya existen (use --force para reemplazarlas): " << dischargePath << ", "
              << hostPath << '\n';
        return UsageError;
    }
    HostDatabases databases;
    if (force && (!databases.remove(dischargePath, HostDatabases::Which::Discharge) ||
                  !databases.remove(hostPath, HostDatabases::Which::Host))) {
        err() << databases.errorText() << '\n';
        return DatabaseMissing;
    }
    // Only what is missing is created: an existing database keeps its data.
    if (databases.open(dischargePath, hostPath, HostDatabases::Missing::CreateMissing) !=
        HostDatabases::Status::Created) {
        err() << databases.errorText() << '\n';
        return DatabaseMissing;
    }
    out() << "Bases de muestra creadas:\n";
    for (const auto& [path, created] : {std::pair(dischargePath, databases.createdDischarge()),
                                        std::pair(hostPath, databases.createdHost())})
        out() << "  " << path << (created ? "" : " (ya existía, se conserva)") << '\n';
    return Success;
}

int HostCommands::refusal() const
{
    const oquivran::RuntimeError* error = oquivran::reportedError();
    if (!error)
        return Refused;
    const QString& code = error->nativeErrorCode;
    const oquivran::DataObject* data = m_databases->dischargeData();
    // SQLSTATE classes 08 (connection exception) and 57P (the server shutting down or not
    // yet accepting connections).
    if ((data && data->isConflict(*error)) || code.startsWith(QLatin1String("08")) ||
        code.startsWith(QLatin1String("57P")))
        return DatabaseUnavailable;
    return Refused;
}

int HostCommands::discharge()
{
    int exitCode = Success;
    const QList<int> selected = selectedSubItems(exitCode);
    if (selected.isEmpty())
        return exitCode;
    m_component->Restar_PerMer(m_parser.isSet("restar-merma"));
    const bool acceptIncomplete = m_parser.isSet("accept-incomplete");
    using Align = TextTable::Align;
    TextTable lines = linesTable();
    TextTable totals({{"Subítem", "subitem", Align::Right},
                      {"Catálogo", "catalog"},
                      {"Producto", "product"},
                      {"Cantidad", "quantity", Align::Right, 2},
                      {"Resultado", "result"},
                      {"Cant. descontada", "discharged_quantity", Align::Right, 4},
                      {"CIF descontado", "discharged_cif", Align::Right, 2}});
    int done = 0;
    for (int idsub : selected) {
        const SubItem& s = *m_operation->subItem(idsub);
        err() << "[" << ++done << "/" << selected.size() << "] subítem " << idsub << " "
              << s.catalog << "/" << s.product << Qt::endl;
        QString result;
        QVariant quantity;
        QVariant cif;
        if (m_operation->hasLines(idsub)) {
            // Discharging again would write its lines twice.
            result = QStringLiteral("ya descargado");
            if (selected.size() == 1) {
                err() << "El subítem " << idsub
                      << " ya tiene líneas de descarga; elimínelas antes con remove.\n";
                exitCode = Refused;
            }
        } else {
            m_operation->setOn(*m_component, s);
            oquivran::clearReportedError();
            if (oquivran::dischargeAsProposed(acceptIncomplete)) {
                result = QStringLiteral("descargado");
                quantity = m_component->CantidadDescontada();
                cif = m_component->CIFDescontado();
                addLines(lines, m_operation->dischargeLines(idsub));
            } else {
                result = QStringLiteral("RECHAZADO");
                exitCode = worstOf(exitCode, refusal());
            }
        }
        totals.addValues({idsub, s.catalog, s.product, s.quantity, result, quantity, cif});
    }
    write({{"operation", m_operation->interno()}},
          {{"lines", "Operación " + m_operation->interno() + " - líneas escritas", &lines},
           {"totals", "Totales", &totals}});
    if (exitCode == Refused)
        err() << "Hubo descargas rechazadas.\n";
    else if (exitCode == DatabaseUnavailable)
        err() << "Hubo descargas que la base de datos no dejó escribir.\n";
    return exitCode;
}

int HostCommands::remove()
{
    int exitCode = Success;
    const QList<int> selected = selectedSubItems(exitCode);
    if (selected.isEmpty())
        return exitCode;
    using Align = TextTable::Align;
    TextTable table({{"Subítem", "subitem", Align::Right},
                     {"Líneas eliminadas", "removed_lines", Align::Right},
                     {"Resultado", "result"}});
    for (int idsub : selected) {
        const SubItem& s = *m_operation->subItem(idsub);
        const int lineCount = int(m_operation->dischargeLines(idsub).size());
        if (lineCount == 0) {
            table.addValues({idsub, 0, QStringLiteral("sin descarga")});
            continue;
        }
        m_operation->setOn(*m_component, s);
        oquivran::clearReportedError();
        const bool removed = m_component->EliminarInsumo();
        if (!removed)
            exitCode = worstOf(exitCode, refusal());
        table.addValues(
            {idsub, lineCount, removed ? QStringLiteral("eliminado") : QStringLiteral("FALLÓ")});
    }
    write({{"operation", m_operation->interno()}},
          {{"subitems", "Operación " + m_operation->interno(), &table}});
    return exitCode;
}

int HostCommands::number()
{
    QList<int> skipped;
    if (!m_operation->numberItems(*m_component, skipped)) {
        err() << "La numeración de ítems falló.\n";
        return Failed;
    }
    using Align = TextTable::Align;
    TextTable table({{"Ítem", "item", Align::Right},
                     {"Subítems", "subitems"},
                     {"Líneas numeradas", "numbered_lines", Align::Right},
                     {"Estado", "status"}});
    const QList<DischargeLine> lines = m_operation->dischargeLines();
    for (int item : m_operation->items()) {
        int count = 0;
        for (const DischargeLine& l : lines)
            count += l.exportItem == item ? 1 : 0;
        const bool numbered = !skipped.contains(item);
        table.addValues(
            {item, m_operation->itemSubItems(item), numbered ? QVariant(count) : QVariant(),
             numbered ? QStringLiteral("numerado") : QStringLiteral("sin descarga, no numerado")});
    }
    for (int item : skipped)
        err() << "El ítem " << item << " tiene subítems sin descarga: no se numera.\n";
    write({{"operation", m_operation->interno()}},
          {{"items", "Operación " + m_operation->interno(), &table}});
    return Success;
}

int HostCommands::inputs()
{
    bool ok = false;
    const int item = m_parser.value("item").toInt(&ok);
    if (!ok) {
        err() << "Indique el ítem con --item N.\n";
        return UsageError;
    }
    if (!m_operation->items().contains(item)) {
        err() << "La operación " << m_operation->interno() << " no tiene el ítem " << item << '\n';
        return NotFound;
    }
    oquivran::Recordset rs;
    if (!m_component->Obtener_Insumos(item, rs))
        return Failed;
    const QStringList fields = rs.fieldNames();
    QList<TextTable::Column> columns;
    for (const QString& field : fields) {
        const bool numeric = field.compare(u"ARTITM", Qt::CaseInsensitive) == 0 ||
                             field.compare(u"ARTSBT", Qt::CaseInsensitive) == 0 ||
                             field.compare(u"RALCAN", Qt::CaseInsensitive) == 0;
        const bool real = field.compare(u"RALCAN", Qt::CaseInsensitive) == 0;
        columns << TextTable::Column{HostText::inputHeading(field), HostText::inputKey(field),
                                     numeric ? TextTable::Align::Right : TextTable::Align::Left,
                                     real ? 2 : -1};
    }
    TextTable table(columns);
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        QVariantList row;
        for (const QString& field : fields) {
            const QVariant value = rs.value(field);
            if (value.typeId() == QMetaType::QDate)
                row << value.toDate().toString(Qt::ISODate);
            else if (field.compare(u"RALCAN", Qt::CaseInsensitive) == 0)
                row << HostText::number(value);
            else
                row << value;
        }
        table.addValues(row);
    }
    write({{"operation", m_operation->interno()}, {"item", item}},
          {{"inputs",
            QStringLiteral("Operación %1 - insumos del ítem %2 (%3)")
                .arg(m_operation->interno())
                .arg(item)
                .arg(table.rowCount()),
            &table}});
    return Success;
}

int HostCommands::print()
{
    oquivran::PrintRequest request;
    const QString report = m_parser.value("report");
    const QString method = m_parser.value("method");
    const QString path = m_parser.value("out");
    if (report == u"declaracion")
        request.report = oquivran::PrintReport::Declaration;
    else if (report == u"control")
        request.report = oquivran::PrintReport::ControlListing;
    else if (report == u"comparativo")
        request.report = oquivran::PrintReport::ComparativeListing;
    else {
        err() << "Reporte desconocido: " << report << " (declaracion, control o comparativo)\n";
        return UsageError;
    }
    if (method == u"text")
        request.output = oquivran::PrintOutput::Text;
    else if (method == u"pdf")
        request.output = oquivran::PrintOutput::Printer;
    else if (method == u"form")
        request.output = oquivran::PrintOutput::Form;
    else {
        err() << "Método desconocido: " << method << " (text, pdf o form)\n";
        return UsageError;
    }
    if (path.isEmpty()) {
        err() << "Indique el archivo de salida con --out ARCHIVO.\n";
        return UsageError;
    }
    // A folder that does not exist or cannot be written is said plainly, before printing.
    const QFileInfo target(QFileInfo(path).absoluteFilePath());
    const QFileInfo folder(target.absolutePath());
    if (!folder.isDir()) {
        err() << "No existe la carpeta de salida: " << folder.filePath() << '\n';
        return Failed;
    }
    if (!folder.isWritable() || (target.exists() && (target.isDir() || !target.isWritable()))) {
        err() << "No se puede escribir " << target.filePath() << " (sin permiso de escritura"
              << (target.isDir() ? ", es una carpeta" : "") << ")\n";
        return Failed;
    }
    request.officialNumber = m_parser.value("aat");
    request.officialDate = dateText(m_parser.value("date"));
    request.invoices = m_parser.value("invoices");
    request.sheet = m_parser.value("sheet");
    request.linesPerPage = qint16(m_parser.value("lines").toInt());
    request.fontSize = qint16(m_parser.value("font-size").toInt());
    request.progress = [](const QString& text) {
        err() << text << Qt::endl;
    };
    m_component->SubRegimen(m_parser.value("subregimen"));
    m_component->Aduana(m_parser.value("aduana"));
    if (m_parser.isSet("forms"))
        m_component->Dir_Formularios(m_parser.value("forms"));
    // A size chosen to fit is this print's alone, as every value of the request is: printing
    // leaves the operator's saved settings as they are.
    if (request.output != oquivran::PrintOutput::Text && !m_parser.isSet("font-size"))
        request.fontSize = qint16(fittingFontSize(request));

    // A print that fails leaves no file from an earlier one behind.
    const QString absolute = target.absoluteFilePath();
    QFile::remove(absolute);
    request.outputFile = absolute;
    const bool printed = oquivran::printReport(request);
    if (!printed || !QFileInfo::exists(absolute)) {
        err() << "No se pudo imprimir el reporte.\n";
        return Failed;
    }
    out() << absolute << '\n';
    return Success;
}

int HostCommands::fittingFontSize(const oquivran::PrintRequest& request)
{
    // The report's lines as text mode prints them, without saying so twice.
    QTemporaryDir scratch;
    const QString pages = scratch.filePath(QStringLiteral("pages.txt"));
    oquivran::PrintRequest measure = request;
    measure.output = oquivran::PrintOutput::Text;
    measure.fontSize = 0;
    measure.outputFile = pages;
    measure.progress = [](const QString&) {
    };
    m_messages->setQuiet(true);
    const bool measured = oquivran::printReport(measure);
    m_messages->setQuiet(false);
    QFile file(pages);
    if (!measured || !file.open(QIODevice::ReadOnly))
        return 0; // the print itself tells what is wrong
    const QString longest = FontFit::longestLine(QString::fromUtf8(file.readAll()));

    // Up to the operator's saved size (the print options screen's default 10), within the
    // saved left margin; the control listing prints landscape, the others portrait.
    const QSettings settings = oquivran::settingsStore();
    bool ok = false;
    int saved = settings.value(QStringLiteral("IMPRESION/IMPTAM")).toString().toInt(&ok);
    if (!ok || saved < minimumFontSize || saved > maximumFontSize)
        saved = 10;
    const double margin = settings.value(QStringLiteral("IMPRESION/MARGEN"), 15).toDouble();
    const auto orientation = request.report == oquivran::PrintReport::ControlListing
                                 ? QPageLayout::Landscape
                                 : QPageLayout::Portrait;
    const int size = FontFit::largestFitting(longest, orientation, margin, saved, minimumFontSize);
    if (FontFit::fits(longest, orientation, margin, size))
        err() << "Tamaño de fuente " << size << ": el mayor (hasta " << saved
              << ") con el que la línea más larga del reporte (" << longest.size()
              << " columnas) entra en la hoja." << Qt::endl;
    else
        err() << "Tamaño de fuente " << size << ": la línea más larga del reporte ("
              << longest.size() << " columnas) no entra en la hoja ni con el menor." << Qt::endl;
    return size;
}

int HostCommands::checkStock()
{
    CheckStock check(m_databases->discharge());
    const QString path = m_databases->dischargePath();
    if (const QString problem = check.problem(); !problem.isEmpty()) {
        err() << "No se puede verificar el stock de " << path << ": " << problem << '\n';
        return DatabaseMissing;
    }
    QList<CheckStock::Difference> found;
    QString error;
    if (!check.differences(found, error, [](int checked, int total) {
            err() << "verificadas " << checked << " de " << total << " líneas de stock" << Qt::endl;
        })) {
        err() << "No se puede verificar el stock de " << path << ": " << error << '\n';
        return DatabaseMissing;
    }
    using Align = TextTable::Align;
    const QList<TextTable::Column> lineColumns = {{"Despacho", "declaration"},
                                                  {"Insumo", "input"},
                                                  {"Ítem", "item", Align::Right},
                                                  {"Sub", "sub", Align::Right},
                                                  {"ARTCAT", "declared", Align::Right, 4},
                                                  {"suma(DIPCAN)", "discharged", Align::Right, 4},
                                                  {"ARTDSC", "available", Align::Right, 4}};
    TextTable stale(lineColumns +
                    QList<TextTable::Column>{{"Esperado", "expected", Align::Right, 4}});
    TextTable over(lineColumns + QList<TextTable::Column>{{"Exceso", "excess", Align::Right, 4},
                                                          {"Operaciones", "operations"}});
    for (const CheckStock::Difference& d : found) {
        const QVariantList values = {d.declaration, d.input,      d.item,     d.subItem,
                                     d.declared,    d.discharged, d.available};
        if (d.overDischarged)
            over.addValues(values + QVariantList{d.excess(), d.operations});
        else
            stale.addValues(values + QVariantList{d.expected});
    }
    const bool repair = m_parser.isSet("repair");
    int repaired = 0;
    if (repair && stale.rowCount() > 0) {
        repaired = check.repair(found, error);
        if (repaired < 0) {
            err() << "No se pudo reparar: " << error << '\n';
            return Failed;
        }
    }
    QList<Section> sections;
    if (stale.rowCount() > 0 || m_format != TextTable::Format::Table)
        sections << Section{
            "differences",
            QStringLiteral("Líneas de stock con diferencias: %1").arg(stale.rowCount()), &stale};
    if (over.rowCount() > 0 || m_format != TextTable::Format::Table)
        sections << Section{"over_discharged",
                            QStringLiteral("Líneas de stock sobre-descargadas (suma(DIPCAN) > "
                                           "ARTCAT): %1")
                                .arg(over.rowCount()),
                            &over};
    if (found.isEmpty() && m_format == TextTable::Format::Table) {
        out() << "Stock correcto: ARTDSC = ARTCAT - suma(DIPCAN) en las " << check.stockLineCount()
              << " líneas de stock.\n";
        return Success;
    }
    write({{"database", path}, {"stock_lines", check.stockLineCount()}, {"repaired", repaired}},
          sections);
    if (repair && stale.rowCount() > 0 && m_format == TextTable::Format::Table)
        out() << "Reparadas " << repaired << " líneas.\n";
    // A line discharged beyond what was declared has no right availability to write: the
    // discharges themselves need review.
    for (const CheckStock::Difference& d : found) {
        if (d.overDischarged)
            err() << "Sobre-descargada" << (repair ? ", no se repara" : "") << ": despacho "
                  << d.declaration << ", insumo " << d.input << ", ítem " << d.item << ", subítem "
                  << d.subItem << ": " << HostText::decimal(d.excess()) << " más que lo declarado ("
                  << HostText::decimal(d.discharged) << " descargado de "
                  << HostText::decimal(d.declared) << ")\n";
    }
    if (over.rowCount() > 0 || (!repair && stale.rowCount() > 0))
        return StockDifferences;
    return Success;
}

int HostCommands::expiring()
{
    // A hundred years: far beyond any temporary-import regime.
    constexpr int maximumHorizon = 36500;
    int horizon = HostSettings::expiryHorizon();
    if (m_parser.isSet("days")) {
        bool ok = false;
        horizon = m_parser.value("days").toInt(&ok);
        if (!ok || horizon < 0 || horizon > maximumHorizon) {
            err() << "Horizonte inválido: " << m_parser.value("days")
                  << " (un número de días de 0 a " << maximumHorizon << ")\n";
            return UsageError;
        }
    }
    QDate asOf = HostSettings::today();
    if (m_parser.isSet("as-of")) {
        asOf = HostText::readDate(m_parser.value("as-of"));
        if (!asOf.isValid()) {
            err() << "Fecha inválida: " << m_parser.value("as-of") << '\n';
            return UsageError;
        }
    }
    // The component's messages go to standard error.
    ConsoleMessages messages(ConsoleMessages::Answer::No);
    oquivran::ExpiryReport report;
    if (!oquivran::expiringStock(asOf, horizon, report))
        return Failed;
    using Align = TextTable::Align;
    TextTable lines({{"Despacho", "declaration"},
                     {"Aduana", "customs_office"},
                     {"Oficialización", "official_date"},
                     {"Vencimiento", "expiry_date"},
                     {"Días", "days_left", Align::Right},
                     {"Insumo", "input"},
                     {"Ítem", "item", Align::Right},
                     {"Sub", "sub", Align::Right},
                     {"Declarado", "declared", Align::Right},
                     {"Descargado", "discharged", Align::Right},
                     {"Disponible", "available", Align::Right},
                     {"CIF unit.", "unit_cif", Align::Right},
                     {"CIF en riesgo", "cif_at_risk", Align::Right},
                     {"Estado", "status"}});
    for (const oquivran::ExpiryLine& l : report.lines) {
        lines.addValues({l.declaration, l.customsOffice, l.officialDate, l.expiryDate,
                         daysLeft(l.state, l.daysLeft), l.input, l.item, l.subItem,
                         figure(l.declared, l.declaredText), figure(l.discharged, l.dischargedText),
                         figure(l.available, l.availableText), figure(l.unitCif, l.unitCifText),
                         figure(l.cifAtRisk, l.cifAtRiskText), expiryStateName(l.state)});
    }
    TextTable declarations({{"Despacho", "declaration"},
                            {"Vencimiento", "expiry_date"},
                            {"Días", "days_left", Align::Right},
                            {"Estado", "status"},
                            {"Líneas", "lines", Align::Right},
                            {"CIF en riesgo", "cif_at_risk", Align::Right}});
    for (const oquivran::ExpiryDeclaration& d : report.declarations) {
        declarations.addValues({d.declaration, d.expiryDate, daysLeft(d.state, d.daysLeft),
                                expiryStateName(d.state), d.lineCount,
                                figure(d.cifAtRisk, d.cifAtRiskText)});
    }
    write({{"as_of", report.asOf.toString(Qt::ISODate)},
           {"horizon_days", report.horizonDays},
           {"expired_lines", report.expiredLines},
           {"due_soon_lines", report.dueSoonLines},
           {"no_expiry_lines", report.noExpiryLines},
           {"cif_at_risk", report.cifAtRisk}},
          {{"lines",
            QStringLiteral("Vencimientos de importación temporal al %1 (horizonte de %2 días)")
                .arg(HostText::date(report.asOf))
                .arg(report.horizonDays),
            &lines},
           {"declarations", QStringLiteral("Por despacho"), &declarations}});
    if (m_format == TextTable::Format::Table) {
        out() << "\nLíneas vencidas: " << report.expiredLines
              << ", por vencer: " << report.dueSoonLines
              << ", sin vencimiento: " << report.noExpiryLines
              << "\nCIF en riesgo: " << report.cifAtRiskText << '\n';
        out().flush();
    }
    if (m_parser.isSet("pdf")) {
        const QString absolute = QFileInfo(m_parser.value("pdf")).absoluteFilePath();
        QFile::remove(absolute);
        qputenv("OQUIVRAN_PDF_OUTPUT", absolute.toLocal8Bit());
        oquivran::PrintRequest request;
        request.output = oquivran::PrintOutput::Printer;
        // The listing's 154 columns fit a landscape A4 page at 8 points.
        request.fontSize = 8;
        if (!oquivran::printExpiryListing(asOf, horizon, request) || !QFileInfo::exists(absolute)) {
            err() << "No se pudo imprimir el listado de vencimientos.\n";
            return Failed;
        }
        err() << "Listado de vencimientos: " << absolute << '\n';
    }
    if (report.hasExpired()) {
        err() << "Líneas de stock con la importación temporal vencida: " << report.expiredLines
              << '\n';
        return Expired;
    }
    return Success;
}
int HostCommands::checkPrintOptions()
{
    int value = 0;
    if (m_parser.isSet("lines") &&
        !wholeOption(m_parser, QStringLiteral("lines"), minimumLines, maximumLines, value))
        return UsageError;
    if (m_parser.isSet("sheet") &&
        !wholeOption(m_parser, QStringLiteral("sheet"), 1, sheetCount, value))
        return UsageError;
    if (m_parser.isSet("font-size") && !wholeOption(m_parser, QStringLiteral("font-size"),
                                                    minimumFontSize, maximumFontSize, value))
        return UsageError;
    return Success;
}

void HostCommands::write(const QList<std::pair<QString, QVariant>>& fields,
                         const QList<Section>& sections) const
{
    switch (m_format) {
    case TextTable::Format::Table:
        for (int i = 0; i < sections.size(); ++i)
            out() << (i > 0 ? "\n" : "") << sections[i].heading << '\n'
                  << sections[i].table->toText();
        break;
    case TextTable::Format::Csv:
        // One CSV table per section, separated by an empty line.
        for (int i = 0; i < sections.size(); ++i)
            out() << (i > 0 ? "\n" : "") << sections[i].table->toCsv();
        break;
    case TextTable::Format::Json: {
        QJsonObject object;
        for (const auto& [key, value] : fields)
            object.insert(key, QJsonValue::fromVariant(value));
        for (const Section& section : sections)
            object.insert(section.key, section.table->toJson());
        out() << QJsonDocument(object).toJson(QJsonDocument::Indented);
        break;
    }
    }
    out().flush();
}
