#include "DeclarationReport.h"

#include "FieldPositions.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "PrintStatements.h"
#include "ReportBuffer.h"

#include <oquivran/Recordset.h>

namespace oquivran {

namespace {

const QString unitPriceFormat = QStringLiteral("00.000000");
const QString totalFormat = QStringLiteral("0.00");

// The columns whose totals the closing block shows, and the first column's title there.
const QStringList totalledColumns = {QStringLiteral("Cant Ins."), QStringLiteral("Perdida"),
                                     QStringLiteral("Merma"), QStringLiteral("CIF Total")};

// The fields a detail line shows, found once in the rows of the kept statement of lines.
enum DetailField { Discharged, Price, RealQuantity, Declaration, Input, Expiry, Ctc, Relation };
FieldPositions detailPositions({QStringLiteral("DIPCANex"), QStringLiteral("ARTPRE"),
                                QStringLiteral("RALCANex"), QStringLiteral("ARTDCL"),
                                QStringLiteral("ARTNRO"), QStringLiteral("INTVEN"),
                                QStringLiteral("DIPCTC"), QStringLiteral("RIPCANex")});

} // namespace

qint16 DeclarationReport::ruleLength() const
{
    return byMode(135, 153);
}

ColumnLayout DeclarationReport::layout() const
{
    return ColumnLayout({
        {QStringLiteral("D.I.T."), 16, Alignment::Left},
        {QStringLiteral("Insumo"), 15, Alignment::Left},
        {QStringLiteral("Vencimiento"), 10, Alignment::Left},
        {QStringLiteral("C.T.C."), 10, Alignment::Left},
        {QStringLiteral("Rel Ins-Prod"), byMode(12, 18), Alignment::Right},
        // In extended mode the title keeps a narrower width than its values.
        {QStringLiteral("Cant Ins."), byMode(14, 23), Alignment::Right, byMode(14, 15)},
        {QStringLiteral("Perdida"), byMode(12, 15), Alignment::Right},
        {QStringLiteral("Merma"), byMode(12, 15), Alignment::Right},
        {QStringLiteral("CIF Unitario"), 12, Alignment::Right},
        {QStringLiteral("CIF Total"), 10, Alignment::Right},
    });
}

SharedStatement DeclarationReport::linesStatement(const QString& interno, qint16 idsub) const
{
    return PrintStatements::summedLinesStatement(interno, idsub);
}

QString DeclarationReport::headingPrefix(const QString& idarticulo) const
{
    return idarticulo + QStringLiteral(" - ");
}

void DeclarationReport::detailValues(const Recordset& row, ReportTotals& totals,
                                     QStringList& values) const
{
    const ModuleState& state = moduleState();
    const QList<int>& at = detailPositions.in(row);
    const double discharged = real(row, at[Discharged]);
    const double quantity = NumberFormat::print(values[5], discharged, state.valueFormat);
    lossAndShrinkage(row, discharged, totals, values[6], values[7]);
    const double unitPrice = NumberFormat::print(values[8], real(row, at[Price]), unitPriceFormat);
    // The CIF total is taken from the real quantity, not the discharged one, each as printed.
    const double cif = NumberFormat::print(
        values[9], shown(real(row, at[RealQuantity]), state.valueFormat) * unitPrice, totalFormat);

    totals.inputQuantity += quantity;
    totals.cif += cif;

    values[0] = text(row, at[Declaration]);
    values[1] = text(row, at[Input]);
    values[2] = text(row, at[Expiry]);
    values[3] = text(row, at[Ctc]);
    formatted(values[4], row, at[Relation], state.valueFormat);
}

void DeclarationReport::appendClosing(const ReportTotals& totals) const
{
    const ColumnLayout columns = layout();
    QStringList titles(columns.count());
    QStringList rules(columns.count());
    titles[0] = QStringLiteral("TOTALES");
    for (const QString& title : totalledColumns) {
        const int column = columns.indexOf(title);
        titles[column] = title;
        rules[column] = columns.rule(column, ColumnLayout::Widths::Values);
    }

    const QString fullRule = rule(ruleLength());
    ReportBuffer::append(LineKind::Title, QString());
    ReportBuffer::append(LineKind::Title, fullRule);
    // The totals' titles and rules line up under the detail lines' columns.
    ReportBuffer::append(LineKind::Title, columns.line(titles, ColumnLayout::Widths::Values));
    ReportBuffer::append(LineKind::Title, columns.line(rules, ColumnLayout::Widths::Values));
    ReportBuffer::append(LineKind::Title, totalsLine(totals));
    ReportBuffer::append(LineKind::Title, fullRule);
    ReportBuffer::append(LineKind::Title, QString());
    ReportBuffer::append(LineKind::Title, QString());
    ReportBuffer::append(LineKind::Title,
                         QStringLiteral("Declaramos bajo juramento que la relación "
                                        "Insumo/Producto/Merma/Pérdida no ha sido modificada"));
    ReportBuffer::append(LineKind::Title,
                         QStringLiteral("y se corresponde con las tipificaciones declaradas en el "
                                        "presente Permiso de Embarque"));
}

QString DeclarationReport::totalsLine(const ReportTotals& totals) const
{
    const QString& lossFormat = moduleState().secondFormat;
    // The blanks bring the input total under its column in normal mode; extended mode adds
    // twelve, as the system does.
    const QStringList fields = {
        Alinear(QStringLiteral("Cantidad declarada:"), Alignment::Right, 45),
        Alinear(NumberFormat::format(totals.declaredQuantity, totalFormat), Alignment::Left, 12),
        QString(byMode(9, 21), u' '),
        Alinear(NumberFormat::format(totals.inputQuantity, totalFormat), Alignment::Right, 13),
        Alinear(NumberFormat::format(totals.loss, lossFormat), Alignment::Right, byMode(12, 15)),
        Alinear(NumberFormat::format(totals.shrinkage, lossFormat), Alignment::Right,
                byMode(12, 15)),
        QString(12, u' '),
        Alinear(NumberFormat::format(totals.cif, totalFormat), Alignment::Right, 10),
    };
    return fields.join(u' ');
}

} // namespace oquivran
