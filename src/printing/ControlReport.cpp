#include "ControlReport.h"

#include "ModuleState.h"
#include "NumberFormat.h"
#include "PrintStatements.h"

#include <oquivran/Recordset.h>

namespace oquivran {

qint16 ControlReport::ruleLength() const
{
    return byMode(155 + 23, 155 + 50);
}

ColumnLayout ControlReport::layout() const
{
    return ColumnLayout({
        {QStringLiteral("Nro D.I.T."), 16, Alignment::Left},
        {QStringLiteral("ITM"), 3, Alignment::Left},
        {QStringLiteral("SBT"), 3, Alignment::Left},
        {QStringLiteral("Producto"), 15, Alignment::Left},
        {QStringLiteral("Insumo"), 15, Alignment::Left},
        {QStringLiteral("NCM"), 15, Alignment::Left},
        {QStringLiteral("Rel Ins Prd"), byMode(12, 18), Alignment::Right},
        {QStringLiteral("Conversor"), 9, Alignment::Right},
        {QStringLiteral("Cant Ins."), byMode(9, 15), Alignment::Right},
        {QStringLiteral("Perdida"), byMode(12, 15), Alignment::Right},
        {QStringLiteral("Merma"), byMode(12, 15), Alignment::Right},
        {QStringLiteral("Cant Real"), byMode(9, 15), Alignment::Right},
        {QStringLiteral("CIF Unitario"), 12, Alignment::Right},
        {QStringLiteral("CIF Total"), 12, Alignment::Right},
        {QStringLiteral("C.T.C."), 10, Alignment::Left},
    });
}

SharedStatement ControlReport::linesStatement(const QString& interno, qint16 idsub) const
{
    return PrintStatements::controlLinesStatement(interno, idsub);
}

void ControlReport::detailValues(const Recordset& row, ReportTotals& totals,
                                 QStringList& values) const
{
    const ModuleState& state = moduleState();
    const double discharged = real(row, QStringLiteral("DIPCAN"));
    lossAndShrinkage(row, discharged, totals, values[9], values[10]);

    values[0] = text(row, QStringLiteral("ARTDCL"));
    values[1] = formatted(row, QStringLiteral("ARTITM"), QStringLiteral("000"));
    values[2] = formatted(row, QStringLiteral("ARTSBT"), QStringLiteral("000"));
    values[3] = text(row, QStringLiteral("PRDNRO"));
    values[4] = text(row, QStringLiteral("ARTNRO"));
    values[5] = text(row, QStringLiteral("ARTNCM"));
    values[6] = formatted(row, QStringLiteral("RIPCAN"), state.valueFormat);
    values[7] = formatted(row, QStringLiteral("PRDMUL"), QStringLiteral("0.00"));
    values[8] = formatted(row, QStringLiteral("DIPCAN"), state.valueFormat);
    values[11] = formatted(row, QStringLiteral("RALCAN"), state.valueFormat);
    values[12] = formatted(row, QStringLiteral("ARTPRE"), QStringLiteral("00.000000"));
    values[13] = NumberFormat::format(real(row, QStringLiteral("RALCAN")) *
                                          real(row, QStringLiteral("ARTPRE")),
                                      QStringLiteral("0.00"));
    values[14] = text(row, QStringLiteral("DIPCTC"));
}

} // namespace oquivran
