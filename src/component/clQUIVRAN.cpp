#include <oquivran/clQUIVRAN.h>

#include "ApplicationGuard.h"
#include "AuditTrail.h"
#include "BoundData.h"
#include "DischargeSave.h"
#include "DischargeStatements.h"
#include "ErrorMessage.h"
#include "Messages.h"
#include "ModuleState.h"
#include "ScreenErrors.h"
#include "TextRules.h"
#include "ValueFormats.h"
#include "WholeNumber.h"
#include "WriteUnit.h"
#include "frmAgregarDIP.h"
#include "frmImpresion.h"
#include "modManejoInsumos.h"

#include <oquivran/DataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QStringList>

namespace oquivran {

namespace {

// The screens need a QApplication; a host running a plain QCoreApplication cannot show them
// (it discharges with dischargeAsProposed instead).
RuntimeError screensNeedAnApplication()
{
    return RuntimeError(InternalError,
                        QStringLiteral("Las pantallas del componente necesitan una QApplication y "
                                       "el programa anfitrión ejecuta una QCoreApplication."));
}

// A sub-item list: one number, or several separated by "|"; a trailing "|" gives an empty
// last element, whose statement then fails in the database.
QStringList subItems(const QString& list)
{
    return list.contains(u'|') ? list.split(u'|') : QStringList{list};
}

} // namespace

clQUIVRAN::clQUIVRAN()
{
    moduleState().applyFormats(ValueFormats::current(FormatMoment::Creation));
}

void clQUIVRAN::Restar_PerMer(bool value)
{
    moduleState().Restar_PerMer = value;
}

void clQUIVRAN::SubRegimen(const QString& value)
{
    moduleState().SubRegimen = value;
}

void clQUIVRAN::Aduana(const QString& value)
{
    moduleState().Aduana = value;
}

void clQUIVRAN::Oficializacion(const QString& value)
{
    moduleState().Oficializacion = value;
}

void clQUIVRAN::AAT(const QString& value)
{
    moduleState().AAT = value;
}

void clQUIVRAN::INTERNO(const QString& value)
{
    moduleState().INTERNO = value;
}

void clQUIVRAN::SUBITEM(qint32 value)
{
    moduleState().SUBITEM = WholeNumber::toInt16(qint64(value));
}

void clQUIVRAN::CATNRO(const QString& value)
{
    moduleState().CATNRO = value;
}

void clQUIVRAN::PRDNRO(const QString& value)
{
    moduleState().PRDNRO = value;
}

void clQUIVRAN::PRDCAN(double value)
{
    moduleState().PRDCAN = value;
}

void clQUIVRAN::Dir_Formularios(const QString& value)
{
    moduleState().Dir_Formularios = value;
}

void clQUIVRAN::VincularDatos(DataObject* dataObject)
{
    // The host binds once: the first binding stays for the life of the component.
    ModuleState& state = moduleState();
    if (!state.dataObject)
        state.dataObject = dataObject;
}

void clQUIVRAN::VincularDatosMorvik(DataObject* dataObject)
{
    ModuleState& state = moduleState();
    if (!state.secondDataObject)
        state.secondDataObject = dataObject;
}

double clQUIVRAN::CIFDescontado() const
{
    return moduleState().CIFDescontado;
}

double clQUIVRAN::CantidadDescontada() const
{
    return moduleState().CantidadDescontada;
}

bool clQUIVRAN::AgregarInsumo()
{
    return ErrorMessage::guard(QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.AgregarInsumo]"), [] {
        ModuleState& state = moduleState();
        if (!DischargeSave::prepare())
            return false;
        if (!ApplicationGuard::ensure())
            throw screensNeedAnApplication();
        // The allocation screen, shown modally and released when it closes, leaves the result.
        frmAgregarDIP screen;
        screen.exec();
        return state.dischargeResult;
    });
}

void clQUIVRAN::GenerarIMP()
{
    moduleState().applyFormats(ValueFormats::current(FormatMoment::Printing));
    if (!ApplicationGuard::ensure()) {
        ErrorMessage::show(screensNeedAnApplication(),
                           QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.GenerarIMP]"));
        return;
    }
    frmImpresion screen;
    screen.exec();
}

