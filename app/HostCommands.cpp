#include "HostCommands.h"
#include "HostText.h"

#include "CheckStock.h"
#include "ConsoleMessages.h"
#include "ExpiryOutput.h"
#include "ExportOperation.h"
#include "HostDatabases.h"
#include "HostSettings.h"
#include "SampleData.h"
#include "TextTable.h"

#include <oquivran/oquivran.h>

#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTextStream>

namespace {

struct Subcommand
{
    const char* name;
    const char* summary;
};

const Subcommand subcommands[] = {
    {"init", "crea las dos bases con la muestra (--force las reemplaza)"},
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

const char* exitCodesText = "Códigos de salida:\n"
                            "  0  correcto\n"
                            "  1  uso incorrecto (subcomando, opción o valor)\n"
                            "  2  falta una base de datos o no se puede abrir\n"
                            "  3  operación, subítem o ítem desconocido\n"
                            "  4  el componente rechazó una descarga o una eliminación\n"
                            "  5  check-stock encontró líneas con disponibilidad incorrecta\n"
                            "  6  falló la numeración o la impresión\n"
                            "  7  expiring encontró stock con la importación temporal vencida\n";

// The sample host runs several operators on one stock: atomic writes are on (main.cpp).
const char* atomicWritesText =
    "Escrituras atómicas: activadas. Cada descarga, eliminación, numeración de ítems,\n"
    "edición de C.T.C. y registro de la oficialización se escribe entera o no se escribe:\n"
    "varios operadores pueden descargar de la misma base a la vez, y una descarga que\n"
    "otro operador dejó sin stock se rechaza sin escribir nada.\n";

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

QString decimalText(double value, int decimals = 4)
{
    return HostText::decimal(value, decimals);
}

const QList<TextTable::Align> lineAligns = {
    TextTable::Align::Right, TextTable::Align::Left,  TextTable::Align::Left,
    TextTable::Align::Right, TextTable::Align::Right, TextTable::Align::Right,
    TextTable::Align::Right, TextTable::Align::Right, TextTable::Align::Left};

TextTable linesTable()
{
    return TextTable(
        {"Subítem", "Despacho", "Insumo", "Ítem", "Sub", "Cantidad", "Real", "CIF unit.", "C.T.C."},
        lineAligns);
}

void addLines(TextTable& table, const QList<DischargeLine>& lines)
{
    for (const DischargeLine& l : lines) {
        table.addRow({QString::number(l.subItem), l.declaration, l.input,
                      QString::number(l.stockItem), QString::number(l.stockSubItem),
                      decimalText(l.quantity), decimalText(l.realQuantity),
                      decimalText(l.unitPrice, 6), l.ctc});
    }
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
            "     oquivran-host SUBCOMANDO [opciones]   (oquivran-host SUBCOMANDO --help)\n\n"
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
    if (m_name == u"init") {
        m_parser.addOption({"force", "Reemplaza las bases existentes."});
    } else if (m_name == u"discharge") {
        m_parser.addOptions({subItem,
                             all,
                             {"accept-incomplete", "Descarga aunque falte stock de algún insumo."},
                             {"restar-merma", "Resta merma y pérdida de la cantidad real."}});
    } else if (m_name == u"remove") {
        m_parser.addOptions({subItem, all});
    } else if (m_name == u"inputs") {
        m_parser.addOption({"item", "Ítem de la operación.", "n"});
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
            {"subregimen", "Subrégimen impreso en el formulario.", "texto"},
            {"aduana", "Aduana impresa en el formulario.", "texto"},
            {"forms", "Carpeta de los formularios adjN.kbx.", "carpeta"},
            {"lines", "Líneas por hoja.", "n"},
        });
    } else if (m_name == u"check-stock") {
        m_parser.addOption({"repair", "Recalcula ARTDSC de las líneas con diferencias."});
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
    ConsoleMessages messages(m_parser.isSet("yes") ? ConsoleMessages::Answer::Yes
                                                   : ConsoleMessages::Answer::No);
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
    const bool exists = HostDatabases::exists(dischargePath, HostDatabases::Which::Discharge) ||
                        HostDatabases::exists(hostPath, HostDatabases::Which::Host);
    if (exists && !m_parser.isSet("force")) {
        err() << "Las bases ya existen (use --force para reemplazarlas): " << dischargePath << ", "
              << hostPath << '\n';
        return UsageError;
    }
    HostDatabases databases;
    if (!databases.remove(dischargePath, HostDatabases::Which::Discharge) ||
        !databases.remove(hostPath, HostDatabases::Which::Host)) {
        err() << databases.errorText() << '\n';
        return DatabaseMissing;
    }
    if (databases.open(dischargePath, hostPath, HostDatabases::Missing::CreateSample) !=
        HostDatabases::Status::Created) {
        err() << databases.errorText() << '\n';
        return DatabaseMissing;
    }
    out() << "Bases de muestra creadas:\n  " << dischargePath << "\n  " << hostPath << '\n';
    return Success;
}

int HostCommands::discharge()
{
    int exitCode = Success;
    const QList<int> selected = selectedSubItems(exitCode);
    if (selected.isEmpty())
        return exitCode;
    m_component->Restar_PerMer(m_parser.isSet("restar-merma"));
    const bool acceptIncomplete = m_parser.isSet("accept-incomplete");
    TextTable lines = linesTable();
    TextTable totals({"Subítem", "Catálogo", "Producto", "Cantidad", "Resultado",
                      "Cant. descontada", "CIF descontado"},
                     {TextTable::Align::Right, TextTable::Align::Left, TextTable::Align::Left,
                      TextTable::Align::Right, TextTable::Align::Left, TextTable::Align::Right,
                      TextTable::Align::Right});
    int done = 0;
    for (int idsub : selected) {
        const SubItem& s = *m_operation->subItem(idsub);
        err() << "[" << ++done << "/" << selected.size() << "] subítem " << idsub << " "
              << s.catalog << "/" << s.product << Qt::endl;
        QString result;
        QString quantity;
        QString cif;
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
            if (oquivran::dischargeAsProposed(acceptIncomplete)) {
                result = QStringLiteral("descargado");
                quantity = decimalText(m_component->CantidadDescontada());
                cif = decimalText(m_component->CIFDescontado(), 2);
                addLines(lines, m_operation->dischargeLines(idsub));
            } else {
                result = QStringLiteral("RECHAZADO");
                exitCode = Refused;
            }
        }
        totals.addRow({QString::number(idsub), s.catalog, s.product, decimalText(s.quantity, 2),
                       result, quantity, cif});
    }
    out() << "Operación " << m_operation->interno() << " - líneas escritas\n"
          << lines.toText() << '\n'
          << "Totales\n"
          << totals.toText();
    if (exitCode == Refused)
        err() << "Hubo descargas rechazadas.\n";
    return exitCode;
}

