#include "DischargeCommand.h"

#include "ExportOperation.h"

#include <oquivran/oquivran.h>

#include <QTextStream>

namespace {

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

} // namespace

QList<QCommandLineOption> DischargeCommand::options()
{
    return {subItemOption(),
            allOption(),
            formatOption(),
            {"accept-incomplete", "Descarga aunque falte stock de algún insumo."},
            {"restar-merma", "Resta merma y pérdida de la cantidad real."}};
}

int DischargeCommand::run()
{
    QList<int> selected;
    if (const int opened = openSubItems(selected); opened != Success || selected.isEmpty())
        return opened;
    int exitCode = Success;
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
