#include "ComparativeReport.h"

#include "NumberFormat.h"
#include "PrintStatements.h"

#include <oquivran/Recordset.h>

namespace oquivran {

qint16 ComparativeReport::ruleLength() const
{
    return 113;
}

ColumnLayout ComparativeReport::layout() const
{
    // The numeric titles are wider than their values in extended mode.
    const qint16 numericTitle = byMode(15, 15 + 6);
    return ColumnLayout({
        {QStringLiteral("D.I.T."), 16, Alignment::Left},
        {QStringLiteral("Adu "), 3, Alignment::Left},
        {QStringLiteral("Insumo"), 20, Alignment::Left},
        {QStringLiteral("Vencimiento"), 12, Alignment::Left},
        {QStringLiteral("C.T.C."), 10, Alignment::Left},
        {QStringLiteral("Transferido"), 15, Alignment::Right, numericTitle},
        {QStringLiteral("Insum Real"), 15, Alignment::Right, numericTitle},
        {QStringLiteral("Resto"), 15, Alignment::Right, numericTitle},
    });
}

SharedStatement ComparativeReport::linesStatement(const QString& interno, qint16 idsub) const
{
    return PrintStatements::summedLinesStatement(interno, idsub);
}

bool ComparativeReport::rulesUnderTitles() const
{
    return true;
}

void ComparativeReport::detailValues(const Recordset& row, ReportTotals& totals,
                                     QStringList& values) const
{
    Q_UNUSED(totals);
    const QString twoDecimals = QStringLiteral("00.00");
    double transferred = shown(real(row, QStringLiteral("RALCANex")), twoDecimals);
    if (transferred < minimumTransferred)
        transferred = minimumTransferred;
    const double discharged = real(row, QStringLiteral("DIPCANex"));

    values[0] = text(row, QStringLiteral("ARTDCL"));
    values[1] = text(row, QStringLiteral("INTADU")).left(3);
    values[2] = text(row, QStringLiteral("ARTNRO"));
    values[3] = text(row, QStringLiteral("INTVEN"));
    values[4] = text(row, QStringLiteral("DIPCTC"));
    NumberFormat::write(values[5], transferred, twoDecimals);
    NumberFormat::write(values[6], discharged, QStringLiteral("00.000000"));
    NumberFormat::write(values[7], transferred - discharged, QStringLiteral("00.00000000"));
}

} // namespace oquivran
