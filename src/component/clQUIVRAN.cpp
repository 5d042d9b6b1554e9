#include <oquivran/clQUIVRAN.h>

#include "ErrorMessage.h"
#include "Messages.h"
#include "ModuleState.h"
#include "ValueFormats.h"
#include "WholeNumber.h"

namespace oquivran {

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
        // Only an exact zero is refused; a negative quantity passes.
        if (state.PRDCAN == 0) {
            Messages::show(QStringLiteral("La cantidad del producto debe ser mayor a cero"),
                           MessageExclamation | MessageOkOnly);
            return false;
        }
        state.applyFormats(ValueFormats::current(FormatMoment::Discharge));
        state.dischargeResult = false;
        return state.dischargeResult;
    });
}

void clQUIVRAN::GenerarIMP()
{
    moduleState().applyFormats(ValueFormats::current(FormatMoment::Printing));
}

} // namespace oquivran
