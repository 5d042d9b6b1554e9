// The headless discharge of the public interface: what F11 does on an untouched allocation
// screen, for hosts and batch work.
#include "DischargeSave.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "modManejoInsumos.h"

#include <oquivran/Module.h>

namespace oquivran {

bool dischargeAsProposed(bool acceptIncomplete)
{
    return ErrorMessage::guard(
        QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.AgregarInsumo]"), [&] {
            if (!DischargeSave::prepare())
                return false;
            // On the screen a failed lookup still opens an empty allocation;
            // unattended, a product whose relation cannot be read is not
            // reported as discharged.
            if (!modManejoInsumos::GetRIP())
                return false;
            // A first look without holding the stock: an allocation that
            // falls short on what is committed now is refused, as running
            // it now would refuse it, without other operators waiting.
            if (atomicWrites() && !acceptIncomplete && !modManejoInsumos::Obtener_INS_A_DIP())
                return false;
            // With atomic writes, the allocation is made inside the
            // unit, from what other operators committed before it.
            DischargeSave::run({}, [&] {
                const bool complete = modManejoInsumos::Obtener_INS_A_DIP();
                return complete || acceptIncomplete;
            });
            return moduleState().dischargeResult;
        });
}

} // namespace oquivran