int HostCommands::remove()
{
    int exitCode = Success;
    const QList<int> selected = selectedSubItems(exitCode);
    if (selected.isEmpty())
        return exitCode;
    TextTable table({"Subítem", "Líneas eliminadas", "Resultado"},
                    {TextTable::Align::Right, TextTable::Align::Right, TextTable::Align::Left});
    for (int idsub : selected) {
        const SubItem& s = *m_operation->subItem(idsub);
        const int lineCount = int(m_operation->dischargeLines(idsub).size());
        if (lineCount == 0) {
            table.addRow(
                {QString::number(idsub), QStringLiteral("0"), QStringLiteral("sin descarga")});
            continue;
        }
        m_operation->setOn(*m_component, s);
        const bool removed = m_component->EliminarInsumo();
        if (!removed)
            exitCode = Refused;
        table.addRow({QString::number(idsub), QString::number(lineCount),
                      removed ? QStringLiteral("eliminado") : QStringLiteral("FALLÓ")});
    }
    out() << "Operación " << m_operation->interno() << '\n' << table.toText();
    return exitCode;
}

int HostCommands::number()
{
    QList<int> skipped;
    if (!m_operation->numberItems(*m_component, skipped)) {
        err() << "La numeración de ítems falló.\n";
        return Failed;
    }
    TextTable table({"Ítem", "Subítems", "Líneas numeradas"},
                    {TextTable::Align::Right, TextTable::Align::Left, TextTable::Align::Right});
    const QList<DischargeLine> lines = m_operation->dischargeLines();
    for (int item : m_operation->items()) {
        int count = 0;
        for (const DischargeLine& l : lines)
            count += l.exportItem == item ? 1 : 0;
        table.addRow({QString::number(item), m_operation->itemSubItems(item),
                      skipped.contains(item) ? QStringLiteral("sin descarga, no numerado")
                                             : QString::number(count)});
    }
    for (int item : skipped)
        err() << "El ítem " << item << " tiene subítems sin descarga: no se numera.\n";
    out() << "Operación " << m_operation->interno() << '\n' << table.toText();
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
    TextTable table(fields);
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        QStringList row;
        for (const QString& field : fields) {
            const QVariant value = rs.value(field);
            row << (value.typeId() == QMetaType::QDate ? value.toDate().toString(Qt::ISODate)
                                                       : value.toString());
        }
        table.addRow(row);
    }
    out() << "Operación " << m_operation->interno() << " - insumos del ítem " << item << " ("
          << table.rowCount() << ")\n"
          << table.toText();
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
    request.officialNumber = m_parser.value("aat");
    request.officialDate = dateText(m_parser.value("date"));
    request.invoices = m_parser.value("invoices");
    request.sheet = m_parser.value("sheet");
    request.linesPerPage = qint16(m_parser.value("lines").toInt());
    request.progress = [](const QString& text) {
        err() << text << Qt::endl;
    };
    m_component->SubRegimen(m_parser.value("subregimen"));
    m_component->Aduana(m_parser.value("aduana"));
    if (m_parser.isSet("forms"))
        m_component->Dir_Formularios(m_parser.value("forms"));

    // The text method appends pages: start from an empty file.
    const QString absolute = QFileInfo(path).absoluteFilePath();
    QFile::remove(absolute);
    const bool text = request.output == oquivran::PrintOutput::Text;
    qputenv(text ? "OQUIVRAN_TEXT_OUTPUT" : "OQUIVRAN_PDF_OUTPUT", absolute.toLocal8Bit());
    const bool printed = oquivran::printReport(request);
    if (!printed || !QFileInfo::exists(absolute)) {
        err() << "No se pudo imprimir el reporte.\n";
        return Failed;
    }
    out() << absolute << '\n';
    return Success;
}

