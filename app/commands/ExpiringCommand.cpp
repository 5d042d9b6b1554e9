#include "ExpiringCommand.h"

#include "ConsoleMessages.h"
#include "HostSettings.h"
#include "HostText.h"

#include <oquivran/oquivran.h>

#include <QFile>
#include <QFileInfo>
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

} // namespace

QList<QCommandLineOption> ExpiringCommand::options()
{
    return {
        {"days",
         "Horizonte en días (por omisión el de la configuración, " +
             QString::number(HostSettings::expiryHorizon()) + ").",
         "n"},
        {"as-of", "Fecha de referencia (AAAA-MM-DD o en el formato local; por omisión hoy).",
         "fecha"},
        {"format", "table, csv o json (por omisión table).", "formato", "table"},
        {"pdf", "Imprime además el listado de vencimientos en este PDF.", "archivo"},
    };
}

int ExpiringCommand::run()
{
    if (const int opened = openDatabases(); opened != Success)
        return opened;
    // A hundred years: far beyond any temporary-import regime.
    constexpr int maximumHorizon = 36500;
    int horizon = HostSettings::expiryHorizon();
    if (m_parser.isSet("days")) {
        const std::optional<int> days =
            wholeOption(QStringLiteral("days"), 0, maximumHorizon,
                        QStringLiteral("Horizonte inválido: %1 (un número de días de 0 a %2)")
                            .arg(m_parser.value("days"), QString::number(maximumHorizon)));
        if (!days)
            return UsageError;
        horizon = *days;
    }
    QDate asOf = HostSettings::today();
    if (m_parser.isSet("as-of")) {
        const std::optional<QDate> date = dateOption(QStringLiteral("as-of"));
        if (!date)
            return UsageError;
        asOf = *date;
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
        oquivran::PrintRequest request;
        request.output = oquivran::PrintOutput::Printer;
        request.outputFile = absolute;
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
