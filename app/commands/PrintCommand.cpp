#include "PrintCommand.h"

#include "ConsoleMessages.h"
#include "ExportOperation.h"
#include "FontFit.h"
#include "HostText.h"

#include <oquivran/oquivran.h>

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>

#include <tuple>

namespace {

// The ranges the print options accept.
constexpr int minimumFontSize = 4;
constexpr int maximumFontSize = 72;
constexpr int minimumLines = 10;
constexpr int maximumLines = 300;
constexpr int sheetCount = 5;

// The values of --report; the first is the one taken when it is not given.
const HostCommand::Choice<oquivran::PrintReport> reports[] = {
    {"declaracion", oquivran::PrintReport::Declaration},
    {"control", oquivran::PrintReport::ControlListing},
    {"comparativo", oquivran::PrintReport::ComparativeListing},
};

// The values of --method.
const HostCommand::Choice<oquivran::PrintOutput> methods[] = {
    {"text", oquivran::PrintOutput::Text, "texto, MODO DOS"},
    {"pdf", oquivran::PrintOutput::Printer, "solo caída"},
    {"form", oquivran::PrintOutput::Form, "PDF sobre el formulario"},
};
// The method taken when --method is not given.
constexpr const char* defaultMethod = "pdf";

} // namespace

QList<QCommandLineOption> PrintCommand::options()
{
    return {
        {"report",
         QStringLiteral("%1 (por omisión %2).")
             .arg(choicesText(reports, Notes::Left), QString::fromLatin1(reports[0].text)),
         "reporte", QString::fromLatin1(reports[0].text)},
        {"method", choicesText(methods, Notes::Said) + u'.', "metodo",
         QString::fromLatin1(defaultMethod)},
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
        {"lines", QStringLiteral("Líneas por hoja, %1 a %2.").arg(minimumLines).arg(maximumLines),
         "n"},
        {"replace", "Reemplaza el número y la fecha oficiales que la declaración ya registró "
                    "en la operación (sin esta opción, otros en --aat o --date se rechazan)."},
    };
}

int PrintCommand::run()
{
    if (const int checked = checkOptions(); checked != Success)
        return checked;
    if (const int opened = openOperation(); opened != Success)
        return opened;
    return print();
}

int PrintCommand::checkOptions()
{
    for (const auto& [name, minimum, maximum] :
         {std::tuple("lines", minimumLines, maximumLines), std::tuple("sheet", 1, sheetCount),
          std::tuple("font-size", minimumFontSize, maximumFontSize)}) {
        if (m_parser.isSet(name) && !wholeOption(QString::fromLatin1(name), minimum, maximum))
            return UsageError;
    }
    return Success;
}

int PrintCommand::print()
{
    const std::optional<oquivran::PrintReport> report =
        choiceOption(m_parser, QStringLiteral("report"), reports, "Reporte desconocido");
    if (!report)
        return UsageError;
    const std::optional<oquivran::PrintOutput> method =
        choiceOption(m_parser, QStringLiteral("method"), methods, "Método desconocido");
    if (!method)
        return UsageError;
    oquivran::PrintRequest request;
    request.report = *report;
    request.output = *method;
    const QString path = m_parser.value("out");
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
    const std::optional<OfficialData> replaced =
        request.report == oquivran::PrintReport::Declaration ? replacedData()
                                                             : std::optional<OfficialData>();
    if (replaced && !m_parser.isSet("replace")) {
        err() << "La operación " << m_operation->interno()
              << " ya tiene registrados el número oficial y la fecha " << replaced->text()
              << "; para reemplazarlos por " << newData(*replaced).text() << " use --replace.\n";
        return RecordedExportData;
    }
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
    if (replaced)
        err() << "Reemplazados el número oficial y la fecha de la operación "
              << m_operation->interno() << ": " << replaced->text() << " -> "
              << newData(*replaced).text() << '\n';
    out() << absolute << '\n';
    return Success;
}

std::optional<OfficialData> PrintCommand::replacedData() const
{
    const OfficialData recorded = m_operation->officialData();
    if (recorded.isEmpty())
        return std::nullopt;
    const OfficialData printed = newData(recorded);
    // A date the component cannot read is refused by it, before anything is recorded.
    if (m_parser.isSet("date") && !printed.date.isValid())
        return std::nullopt;
    if (printed.number == recorded.number && printed.date == recorded.date)
        return std::nullopt;
    return recorded;
}

OfficialData PrintCommand::newData(const OfficialData& recorded) const
{
    // What --aat and --date leave out stays as recorded.
    OfficialData printed = recorded;
    if (!m_parser.value("aat").isEmpty())
        printed.number = m_parser.value("aat");
    if (!m_parser.value("date").isEmpty())
        printed.date = HostText::readDate(m_parser.value("date"));
    return printed;
}

int PrintCommand::fittingFontSize(const oquivran::PrintRequest& request)
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
