// The print of the public interface without a screen: what F11 does on the print options
// screen, for hosts and batch work.
#include "ApplicationGuard.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "ValueFormats.h"
#include "frmImpresion.h"

#include <oquivran/Printing.h>
#include <oquivran/RuntimeError.h>

namespace oquivran {

bool printReport(const PrintRequest& request)
{
    moduleState().applyFormats(ValueFormats::current(FormatMoment::Printing));
    if (!ApplicationGuard::ensure()) {
        ErrorMessage::show(
            RuntimeError(InternalError,
                         QStringLiteral("La impresión necesita una QApplication y el programa "
                                        "anfitrión ejecuta una QCoreApplication.")),
            QStringLiteral(" - seccion [oQUIVRAN.printReport]"));
        return false;
    }
    // The screen loads its settings and the operation's export data, but is never shown.
    frmImpresion screen;
    screen.applyRequest(request);
    return screen.Imprimir();
}

} // namespace oquivran