bool clQUIVRAN::EliminarInsumo()
{
    // The label's letter case, accent and class name are the system's own.
    return ErrorMessage::guard(QStringLiteral(" - Sección [oQUIVRAN.clQUVRAN.EliminarInsumo]"), [] {
        return WriteUnit::run([] {
            return modManejoInsumos::Generar_DIP_A_ARR() && modManejoInsumos::EliminarDIP() &&
                   modManejoInsumos::RefrescarINS();
        });
    });
}

// The four numbering members report an error as its text, one line break and their label,
// not in the common layout with the error number.
bool clQUIVRAN::EnviarGrupoIdSub(const QString& p_EXTINT, const QString& p_IDRoot,
                                 const QString& p_EXTGRPSBT)
{
    // The operation is the module's INTERNO; p_EXTINT is not used.
    Q_UNUSED(p_EXTINT);
    return ScreenErrors::guard(
        ScreenErrors::Layout::DescriptionThenLabel,
        QStringLiteral(" - seccion [cQUIVRAN.EnviarGroupIdSub]::"), [&] {
            if (TextRules::trim(p_EXTGRPSBT).isEmpty())
                return true;
            return WriteUnit::run([&] {
                const QString& interno = moduleState().INTERNO;
                for (const QString& subItem : subItems(p_EXTGRPSBT)) {
                    AuditTrail::dischargeColumnUpdated(
                        QStringLiteral("idroot"), p_IDRoot,
                        DischargeStatements::groupSubItemWhere(subItem, interno));
                    BoundData::execute(
                        DischargeStatements::groupSubItem(p_IDRoot, subItem, interno));
                }
                return true;
            });
        });
}

bool clQUIVRAN::ResetIdItems()
{
    return ScreenErrors::guard(ScreenErrors::Layout::DescriptionThenLabel,
                               QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN_ResetIdITtems]"), [] {
                                   return WriteUnit::run([] {
                                       const QString& interno = moduleState().INTERNO;
                                       AuditTrail::dischargeColumnUpdated(
                                           QStringLiteral("EXTITM"), QStringLiteral("0"),
                                           DischargeStatements::operationWhere(interno));
                                       BoundData::execute(DischargeStatements::resetItems(interno));
                                       return true;
                                   });
                               });
}

bool clQUIVRAN::EnviarNroItem(qint16 p_ITEM, const QString& p_SubIt)
{
    return ScreenErrors::guard(
        ScreenErrors::Layout::DescriptionThenLabel,
        QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.EnviarNroItem]"), [&] {
            if (p_SubIt.isEmpty())
                return false;
            const QString interno = moduleState().INTERNO;
            return WriteUnit::run([&] {
                for (const QString& subItem : subItems(p_SubIt)) {
                    // Sub-items stamped before a missing one stay stamped (unless the numbering
                    // is one unit of atomic writes); the rest are not.
                    AuditTrail::dischargeColumnUpdated(
                        QStringLiteral("EXTITM"), QString::number(p_ITEM),
                        DischargeStatements::numberItemWhere(subItem, interno));
                    if (BoundData::execute(
                            DischargeStatements::numberItem(p_ITEM, subItem, interno)) == 0) {
                        WriteUnit::undo();
                        Messages::show(QStringLiteral("ERROR: No se encontro el registro en stock "
                                                      "de insumos\r\n INTERNO: ") +
                                           interno + QStringLiteral("\r\nID SUBIT: ") + subItem +
                                           QStringLiteral("\r\nSe cancelara el proceso."),
                                       MessageCritical | MessageOkOnly);
                        return false;
                    }
                }
                return true;
            });
        });
}

bool clQUIVRAN::Obtener_Insumos(qint32 p_ITEM, Recordset& p_Rs)
{
    return ScreenErrors::guard(
        ScreenErrors::Layout::DescriptionThenLabel,
        QStringLiteral(" - seccion [oQUIVRAN.clQUIVRAN.Obtener_Insumos]"), [&] {
            BoundData::open(DischargeStatements::itemInputs(p_ITEM, moduleState().INTERNO), p_Rs);
            return true;
        });
}

} // namespace oquivran
