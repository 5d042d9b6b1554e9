#include "DischargeSave.h"

#include "ErrorMessage.h"
#include "Messages.h"
#include "ModuleState.h"
#include "ValueFormats.h"
#include "WriteUnit.h"
#include "modManejoInsumos.h"

#include <oquivran/Module.h>

namespace oquivran {

namespace {

bool f_VerificarDIP()
{
    return ErrorMessage::guard(QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_VerificarDIP]"),
                               [] { return modManejoInsumos::candidateLinesHaveCtc(); });
}

} // namespace

bool DischargeSave::prepare()
{
    ModuleState& state = moduleState();
    // Only an exact zero is refused.
    if (state.PRDCAN == 0) {
        Messages::show(QStringLiteral("La cantidad del producto debe ser mayor a cero"),
                       MessageExclamation | MessageOkOnly);
        return false;
    }
    state.applyFormats(ValueFormats::current(FormatMoment::Discharge));
    state.dischargeResult = false;
    return true;
}

namespace {

// The inputs whose stock a discharge writes: those of the relation when the allocation is yet
// to be made, else those of the allocation.
QStringList stockInputs(bool proposing)
{
    const ModuleState& state = moduleState();
    QStringList inputs;
    if (proposing) {
        for (const RipEntry& entry : state.relationList)
            inputs.append(entry.inputCode);
    } else {
        for (const DipCandidate& line : state.candidateLines)
            inputs.append(line.inputCode);
    }
    return inputs;
}

} // namespace

DischargeSave::Outcome DischargeSave::run(const std::function<void(Progress)>& progress,
                                          const std::function<bool()>& propose)
{
    const auto notify = [&](Progress step) {
        if (progress)
            progress(step);
    };
    Outcome outcome = Outcome::Failed;
    ErrorMessage::guard(QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Aceptar]"), [&] {
        ModuleState& state = moduleState();
        const bool proposeInUnit = propose && atomicWrites();
        if (propose && !proposeInUnit && !propose()) {
            outcome = Outcome::Refused;
            return false;
        }
        notify(Progress::Writing);
        // The C.T.C. check; inside a unit, the unit is undone before the operator reads why.
        const auto ctcChecked = [&] {
            state.dischargeResult = f_VerificarDIP();
            if (state.dischargeResult)
                return true;
            WriteUnit::undo();
            Messages::show(QStringLiteral("Falta ingresar algunos datos obligatorios, por favor "
                                          "verifique el numero de CTC."),
                           MessageExclamation | MessageOkOnly);
            outcome = Outcome::Refused;
            return false;
        };
        if (!proposeInUnit && !ctcChecked())
            return false;
        // With atomic writes the lines, the refresh and the totals are one unit: undone, it
        // leaves no line, the result false and the totals of the previous discharge.
        const double previousQuantity = state.CantidadDescontada;
        const double previousCif = state.CIFDescontado;
        const bool saved = WriteUnit::run(
            [&] {
                if (proposeInUnit) {
                    outcome = Outcome::Failed;
                    if (!propose()) {
                        outcome = Outcome::Refused;
                        return false;
                    }
                    if (!ctcChecked())
                        return false;
                }
                state.dischargeResult = modManejoInsumos::AgregarDIP();
                if (!state.dischargeResult) {
                    notify(Progress::WriteFailed);
                    return false;
                }
                notify(Progress::UpdatingStock);
                // The lines are written by now; a failed refresh leaves the discharge result
                // true and the totals of the previous discharge in place.
                if (!modManejoInsumos::RefrescarINS())
                    throw RuntimeError::userDefined(
                        QStringLiteral("Ocurrio un error al calcular disponibilidad"),
                        QStringLiteral("{Calculando disponibilidad}"));
                modManejoInsumos::readDischargeTotals();
                return true;
            },
            [&] {
                state.dischargeResult = false;
                state.CantidadDescontada = previousQuantity;
                state.CIFDescontado = previousCif;
            },
            stockInputs(proposeInUnit));
        if (saved)
            outcome = Outcome::Saved;
        return saved;
    });
    return outcome;
}

} // namespace oquivran
