#include "CheckStockCommand.h"

#include "CheckStock.h"
#include "HostDatabases.h"
#include "HostText.h"

#include <QTextStream>

QList<QCommandLineOption> CheckStockCommand::options()
{
    return {
        {"repair", "Recalcula ARTDSC de las líneas con diferencias (no las sobre-descargadas)."},
        formatOption()};
}

int CheckStockCommand::run()
{
    if (const int opened = openDatabases(); opened != Success)
        return opened;
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
    // The audit trail, where the database keeps it, must replay to each availability.
    const bool audited = m_databases->hasAuditTrail();
    QList<CheckStock::AuditDifference> unexplained;
    if (audited && !check.auditDifferences(unexplained, error)) {
        err() << "No se puede verificar el registro de auditoría de " << path << ": " << error
              << '\n';
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
    TextTable audit({{"Despacho", "declaration"},
                     {"Insumo", "input"},
                     {"Ítem", "item", Align::Right},
                     {"Sub", "sub", Align::Right},
                     {"ARTCAT", "declared", Align::Right, 4},
                     {"suma(AUDNUE-AUDANT)", "moved", Align::Right, 4},
                     {"ARTCAT-suma", "replayed", Align::Right, 4},
                     {"Último INS.ARTDSC", "last_recorded", Align::Right, 4},
                     {"ARTDSC", "available", Align::Right, 4}});
    for (const CheckStock::AuditDifference& d : unexplained)
        audit.addValues({d.declaration, d.input, d.item, d.subItem, d.declared, d.moved,
                         d.replayed(), d.lastRecorded, d.available});
    // --repair writes availabilities only: the trail's rows are never changed.
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
    if (audited && (audit.rowCount() > 0 || m_format != TextTable::Format::Table))
        sections << Section{"audit_differences",
                            QStringLiteral("Líneas de stock que el registro de auditoría no "
                                           "explica: %1")
                                .arg(audit.rowCount()),
                            &audit};
    if (found.isEmpty() && unexplained.isEmpty() && m_format == TextTable::Format::Table) {
        out() << "Stock correcto: ARTDSC = ARTCAT - suma(DIPCAN) en las " << check.stockLineCount()
              << " líneas de stock.\n";
        if (audited)
            out() << "Registro de auditoría correcto: ARTDSC = ARTCAT - suma(AUDNUE - AUDANT) y "
                     "el último INS.ARTDSC en cada línea.\n";
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
    if (over.rowCount() > 0 || (!repair && stale.rowCount() > 0) || audit.rowCount() > 0)
        return StockDifferences;
    return Success;
}
