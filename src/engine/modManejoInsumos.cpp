#include "modManejoInsumos.h"

#include "AuditStatements.h"
#include "AuditTrail.h"
#include "BoundData.h"
#include "DischargeStatements.h"
#include "ErrorMessage.h"
#include "FieldPositions.h"
#include "Messages.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "TextRules.h"
#include "ValueConversion.h"
#include "WholeNumber.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QDate>
#include <QStringList>

#include <cmath>
#include <utility>

namespace oquivran {

namespace {

// A field of the current row, by name or by a position from Recordset::indexOf.
const QVariant& field(const Recordset& rs, int position)
{
    return rs.at(position);
}

QVariant field(const Recordset& rs, const QString& name)
{
    return rs.value(name);
}

template <typename Field> double real(const Recordset& rs, const Field& name)
{
    return ValueConversion::toReal(field(rs, name));
}

template <typename Field> QString text(const Recordset& rs, const Field& name)
{
    return ValueConversion::toText(field(rs, name));
}

template <typename Field> qint16 whole(const Recordset& rs, const Field& field)
{
    return WholeNumber::toInt16(real(rs, field));
}

// The relation's fields, in the order of RelationField.
enum RelationField {
    RelationInput,
    RelationDescription,
    RelationRequired,
    RelationQuantity,
    RelationShrinkage,
    RelationLoss,
    RelationShrinkageKind,
    RelationLossKind,
    RelationObligatory
};
const QStringList relationFields = {
    QStringLiteral("ARTNRO"),  QStringLiteral("RPADES"), QStringLiteral("sRIPCAN"),
    QStringLiteral("oRIPCAN"), QStringLiteral("RIPMER"), QStringLiteral("RIPPER"),
    QStringLiteral("TRPMER"),  QStringLiteral("TRPPER"), QStringLiteral("DIPOBL")};
FieldPositions relationPositions(relationFields);

// A stock line's fields, in the order of StockField.
enum StockField {
    StockDeclaration,
    StockInput,
    StockItem,
    StockSubItem,
    StockTariffPosition,
    StockUnitPrice,
    StockCtc,
    StockReference,
    StockAvailable
};
const QStringList stockFields = {
    QStringLiteral("sINTDCL"), QStringLiteral("ARTNRO"), QStringLiteral("ARTITM"),
    QStringLiteral("ARTSBT"),  QStringLiteral("ARTNCM"), QStringLiteral("ARTPRE"),
    QStringLiteral("ARTCTC"),  QStringLiteral("INSEXP"), QStringLiteral("ARTDSC")};
// Every input's stock comes from one kept statement, whose fields are found once.
FieldPositions stockPositions(stockFields);

DischargeStatements::SubItem currentSubItem()
{
    const ModuleState& state = moduleState();
    return {state.INTERNO, state.SUBITEM, state.CATNRO, state.PRDNRO};
}

RuntimeError relationError(const QString& description)
{
    return RuntimeError::userDefined(description, QStringLiteral("Consulta RIP"));
}

// The real quantity consumed: the line's quantity less shrinkage and loss when they are to be
// subtracted; a non-zero kind makes the value an absolute quantity, zero a percentage.
double realQuantity(const DipCandidate& line, bool subtractShrinkageAndLoss)
{
    if (!subtractShrinkageAndLoss)
        return line.quantity;
    const double shrinkage =
        line.shrinkageKind != 0 ? line.shrinkage : line.shrinkage * line.quantity / 100;
    const double loss = line.lossKind != 0 ? line.loss : line.loss * line.quantity / 100;
    return line.quantity - (shrinkage + loss);
}

} // namespace

bool modManejoInsumos::GetRIP()
{
    return ErrorMessage::guard(QStringLiteral(" - Seccion [oTORVANE.clRelacionInsumo.GetRIP]"), [] {
        ModuleState& state = moduleState();
        state.relationList.clear();

        Recordset rs;
        if (!BoundData::open(DischargeStatements::productMultiplier(state.CATNRO, state.PRDNRO),
                             rs))
            throw relationError(QStringLiteral("No se puede obtener el valor del multiplicador "
                                               "del articulo ") +
                                state.PRDNRO + QStringLiteral(" perteneciente al catalogo ") +
                                state.CATNRO);
        state.productMultiplier = real(rs, QStringLiteral("PRDMUL"));
        // Only zero is refused, although the message asks for 1 or more.
        if (state.productMultiplier == 0)
            throw relationError(QStringLiteral("Multiplicador Invalido del articulo ") +
                                state.PRDNRO + QStringLiteral(" perteneciente al catalogo ") +
                                state.CATNRO + QStringLiteral(" verifique que sea 1 o mayor"));

        const QString figure = NumberText::toText(state.PRDCAN * state.productMultiplier);
        if (!BoundData::open(DischargeStatements::relations(figure, state.CATNRO, state.PRDNRO),
                             rs))
            throw relationError(QStringLiteral("No se encontro ningun insumo para este articulo."));

        state.relationList.reserve(rs.recordCount());
        const QList<int>& at = relationPositions.in(rs);
        for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
            RipEntry entry;
            entry.inputCode = text(rs, at[RelationInput]);
            entry.description = text(rs, at[RelationDescription]);
            entry.requiredQuantity =
                NumberFormat::rounded(real(rs, at[RelationRequired]), state.valueFormat);
            entry.relationQuantity = real(rs, at[RelationQuantity]);
            entry.shrinkage = text(rs, at[RelationShrinkage]);
            entry.loss = text(rs, at[RelationLoss]);
            entry.shrinkageKind = whole(rs, at[RelationShrinkageKind]);
            entry.lossKind = whole(rs, at[RelationLossKind]);
            entry.obligatory = whole(rs, at[RelationObligatory]);
            state.relationList.append(entry);
        }
        return true;
    });
}

