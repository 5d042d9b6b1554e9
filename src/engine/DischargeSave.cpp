#include "DischargeSave.h"

#include "ErrorMessage.h"
#include "Messages.h"
#include "ModuleState.h"
#include "ValueFormats.h"
#include "WriteUnit.h"
#include "modManejoInsumos.h"

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

DischargeSave::Outcome DischargeSave::run(const std::function<void(Progress)>& progress)
{
    const auto notify = [&](Progress step) {
        if (progress)
            progress(step);
    };
    Outcome outcome = Outcome::Failed;
    ErrorMessage::guard(QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Aceptar]"), [&] {
        ModuleState& state = moduleState();
        notify(Progress::Writing);
        state.dischargeResult = f_VerificarDIP();
        if (!state.dischargeResult) {
            Messages::show(QStringLiteral("Falta ingresar algunos datos obligatorios, por favor "
                                          "verifique el numero de CTC."),
                           MessageExclamation | MessageOkOnly);
            outcome = Outcome::Refused;
            return false;
        }
        // With atomic writes the lines, the refresh and the totals are one unit: undone, it
        // leaves no line, the result false and the totals of the previous discharge.
        const double previousQuantity = state.CantidadDescontada;
        const double previousCif = state.CIFDescontado;
        const bool saved = WriteUnit::run(
            [&] {
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
            });
        if (saved)
            outcome = Outcome::Saved;
        return saved;
    });
    return outcome;
}

} // namespace oquivran
