#include "frmModificar.h"

#include "AuditTrail.h"
#include "BoundData.h"
#include "CandidatePosition.h"
#include "ErrorMessage.h"
#include "Messages.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "ScreenStatements.h"
#include "WriteUnit.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QShowEvent>

namespace oquivran {

namespace {

const QString acceptLabel = QStringLiteral(" - Seccion [oQUIVRAN.frmModificar.f_Aceptar]");
const QString memoryLabel = QStringLiteral(" - Seccion [oQUIVRAN.frmAgregarDIP.setCTC]");

// Which field of a remembered record a lookup works on.
enum class MemoryField {
    Ctc,
    ExportReference,
};

QString& fieldOf(CtcMemoryEntry& entry, MemoryField field)
{
    return field == MemoryField::Ctc ? entry.ctc : entry.exportReference;
}

// The remembered value of a declaration and tariff position. An empty value takes the first
// record of the same declaration and position (written into value too); a given value is
// remembered when no record holds the same declaration, position and value.
QString remembered(const QString& declaration, const QString& tariffPosition, QString& value,
                   MemoryField field)
{
    QString result;
    const bool found = ErrorMessage::guard(memoryLabel, [&] {
        QList<CtcMemoryEntry>& memory = moduleState().ctcMemory;
        if (value.isEmpty()) {
            for (CtcMemoryEntry& entry : memory) {
                if (entry.declaration == declaration && entry.tariffPosition == tariffPosition) {
                    value = fieldOf(entry, field);
                    break;
                }
            }
            result = value;
            return true;
        }
        for (CtcMemoryEntry& entry : memory) {
            if (entry.declaration == declaration && entry.tariffPosition == tariffPosition &&
                fieldOf(entry, field) == value) {
                result = value;
                return true;
            }
        }
        CtcMemoryEntry entry{declaration, tariffPosition, QString(), QString()};
        fieldOf(entry, field) = value;
        memory.append(entry);
        result = value;
        return true;
    });
    return found ? result : QString();
}

} // namespace

frmModificar::frmModificar(const QString& position, const Preset& preset, QWidget* parent)
    : ScreenDialog(QStringLiteral("frmModificar"), QStringLiteral("Modificar"), parent),
      m_position(position)
{
    buildControls(preset);
    linkEntryControls({m_txtCantidad, m_txtPrecio, m_txtMerma, m_txtPerdida, m_txtCTC, m_txtEXP});
}

void frmModificar::buildControls(const Preset& preset)
{
    m_txtCantidad = newLineEdit(QStringLiteral("txtCantidad"));
    m_txtPrecio = newLineEdit(QStringLiteral("txtPrecio"));
    m_txtMerma = newLineEdit(QStringLiteral("txtMerma"));
    m_txtPerdida = newLineEdit(QStringLiteral("txtPerdida"));
    m_txtCTC = newLineEdit(QStringLiteral("txtCTC"));
    m_txtEXP = newLineEdit(QStringLiteral("txtEXP"));
    m_lbNcm = newLabel(QStringLiteral("lbNcm"), preset.tariffPosition);
    m_txtCantidad->setText(preset.quantity);
    m_txtPrecio->setText(preset.unitPrice);
    m_txtMerma->setText(preset.shrinkage);
    m_txtPerdida->setText(preset.loss);
    m_txtCTC->setText(preset.ctc);

    auto* grid = new QGridLayout(this);
    addRow(grid, 0, newLabel(QStringLiteral("Label1"), QStringLiteral("Cantidad")), m_txtCantidad);
    addRow(grid, 1, newLabel(QStringLiteral("Label2"), QStringLiteral("Precio unitario")),
           m_txtPrecio);
    addRow(grid, 2, newLabel(QStringLiteral("Label4"), QStringLiteral("Merma")), m_txtMerma);
    addRow(grid, 3, newLabel(QStringLiteral("Label5"), QStringLiteral("Perdida")), m_txtPerdida);
    addRow(grid, 4, newLabel(QStringLiteral("Label6"), QStringLiteral("C.T.C.")), m_txtCTC);
    addRow(grid, 5, newLabel(QStringLiteral("Label8"), QStringLiteral("Expediente")), m_txtEXP);
    addRow(grid, 6, newLabel(QStringLiteral("Label7"), QStringLiteral("Posición")), m_lbNcm);
    grid->addWidget(
        newLabel(QStringLiteral("Label3"), QStringLiteral("[F11] Guardar - [ESC] Salir")), 7, 0, 1,
        2);
    grid->setColumnMinimumWidth(1, 260);
    m_txtCantidad->setFocus();
}

void frmModificar::showEvent(QShowEvent* event)
{
    ScreenDialog::showEvent(event);
    if (!m_activated)
        activate();
}

void frmModificar::activate()
{
    ErrorMessage::guard(acceptLabel, [this] {
        // The line's own C.T.C. and reference go by reference: a remembered value found for a
        // blank one is written into the line here, even when the edit is then cancelled.
        DipCandidate& line = CandidatePosition::line(CandidatePosition::fromText(m_position));
        m_txtCTC->setText(SetCTC(line.declaration, line.tariffPosition, line.ctc));
        m_txtEXP->setText(SetEXP(line.declaration, line.tariffPosition, line.exportReference));
        const ModuleState& state = moduleState();
        m_txtCantidad->setText(NumberFormat::format(line.quantity, state.valueFormat));
        m_txtPrecio->setText(NumberFormat::format(line.unitPrice, QStringLiteral("00.000000")));
        m_activated = true;
        return true;
    });
}

QString frmModificar::SetCTC(const QString& declaration, const QString& tariffPosition,
                             QString& ctc)
{
    return remembered(declaration, tariffPosition, ctc, MemoryField::Ctc);
}

QString frmModificar::SetEXP(const QString& declaration, const QString& tariffPosition,
                             QString& exportReference)
{
    return remembered(declaration, tariffPosition, exportReference, MemoryField::ExportReference);
}

void frmModificar::f11Pressed()
{
    moduleState().editFlag = false;
    f_Aceptar();
    if (moduleState().editFlag)
        closeScreen();
}

bool frmModificar::f_Aceptar()
{
    return ErrorMessage::guard(acceptLabel, [this] {
        ModuleState& state = moduleState();
        state.editFlag = false;
        if (!NumberText::holdsNumber(m_txtCantidad->text())) {
            Messages::show(QStringLiteral("Debe ingresar un valor válido en cantidad."),
                           MessageCritical | MessageOkOnly);
            return false;
        }
        if (!NumberText::holdsNumber(m_txtPrecio->text())) {
            Messages::show(QStringLiteral("Debe ingresar un valor válido en precio unitario."),
                           MessageCritical | MessageOkOnly);
            return false;
        }
        // The fields are stored one after the other: a shrinkage or loss that is no number
        // stops here with the fields before it already stored.
        DipCandidate& line = CandidatePosition::line(CandidatePosition::fromText(m_position));
        line.quantity =
            NumberFormat::rounded(NumberText::toNumber(m_txtCantidad->text()), state.valueFormat);
        line.unitPrice = NumberFormat::rounded(NumberText::toNumber(m_txtPrecio->text()),
                                               QStringLiteral("00.000000"));
        line.shrinkage =
            NumberFormat::rounded(NumberText::toNumber(m_txtMerma->text()), state.secondFormat);
        line.loss =
            NumberFormat::rounded(NumberText::toNumber(m_txtPerdida->text()), state.secondFormat);
        line.ctc = m_txtCTC->text();
        line.exportReference = m_txtEXP->text();
        // The C.T.C. update runs before the export reference's statement is built: a value
        // refused there leaves the C.T.C. update done (and remembered), as each statement
        // takes effect on its own (with atomic writes on, the unit takes neither).
        const bool written = WriteUnit::run([&] {
            // Each where-clause is built where its update is, so that a value refused there
            // is refused at the same point as without the trail.
            if (!line.ctc.isEmpty()) {
                AuditTrail::stockColumnUpdated(
                    QStringLiteral("ARTCTC"), line.ctc,
                    ScreenStatements::tariffLinesWhere(line.declaration, line.tariffPosition));
                if (BoundData::execute(ScreenStatements::updateCtc(line.ctc, line.declaration,
                                                                   line.tariffPosition)) > 0)
                    SetCTC(line.declaration, line.tariffPosition, line.ctc);
            }
            if (!line.exportReference.isEmpty()) {
                AuditTrail::stockColumnUpdated(
                    QStringLiteral("INSEXP"), line.exportReference,
                    ScreenStatements::tariffLinesWhere(line.declaration, line.tariffPosition));
                if (BoundData::execute(ScreenStatements::updateExportReference(
                        line.exportReference, line.declaration, line.tariffPosition)) > 0)
                    SetEXP(line.declaration, line.tariffPosition, line.exportReference);
            }
            return true;
        });
        state.editFlag = written;
        return written;
    });
}

} // namespace oquivran
