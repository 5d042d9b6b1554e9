// Renders each discharge screen filled with sample data to PNG files in the folder given as
// the first argument (scripts/screenshots runs it on the offscreen platform).
#include "DischargeFixture.h"
#include "MessageRecorder.h"
#include "Scenario.h"

#include "ModuleState.h"
#include "NumberFormat.h"
#include "frmAgregarDIP.h"
#include "frmBuscarInsumo.h"
#include "frmCargarInsumo.h"
#include "frmModificar.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>

using namespace oquivran;

namespace {

bool save(QWidget& screen, const QString& folder, const QString& name)
{
    screen.show();
    QCoreApplication::processEvents();
    const bool saved = screen.grab().save(folder + u'/' + name + QStringLiteral(".png"));
    screen.hide();
    return saved;
}

void formats()
{
    moduleState().applyFormats(
        ValueFormats::forMoment(FormatMoment::Discharge, QStringLiteral("N")));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(folder);
    MessageRecorder recorder;
    DischargeFixture f;
    scenario::seed(f);
    bool ok = true;

    scenario::discharge(f, QStringLiteral("PRD2"));
    formats();
    {
        frmAgregarDIP screen;
        ok &= save(screen, folder, QStringLiteral("frmAgregarDIP-incompleto"));
    }
    scenario::discharge(f, QStringLiteral("PRD1"));
    formats();
    frmAgregarDIP allocation;
    ok &= save(allocation, folder, QStringLiteral("frmAgregarDIP"));
    {
        const DipCandidate& line = moduleState().candidateLines.at(1);
        frmModificar screen(QStringLiteral("2"),
                            {NumberFormat::format(line.quantity, moduleState().valueFormat),
                             NumberFormat::format(line.unitPrice, QStringLiteral("00.0000000")),
                             NumberFormat::format(line.shrinkage, moduleState().secondFormat),
                             NumberFormat::format(line.loss, moduleState().secondFormat), line.ctc,
                             line.tariffPosition});
        ok &= save(screen, folder, QStringLiteral("frmModificar"));
    }
    {
        frmBuscarInsumo screen;
        screen.findChild<QLineEdit*>(QStringLiteral("txtBuscarInsumos"))
            ->setText(QStringLiteral("IN"));
        screen.BuscarInsumo(QStringLiteral("IN"));
        ok &= save(screen, folder, QStringLiteral("frmBuscarInsumo"));
    }
    {
        DipCandidate& chosen = moduleState().currentInput;
        chosen = DipCandidate();
        chosen.declaration = QStringLiteral("D2");
        chosen.inputCode = QStringLiteral("IN1");
        chosen.item = 2;
        chosen.subItem = 1;
        chosen.tariffPosition = QStringLiteral("2222.22.22");
        chosen.quantity = 7;
        chosen.unitPrice = 4;
        chosen.ctc = QStringLiteral("CTC2");
        frmCargarInsumo screen;
        ok &= save(screen, folder, QStringLiteral("frmCargarInsumo"));
    }
    return ok ? 0 : 1;
}