bool modManejoInsumos::Obtener_INS_A_DIP()
{
    return ErrorMessage::guard(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.Obtener_INS_A_DIP]"), [] {
            ModuleState& state = moduleState();
            state.candidateLines.clear();
            // A copy: the list is not to change under the loop.
            const QList<RipEntry> relations = state.relationList;
            for (const RipEntry& entry : relations) {
                if (!Obtener_RIP_A_DIP(entry.inputCode, entry.requiredQuantity, entry.shrinkage,
                                       entry.loss, entry.relationQuantity, entry.shrinkageKind,
                                       entry.lossKind, entry.obligatory))
                    return false;
            }
            return true;
        });
}

bool modManejoInsumos::Obtener_RIP_A_DIP(const QString& inputCode, double requiredQuantity,
                                         const QString& shrinkage, const QString& loss,
                                         double relationQuantity, qint16 shrinkageKind,
                                         qint16 lossKind, qint16 obligatory)
{
    return ErrorMessage::guard(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.Obtener_RIP_A_DIP]"), [&] {
            ModuleState& state = moduleState();
            DipCandidate proposed;
            proposed.inputCode = inputCode;
            proposed.relationQuantity = relationQuantity;
            proposed.shrinkage = NumberText::toNumber(shrinkage);
            proposed.loss = NumberText::toNumber(loss);
            proposed.shrinkageKind = shrinkageKind;
            proposed.lossKind = lossKind;
            proposed.obligatory = obligatory;

            // Stock lines are read in FIFO order only until the requirement is covered.
            double taken = 0;
            bool covered = false;
            // A run-time error part way through leaves the lines built so far in the list:
            // nothing done before an error is undone.
            const bool found = BoundData::forEachRow(
                DischargeStatements::stockOfInputStatement(inputCode), [&](const Recordset& rs) {
                    const QList<int>& at = stockPositions.in(rs);
                    DipCandidate line = proposed;
                    line.declaration = text(rs, at[StockDeclaration]);
                    line.inputCode = text(rs, at[StockInput]);
                    line.item = whole(rs, at[StockItem]);
                    line.subItem = whole(rs, at[StockSubItem]);
                    line.tariffPosition = text(rs, at[StockTariffPosition]);
                    line.unitPrice = real(rs, at[StockUnitPrice]);
                    line.ctc = TextRules::trim(text(rs, at[StockCtc]));
                    line.exportReference = TextRules::trim(text(rs, at[StockReference]));
                    const double available = real(rs, at[StockAvailable]);
                    state.candidateLines.append(std::move(line));
                    DipCandidate& appended = state.candidateLines.last();

                    // Exact equality of reals, and on the completing line the whole running
                    // total rather than what that stock line gives: both as the system has
                    // them.
                    if (taken + available == requiredQuantity) {
                        taken += available;
                        appended.quantity = NumberFormat::rounded(taken, state.valueFormat);
                        covered = true;
                        return false;
                    }
                    if (taken + available < requiredQuantity) {
                        appended.quantity = NumberFormat::rounded(available, state.valueFormat);
                        taken += available;
                        return true;
                    }
                    appended.quantity = NumberFormat::rounded(std::fabs(taken - requiredQuantity),
                                                              state.valueFormat);
                    covered = true;
                    return false;
                });
            if (!found) {
                if (obligatory != 1) {
                    Messages::show(
                        QStringLiteral("El articulo ") + inputCode +
                            QStringLiteral(" no existe en stock, o no hay disponibilidad."),
                        MessageExclamation | MessageOkOnly);
                    return false;
                }
                proposed.declaration = QStringLiteral("Sin Stock");
                proposed.allocationStatus = AllocationNoStock;
                state.candidateLines.append(proposed);
                return true;
            }
            if (covered)
                return true;

            if (obligatory == 1) {
                state.candidateLines.last().allocationStatus = AllocationIncomplete;
                return true;
            }
            // The lines appended for this input stay in the list.
            Messages::show(QStringLiteral("Cantidad insuficiente en stock para el insumo ") +
                               inputCode + QStringLiteral(", la disponible es ") +
                               NumberFormat::format(taken, state.valueFormat) +
                               QStringLiteral(" usted necesita ") +
                               NumberText::toText(requiredQuantity),
                           MessageExclamation | MessageOkOnly);
            return false;
        });
}