int HostCommands::checkStock()
{
    CheckStock check(m_databases->discharge());
    const QList<CheckStock::Difference> differences = check.differences([](int checked, int total) {
        err() << "verificadas " << checked << " de " << total << " líneas de stock" << Qt::endl;
    });
    if (differences.isEmpty()) {
        out() << "Stock correcto: ARTDSC = ARTCAT - suma(DIPCAN) en todas las líneas.\n";
        return Success;
    }
    TextTable table(
        {"Despacho", "Insumo", "Ítem", "Sub", "ARTCAT", "suma(DIPCAN)", "ARTDSC", "Esperado"},
        {TextTable::Align::Left, TextTable::Align::Left, TextTable::Align::Right,
         TextTable::Align::Right, TextTable::Align::Right, TextTable::Align::Right,
         TextTable::Align::Right, TextTable::Align::Right});
    for (const CheckStock::Difference& d : differences) {
        table.addRow({d.declaration, d.input, QString::number(d.item), QString::number(d.subItem),
                      decimalText(d.declared), decimalText(d.discharged), decimalText(d.available),
                      decimalText(d.expected)});
    }
    out() << "Líneas de stock con diferencias: " << differences.size() << '\n' << table.toText();
    if (!m_parser.isSet("repair"))
        return StockDifferences;
    QString error;
    if (!check.repair(differences, error)) {
        err() << "No se pudo reparar: " << error << '\n';
        return Failed;
    }
    out() << "Reparadas " << differences.size() << " líneas.\n";
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
    ExpiryOutput::Format format = ExpiryOutput::Format::Table;
    if (!ExpiryOutput::formatOf(m_parser.value("format"), format)) {
        err() << "Formato desconocido: " << m_parser.value("format") << " (table, csv o json)\n";
        return UsageError;
    }

    // The component's messages go to standard error.
    ConsoleMessages messages(ConsoleMessages::Answer::No);
    oquivran::ExpiryReport report;
    if (!oquivran::expiringStock(asOf, horizon, report))
        return Failed;
    out() << ExpiryOutput::text(report, format);
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
