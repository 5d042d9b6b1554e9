// The print of the public interface without a screen: what F11 does on the print options
// screen, for hosts and batch work.
#include "ApplicationGuard.h"
#include "ErrorMessage.h"
#include "ModuleState.h"
#include "PageOutput.h"
#include "ValueFormats.h"
#include "frmImpresion.h"

#include <oquivran/Printing.h>
#include <oquivran/RuntimeError.h>

#include <QFont>

#include <algorithm>

namespace oquivran {

namespace {

// Runs a print on the print options screen, loaded but never shown, with the print formats.
bool onScreen(const PrintRequest& request, const QString& label,
              const std::function<bool(frmImpresion&)>& print)
{
    moduleState().applyFormats(ValueFormats::current(FormatMoment::Printing));
    if (!ApplicationGuard::ensure()) {
        ErrorMessage::show(
            RuntimeError(InternalError,
                         QStringLiteral("La impresión necesita una QApplication y el programa "
                                        "anfitrión ejecuta una QCoreApplication.")),
            label);
        return false;
    }
    // The screen loads its settings and the operation's export data.
    frmImpresion screen;
    screen.applyRequest(request);
    return print(screen);
}

} // namespace

bool printReport(const PrintRequest& request)
{
    return onScreen(
        request, QStringLiteral(" - seccion [oQUIVRAN.printReport]"),
        [](frmImpresion& screen) { return screen.print(frmImpresion::SavedSettings::Keep); });
}

bool printExpiryListing(const QDate& asOf, int horizonDays, const PrintRequest& request)
{
    return onScreen(
        request, QStringLiteral(" - seccion [oQUIVRAN.printExpiryListing]"),
        [&](frmImpresion& screen) { return screen.ImprimirVencimientos(asOf, horizonDays); });
}

QFont reportFont(qint16 pointSize)
{
    return PageOutput::printerFont(std::max<qint16>(pointSize, 1));
}

} // namespace oquivran
