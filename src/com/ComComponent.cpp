#include "ComComponent.h"

#include "ComRecordset.h"
#include "ComSqlDataObject.h"
#include "DispatchDataObject.h"
#include "LateBinding.h"
#include "ModuleState.h"
#include "VariantConversion.h"

#include <oquivran/Module.h>
#include <oquivran/Recordset.h>
#include <oquivran/SqlDataObject.h>

#include <memory>
#include <vector>

namespace oquivran::com {

namespace {

// The host interface's dispatch ids, apart from those of the component's interface.
constexpr DISPID firstHostMember = 101;
constexpr DISPID lastHostMember = 199;

// What the bindings hold for the life of the component: the wrappers of the host's objects
// and references to the component's own data objects.
struct BoundObjects
{
    std::vector<std::unique_ptr<DispatchDataObject>> wrappers;
    std::vector<IDispatch*> references;

    void release()
    {
        wrappers.clear();
        for (IDispatch* object : references)
            object->Release();
        references.clear();
    }
};

BoundObjects& boundObjects()
{
    static BoundObjects bound;
    return bound;
}

} // namespace

ComComponent::ComComponent() : DispatchObject(L"oQUIVRAN.clQUIVRAN") {}

void* ComComponent::interfaceFor(REFIID requested)
{
    if (IsEqualIID(requested, IID_IclQUIVRANHost))
        return static_cast<IclQUIVRANHost*>(this);
    return DispatchObject::interfaceFor(requested);
}

HRESULT ComComponent::QueryInterface(REFIID requested, void** object)
{
    return DispatchObject::QueryInterface(requested, object);
}

ULONG ComComponent::AddRef()
{
    return DispatchObject::AddRef();
}

ULONG ComComponent::Release()
{
    return DispatchObject::Release();
}

HRESULT ComComponent::GetTypeInfoCount(UINT* count)
{
    return DispatchObject::GetTypeInfoCount(count);
}

HRESULT ComComponent::GetTypeInfo(UINT index, LCID locale, ITypeInfo** info)
{
    return DispatchObject::GetTypeInfo(index, locale, info);
}

HRESULT ComComponent::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                    DISPID* ids)
{
    const HRESULT found = DispatchObject::GetIDsOfNames(iid, names, count, locale, ids);
    if (found != DISP_E_UNKNOWNNAME)
        return found;
    ITypeInfo* host = ComModule::typeInfo(IID_IclQUIVRANHost);
    return host ? DispGetIDsOfNames(host, names, count, ids) : found;
}

HRESULT ComComponent::Invoke(DISPID member, REFIID iid, LCID locale, WORD flags,
                             DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                             UINT* argumentError)
{
    if (member >= firstHostMember && member <= lastHostMember) {
        ITypeInfo* host = ComModule::typeInfo(IID_IclQUIVRANHost);
        if (!host)
            return TYPE_E_CANTLOADLIBRARY;
        return DispInvoke(static_cast<IclQUIVRANHost*>(this), host, member, flags, parameters,
                          result, exception, argumentError);
    }
    return DispatchObject::Invoke(member, iid, locale, flags, parameters, result, exception,
                                  argumentError);
}

HRESULT ComComponent::InterfaceSupportsErrorInfo(REFIID requested)
{
    if (IsEqualIID(requested, IID_IclQUIVRANHost))
        return S_OK;
    return DispatchObject::InterfaceSupportsErrorInfo(requested);
}

HRESULT ComComponent::put_Restar_PerMer(VARIANT_BOOL value)
{
    return guarded([&] { m_component.Restar_PerMer(value != VARIANT_FALSE); });
}

HRESULT ComComponent::put_SubRegimen(BSTR value)
{
    return guarded([&] { m_component.SubRegimen(fromBstr(value)); });
}

HRESULT ComComponent::put_Aduana(BSTR value)
{
    return guarded([&] { m_component.Aduana(fromBstr(value)); });
}

HRESULT ComComponent::put_Oficializacion(BSTR value)
{
    return guarded([&] { m_component.Oficializacion(fromBstr(value)); });
}