bool modManejoInsumos::AgregarDIP()
{
    return ErrorMessage::guard(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]"), [] {
            const ModuleState& state = moduleState();
            DischargeStatements::InsertValues values;
            values.subItem = currentSubItem();
            values.productMultiplier = state.productMultiplier;
            values.today = QDate::currentDate();
            // A copy: an error report may run the event loop.
            const QList<DipCandidate> lines = state.candidateLines;
            const AuditTrail::Lines audit = AuditTrail::beforeInsertingLines(values.subItem);
            for (const DipCandidate& line : lines) {
                if (line.allocationStatus == AllocationNoStock)
                    continue;
                values.realQuantity = NumberFormat::rounded(realQuantity(line, state.Restar_PerMer),
                                                            state.valueFormat);
                BoundData::execute(DischargeStatements::insertLineStatement(values, line));
                if (audit == AuditTrail::Lines::OneByOne)
                    AuditTrail::lineInserted(values.subItem, line);
            }
            if (audit == AuditTrail::Lines::Together)
                AuditTrail::linesInserted(values.subItem);
            return true;
        });
}

bool modManejoInsumos::EliminarDIP()
{
    // The delete reports under the insert's label, as the system has it.
    return ErrorMessage::guard(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.AgregarDIP]"), [] {
            AuditTrail::linesDeleted(DischargeStatements::subItemWhere(currentSubItem()));
            BoundData::execute(DischargeStatements::deleteSubItem(currentSubItem()));
            return true;
        });
}

bool modManejoInsumos::Generar_DIP_A_ARR()
{
    return ErrorMessage::guard(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.Generar_DIP_A_ARR]"), [] {
            ModuleState& state = moduleState();
            state.candidateLines.clear();
            Recordset rs;
            BoundData::open(DischargeStatements::selectSubItem(currentSubItem()), rs);
            for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
                DipCandidate line;
                line.declaration = text(rs, QStringLiteral("ARTDCL"));
                line.inputCode = text(rs, QStringLiteral("ARTNRO"));
                line.item = whole(rs, QStringLiteral("ARTITM"));
                line.subItem = whole(rs, QStringLiteral("ARTSBT"));
                line.quantity = real(rs, QStringLiteral("DIPCAN"));
                state.candidateLines.append(line);
            }
            return true;
        });
}

