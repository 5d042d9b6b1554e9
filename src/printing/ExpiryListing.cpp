#include "ExpiryListing.h"

#include "DateText.h"
#include "NumberFormat.h"
#include "ReportBuffer.h"
#include "ReportKind.h"

#include <oquivran/Expiry.h>

namespace oquivran {

namespace {

// Column positions in layout().
enum Column {
    DeclarationColumn = 0,
    InputColumn = 5,
    CifAtRiskColumn = 12,
    ColumnCount = 14,
};

QString stateMark(ExpiryState state)
{
    switch (state) {
    case ExpiryState::Expired:
        return ExpiryListing::expiredMark();
    case ExpiryState::NoExpiry:
        return ExpiryListing::noExpiryMark();
    case ExpiryState::DueSoon:
        break;
    }
    return QString();
}

QStringList detailValues(const ExpiryLine& line)
{
    const bool hasExpiry = line.state != ExpiryState::NoExpiry;
    return {line.declaration,
            line.customsOffice.left(3),
            DateText::toText(line.officialDate),
            DateText::toText(line.expiryDate),
            hasExpiry ? QString::number(line.daysLeft) : QString(),
            line.input,
            NumberFormat::format(line.item, QStringLiteral("000")),
            NumberFormat::format(line.subItem, QStringLiteral("000")),
            line.declaredText,
            line.dischargedText,
            line.availableText,
            line.unitCifText,
            line.cifAtRiskText,
            stateMark(line.state)};
}

// A line with a label in the declaration and input columns and a figure under the CIF at risk.
QString figureLine(const ColumnLayout& columns, const QString& first, const QString& label,
                   const QString& figure)
{
    QStringList texts(ColumnCount);
    texts[DeclarationColumn] = first;
    texts[InputColumn] = label;
    texts[CifAtRiskColumn] = figure;
    return columns.detailLine(texts);
}

} // namespace

ColumnLayout ExpiryListing::layout()
{
    return ColumnLayout({
        {QStringLiteral("D.I.T."), 16, Alignment::Left},
        {QStringLiteral("Adu"), 3, Alignment::Left},
        {QStringLiteral("Oficializ."), 10, Alignment::Left},
        {QStringLiteral("Vencimiento"), 11, Alignment::Left},
        {QStringLiteral("Dias"), 5, Alignment::Right},
        {QStringLiteral("Insumo"), 15, Alignment::Left},
        {QStringLiteral("ITM"), 3, Alignment::Left},
        {QStringLiteral("SBT"), 3, Alignment::Left},
        {QStringLiteral("Declarado"), 14, Alignment::Right},
        {QStringLiteral("Descargado"), 14, Alignment::Right},
        {QStringLiteral("Disponible"), 14, Alignment::Right},
        {QStringLiteral("CIF Unitario"), 12, Alignment::Right},
        {QStringLiteral("CIF en riesgo"), 13, Alignment::Right},
        {QStringLiteral("Estado"), 8, Alignment::Left},
    });
}

QString ExpiryListing::title(const QDate& asOf, int horizonDays)
{
    return QStringLiteral("VENCIMIENTOS DE IMPORTACION TEMPORAL AL ") + DateText::toText(asOf) +
           QStringLiteral(" - HORIZONTE: ") + QString::number(horizonDays) +
           QStringLiteral(" DIAS");
}

QString ExpiryListing::expiredMark()
{
    return QStringLiteral("VENCIDA");
}

QString ExpiryListing::noExpiryMark()
{
    return QStringLiteral("SIN VTO.");
}

bool ExpiryListing::GenerarVencimientos(const QDate& asOf, int horizonDays)
{
    ReportBuffer::clear();
    ExpiryReport report;
    if (!expiringStock(asOf, horizonDays, report))
        return false;
    fill(report);
    return true;
}

void ExpiryListing::fill(const ExpiryReport& report)
{
    ReportBuffer::clear();
    const ColumnLayout columns = layout();
    const QString rule = ReportKind::rule(columns.detailLine({}).size());
    QStringList underCif(ColumnCount);
    underCif[CifAtRiskColumn] = columns.rule(CifAtRiskColumn, ColumnLayout::Widths::Values);
    const QString cifRule = columns.detailLine(underCif);

    ReportBuffer::append(LineKind::Title, title(report.asOf, report.horizonDays));
    ReportBuffer::append(LineKind::Title, rule);
    ReportBuffer::append(LineKind::Title, columns.titleLine());
    ReportBuffer::append(LineKind::Title, columns.ruleLine());
    if (report.lines.isEmpty())
        ReportBuffer::append(LineKind::Detail,
                             QStringLiteral("No hay declaraciones vencidas ni por vencer."));

    int next = 0;
    for (const ExpiryDeclaration& declaration : report.declarations) {
        for (int i = 0; i < declaration.lineCount; ++i)
            ReportBuffer::append(LineKind::Detail,
                                 columns.detailLine(detailValues(report.lines.at(next++))));
        ReportBuffer::append(LineKind::Title, cifRule);
        ReportBuffer::append(LineKind::Title,
                             figureLine(columns, declaration.declaration,
                                        QStringLiteral("Subtotal"), declaration.cifAtRiskText));
        ReportBuffer::append(LineKind::Detail, QString());
    }

    ReportBuffer::append(LineKind::Title, rule);
    ReportBuffer::append(LineKind::Title,
                         figureLine(columns, QStringLiteral("TOTAL"),
                                    QStringLiteral("CIF en riesgo"), report.cifAtRiskText));
    ReportBuffer::append(
        LineKind::Title,
        QStringLiteral("Lineas vencidas: ") + QString::number(report.expiredLines) +
            QStringLiteral(" - por vencer: ") + QString::number(report.dueSoonLines) +
            QStringLiteral(" - sin vencimiento: ") + QString::number(report.noExpiryLines));
    ReportBuffer::append(LineKind::Title, rule);
}

} // namespace oquivran
