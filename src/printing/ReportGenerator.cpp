#include "ReportGenerator.h"

#include "BoundData.h"
#include "ErrorMessage.h"
#include "Messages.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "PrintStatements.h"
#include "ReportBuffer.h"
#include "ReportKind.h"
#include "ValueConversion.h"
#include "WholeNumber.h"

#include <oquivran/Recordset.h>

namespace oquivran {

namespace {

const QString walkLabel = QStringLiteral("Sección [oQUIVRAN.modManejoInsumos.GenerarOM]");
const QString subItemLabel = QStringLiteral(" - Sección [oQUIVRAN.modManejoInsumos.Generar_Linea]");

qint16 wholeField(const Recordset& rs, const QString& field)
{
    return WholeNumber::toInt16(ValueConversion::toReal(rs.value(field)));
}

} // namespace

ReportGenerator::ReportGenerator(const ReportKind& kind) : m_kind(kind) {}

bool ReportGenerator::GenerarOM() const
{
    return ErrorMessage::guard(walkLabel, [this] {
        ReportBuffer::clear();
        const QString interno = moduleState().INTERNO;

        Recordset items;
        if (!BoundData::open(PrintStatements::itemsStatement(interno), items,
                             BoundData::Database::Host))
            return false;
        for (; !items.eof(); items.moveNext()) {
            const qint16 item = wholeField(items, QStringLiteral("id"));
            Recordset subItems;
            if (!BoundData::open(PrintStatements::subItemsStatement(interno, item), subItems,
                                 BoundData::Database::Host))
                continue;
            // An item with a single sub-item prints it as sub-item 0000.
            qint16 number = subItems.recordCount() == 1 ? 0 : 1;
            for (; !subItems.eof(); subItems.moveNext()) {
                if (!Generar_Linea(
                        item, number, wholeField(subItems, QStringLiteral("idsub")),
                        ValueConversion::toText(subItems.value(QStringLiteral("idcatalogo"))),
                        ValueConversion::toText(subItems.value(QStringLiteral("idarticulo"))),
                        ValueConversion::toReal(subItems.value(QStringLiteral("cantidad"))))) {
                    Messages::show(QStringLiteral("Ocurrio un error al generar el informe."),
                                   MessageCritical | MessageOkOnly);
                    return false;
                }
                ++number;
            }
        }
        m_kind.appendClosing(moduleState().reportTotals);
        return true;
    });
}

bool ReportGenerator::Generar_Linea(qint16 item, qint16 subItemNumber, qint16 idsub,
                                    const QString& idcatalogo, const QString& idarticulo,
                                    double cantidad) const
{
    Q_UNUSED(idcatalogo);
    return ErrorMessage::guard(subItemLabel, [&] {
        const ColumnLayout& layout = columns().layout;
        // One list of values serves every line: its figures are printed into the room the
        // line before left.
        m_values.resize(layout.count());
        ReportTotals& totals = moduleState().reportTotals;
        // Each line is written as it is handed over, with no recordset of them all (a server
        // sends them in one piece); a sub-item without discharge lines is left out of the
        // report.
        bool headed = false;
        BoundData::forEachRow(
            m_kind.linesStatement(moduleState().INTERNO, idsub),
            [&](const Recordset& line) {
                if (!headed) {
                    appendHeading(item, subItemNumber, idarticulo, cantidad);
                    headed = true;
                }
                m_kind.detailValues(line, totals, m_values);
                ReportBuffer::append(LineKind::Detail, layout.detailLine(m_values));
                return true;
            },
            BoundData::Database::Discharge, StatementDriver::Reading::Whole);
        if (!headed)
            return true;
        ReportBuffer::append(LineKind::Detail, QString());
        return true;
    });
}

const ReportGenerator::Columns& ReportGenerator::columns() const
{
    const bool extended = moduleState().extendedDecimals;
    if (!m_columns || m_columns->extendedDecimals != extended) {
        ColumnLayout layout = m_kind.layout();
        m_columns.emplace(Columns{extended, layout, ReportKind::rule(m_kind.ruleLength()),
                                  layout.titleLine(), layout.ruleLine()});
    }
    return *m_columns;
}

void ReportGenerator::appendHeading(qint16 item, qint16 subItemNumber, const QString& idarticulo,
                                    double cantidad) const
{
    const double declared =
        NumberFormat::print(m_heading.declared, cantidad, QStringLiteral("00.00"));
    NumberFormat::write(m_heading.item, item, QStringLiteral("0000"));
    NumberFormat::write(m_heading.subItem, subItemNumber, QStringLiteral("0000"));
    const Columns& made = columns();
    const QString& rule = made.rule;

    ReportBuffer::append(LineKind::Title, rule);
    ReportBuffer::append(LineKind::Title,
                         m_kind.headingPrefix(idarticulo) + QStringLiteral("ITEM: ") +
                             m_heading.item + QStringLiteral(" - SBIT: ") + m_heading.subItem +
                             QStringLiteral(" - Cantidad declarada: ") + m_heading.declared);
    ReportBuffer::append(LineKind::Title, rule);
    ReportBuffer::append(LineKind::Title, made.titleLine);
    if (m_kind.rulesUnderTitles())
        ReportBuffer::append(LineKind::Title, made.ruleLine);
    moduleState().reportTotals.declaredQuantity += declared;
}

} // namespace oquivran