bool modManejoInsumos::RefrescarINS()
{
    return ErrorMessage::guard(
        QStringLiteral(" - Seccion [oTORVANE.modManejoInsumos.RefrescarINS]"), [] {
            const ModuleState& state = moduleState();
            const QList<DipCandidate> lines = state.candidateLines;
            // With the trail on, each stock line's availability before and after, recorded
            // together once every line is refreshed.
            const bool audited = AuditTrail::isOn();
            QList<AuditStatements::Availability> refreshed;
            for (const DipCandidate& line : lines) {
                Recordset rs;
                if (!BoundData::open(DischargeStatements::dischargedSumStatement(line), rs))
                    throw RuntimeError::userDefined(
                        QStringLiteral("Error en obtener los registros de descuentos"),
                        QStringLiteral("{Buscando Registros en DIP}"));
                // An empty sum (no discharge left on the stock line) counts as 0, so the stock
                // line gets its whole declared quantity back.
                const QString totalText =
                    NumberFormat::format(real(rs, QStringLiteral("total")), state.valueFormat);
                const double total = NumberText::toNumber(totalText);

                // A line without a stock row ("Sin Stock") has nothing to refresh.
                const bool found =
                    audited
                        ? BoundData::open(AuditStatements::stockLineQuantities(line), rs)
                        : BoundData::open(DischargeStatements::declaredQuantityStatement(line), rs);
                if (!found)
                    continue;
                const double declared = real(rs, QStringLiteral("ARTCAT"));
                if (total > declared) {
                    const QStringList description = {
                        QStringLiteral(
                            "ERROR inconsistencia en la cantidad total disponible del insumo."),
                        QStringLiteral("La cantidad disponible de este insumo es de ") +
                            NumberText::toText(declared),
                        QStringLiteral("en la tabla de descuentos se encontro la suma de ") +
                            totalText + QStringLiteral(" afectadas en esta y otra/s operaciones."),
                        QStringLiteral("El insumo es:"),
                        QStringLiteral("Declaracion Nro:") + line.declaration,
                        QStringLiteral("Codigo Insumo:") + line.inputCode,
                        QStringLiteral("Nro Item:") + QString::number(line.item),
                        QStringLiteral("Nro Subitem:") + QString::number(line.subItem),
                    };
                    throw RuntimeError::userDefined(
                        description.join(QStringLiteral("\r\n")),
                        QStringLiteral("{Comparación: Disponible con Descuentos}"));
                }
                BoundData::execute(DischargeStatements::refreshAvailabilityStatement(
                    totalText, state.valueFormat, line));
                // What the refresh wrote: the database's format() of the difference, read as
                // a number, as the component's format() and reading of numbers give it.
                if (audited)
                    refreshed.append({line, real(rs, QStringLiteral("ARTDSC")),
                                      NumberText::toNumber(NumberFormat::format(
                                          declared - total, state.valueFormat))});
            }
            AuditTrail::availabilityRefreshed(currentSubItem(), refreshed);
            return true;
        });
}

bool modManejoInsumos::candidateLinesHaveCtc()
{
    for (const DipCandidate& line : moduleState().candidateLines) {
        if (line.allocationStatus != AllocationNoStock && TextRules::trim(line.ctc).isEmpty())
            return false;
    }
    return true;
}

void modManejoInsumos::readDischargeTotals()
{
    ModuleState& state = moduleState();
    Recordset rs;
    BoundData::open(DischargeStatements::subItemTotals(currentSubItem()), rs);
    // Rounded to the display precision before they reach the host.
    const double quantity =
        NumberFormat::rounded(real(rs, QStringLiteral("totcan")), state.valueFormat);
    const double cif =
        NumberFormat::rounded(real(rs, QStringLiteral("cif")), QStringLiteral("00.000000"));
    state.CantidadDescontada = quantity;
    state.CIFDescontado = cif;
}

} // namespace oquivran