HRESULT ComComponent::put_AAT(BSTR value)
{
    return guarded([&] { m_component.AAT(fromBstr(value)); });
}

HRESULT ComComponent::put_INTERNO(BSTR value)
{
    return guarded([&] { m_component.INTERNO(fromBstr(value)); });
}

HRESULT ComComponent::put_SUBITEM(LONG value)
{
    return guarded([&] { m_component.SUBITEM(qint32(value)); });
}

HRESULT ComComponent::put_CATNRO(BSTR value)
{
    return guarded([&] { m_component.CATNRO(fromBstr(value)); });
}

HRESULT ComComponent::put_PRDNRO(BSTR value)
{
    return guarded([&] { m_component.PRDNRO(fromBstr(value)); });
}

HRESULT ComComponent::put_PRDCAN(double value)
{
    return guarded([&] { m_component.PRDCAN(value); });
}

HRESULT ComComponent::put_Dir_Formularios(BSTR value)
{
    return guarded([&] { m_component.Dir_Formularios(fromBstr(value)); });
}

HRESULT ComComponent::bind(IDispatch* dataObject, Binding binding)
{
    ModuleState& state = moduleState();
    DataObject* const bound =
        binding == Binding::Discharge ? state.dataObject : state.secondDataObject;
    // The first binding stays for the life of the component.
    if (bound || !dataObject)
        return S_OK;
    return guarded([&] {
        BoundObjects& kept = boundObjects();
        DataObject* chosen = ComSqlDataObject::dataObjectOf(dataObject);
        if (chosen) {
            dataObject->AddRef();
            kept.references.push_back(dataObject);
        } else {
            kept.wrappers.push_back(std::make_unique<DispatchDataObject>(dataObject));
            chosen = kept.wrappers.back().get();
        }
        if (binding == Binding::Discharge)
            m_component.VincularDatos(chosen);
        else
            m_component.VincularDatosMorvik(chosen);
    });
}

HRESULT ComComponent::VincularDatos(IDispatch* dataObject)
{
    return bind(dataObject, Binding::Discharge);
}

HRESULT ComComponent::VincularDatosMorvik(IDispatch* dataObject)
{
    return bind(dataObject, Binding::Host);
}

HRESULT ComComponent::get_CIFDescontado(double* value)
{
    if (!value)
        return nullArgument();
    *value = m_component.CIFDescontado();
    return S_OK;
}

HRESULT ComComponent::get_CantidadDescontada(double* value)
{
    if (!value)
        return nullArgument();
    *value = m_component.CantidadDescontada();
    return S_OK;
}

HRESULT ComComponent::booleanResult(VARIANT_BOOL* result, bool (clQUIVRAN::*member)())
{
    if (!result)
        return nullArgument();
    return guarded([&] { *result = toVariantBool((m_component.*member)()); });
}

HRESULT ComComponent::AgregarInsumo(VARIANT_BOOL* result)
{
    return booleanResult(result, &clQUIVRAN::AgregarInsumo);
}

HRESULT ComComponent::EliminarInsumo(VARIANT_BOOL* result)
{
    return booleanResult(result, &clQUIVRAN::EliminarInsumo);
}

HRESULT ComComponent::GenerarIMP()
{
    return guarded([&] { m_component.GenerarIMP(); });
}

HRESULT ComComponent::EnviarGrupoIdSub(BSTR p_EXTINT, BSTR p_IDRoot, BSTR p_EXTGRPSBT,
                                       VARIANT_BOOL* result)
{
    if (!result)
        return nullArgument();
    return guarded([&] {
        *result = toVariantBool(m_component.EnviarGrupoIdSub(fromBstr(p_EXTINT), fromBstr(p_IDRoot),
                                                             fromBstr(p_EXTGRPSBT)));
    });
}

HRESULT ComComponent::ResetIdItems(VARIANT_BOOL* result)
{
    return booleanResult(result, &clQUIVRAN::ResetIdItems);
}

HRESULT ComComponent::EnviarNroItem(short p_ITEM, BSTR p_SubIt, VARIANT_BOOL* result)
{
    if (!result)
        return nullArgument();
    return guarded([&] {
        *result = toVariantBool(m_component.EnviarNroItem(qint16(p_ITEM), fromBstr(p_SubIt)));
    });
}

HRESULT ComComponent::Obtener_Insumos(LONG p_ITEM, VARIANT* p_Rs, VARIANT_BOOL* result)
{
    if (!result || !p_Rs)
        return nullArgument();
    return guarded([&] {
        Recordset rows;
        const bool done = m_component.Obtener_Insumos(qint32(p_ITEM), rows);
        *result = toVariantBool(done);
        if (!done)
            return;
        // A host's own data object opened the rows: the host gets its own recordset back.
        IDispatch* handed = nullptr;
        const auto* host = dynamic_cast<const DispatchDataObject*>(moduleState().dataObject);
        if (host && host->lastRecordset()) {
            handed = host->lastRecordset();
            handed->AddRef();
        } else {
            handed = new ComRecordset(rows);
        }
        VARIANT* target = V_VT(p_Rs) == (VT_VARIANT | VT_BYREF) ? V_VARIANTREF(p_Rs) : p_Rs;
        VariantClear(target);
        V_VT(target) = VT_DISPATCH;
        V_DISPATCH(target) = handed;
    });
}

HRESULT ComComponent::dischargeAsProposed(VARIANT_BOOL acceptIncomplete, VARIANT_BOOL* result)
{
    if (!result)
        return nullArgument();
    return guarded(
        [&] { *result = toVariantBool(oquivran::dischargeAsProposed(acceptIncomplete != 0)); });
}

HRESULT ComComponent::get_atomicWrites(VARIANT_BOOL* on)
{
    if (!on)
        return nullArgument();
    *on = toVariantBool(oquivran::atomicWrites());
    return S_OK;
}

HRESULT ComComponent::put_atomicWrites(VARIANT_BOOL on)
{
    oquivran::setAtomicWrites(on != VARIANT_FALSE);
    return S_OK;
}

HRESULT ComComponent::setAuditTrail(VARIANT_BOOL on, BSTR operatorName, VARIANT_BOOL* result)
{
    if (!result)
        return nullArgument();
    return guarded([&] {
        *result =
            toVariantBool(oquivran::setAuditTrail(on != VARIANT_FALSE, fromBstr(operatorName)));
    });
}

HRESULT ComComponent::get_auditTrail(VARIANT_BOOL* on)
{
    if (!on)
        return nullArgument();
    *on = toVariantBool(oquivran::auditTrail());
    return S_OK;
}

HRESULT ComComponent::setMessageHandler(IDispatch* handler)
{
    if (!handler) {
        oquivran::setMessageHandler({});
        return S_OK;
    }
    auto binding = std::make_shared<LateBinding>(handler);
    oquivran::setMessageHandler([binding](const QString& prompt, int style, const QString& title) {
        VARIANT arguments[3];
        for (VARIANT& argument : arguments)
            VariantInit(&argument);
        V_VT(&arguments[0]) = VT_BSTR;
        V_BSTR(&arguments[0]) = toBstr(prompt);
        V_VT(&arguments[1]) = VT_I4;
        V_I4(&arguments[1]) = style;
        V_VT(&arguments[2]) = VT_BSTR;
        V_BSTR(&arguments[2]) = toBstr(title.isEmpty() ? QStringLiteral("oQUIVRAN") : title);
        int answer = (style & 0x0F) == MessageYesNo ? AnswerNo : AnswerOk;
        try {
            VARIANT chosen = binding->call(QStringLiteral("Show"), DISPATCH_METHOD,
                                           {arguments[0], arguments[1], arguments[2]});
            answer = fromVariant(chosen).toInt();
            VariantClear(&chosen);
        } catch (const RuntimeError&) {
            // A handler that fails answers as a host without a screen does: nothing that was
            // not confirmed is done.
        }
        for (VARIANT& argument : arguments)
            VariantClear(&argument);
        return answer;
    });
    return S_OK;
}

HRESULT ComComponent::resetModuleState()
{
    oquivran::resetModuleState();
    boundObjects().release();
    return S_OK;
}

} // namespace oquivran::com
