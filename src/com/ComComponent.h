#pragma once

#include "DispatchObject.h"
#include "oQUIVRAN_h.h"

#include <oquivran/clQUIVRAN.h>

namespace oquivran::com {

// The component's public class as hosts create it (oQUIVRAN.clQUIVRAN): the dual interface
// IclQUIVRAN, members in the order of the component's interface, and on the same object
// IclQUIVRANHost, what hosts need beyond it. A script reaches both by name through the one
// IDispatch. Every instance shares the one module state, as the C++ class does.
class ComComponent : public DispatchObject<IclQUIVRAN, IID_IclQUIVRAN>, public IclQUIVRANHost
{
public:
    ComComponent();

    // IUnknown and IDispatch, for both interfaces.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID requested, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argumentError) override;
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID requested) override;

    // IclQUIVRAN
    HRESULT STDMETHODCALLTYPE put_Restar_PerMer(VARIANT_BOOL value) override;
    HRESULT STDMETHODCALLTYPE put_SubRegimen(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_Aduana(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_Oficializacion(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_AAT(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_INTERNO(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_SUBITEM(LONG value) override;
    HRESULT STDMETHODCALLTYPE put_CATNRO(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_PRDNRO(BSTR value) override;
    HRESULT STDMETHODCALLTYPE put_PRDCAN(double value) override;
    HRESULT STDMETHODCALLTYPE put_Dir_Formularios(BSTR value) override;
    HRESULT STDMETHODCALLTYPE VincularDatos(IDispatch* dataObject) override;
    HRESULT STDMETHODCALLTYPE VincularDatosMorvik(IDispatch* dataObject) override;
    HRESULT STDMETHODCALLTYPE get_CIFDescontado(double* value) override;
    HRESULT STDMETHODCALLTYPE get_CantidadDescontada(double* value) override;
    HRESULT STDMETHODCALLTYPE AgregarInsumo(VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE EliminarInsumo(VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE GenerarIMP() override;
    HRESULT STDMETHODCALLTYPE EnviarGrupoIdSub(BSTR p_EXTINT, BSTR p_IDRoot, BSTR p_EXTGRPSBT,
                                               VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE ResetIdItems(VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE EnviarNroItem(short p_ITEM, BSTR p_SubIt,
                                            VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE Obtener_Insumos(LONG p_ITEM, VARIANT* p_Rs,
                                              VARIANT_BOOL* result) override;

    // IclQUIVRANHost
    HRESULT STDMETHODCALLTYPE dischargeAsProposed(VARIANT_BOOL acceptIncomplete,
                                                  VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE get_atomicWrites(VARIANT_BOOL* on) override;
    HRESULT STDMETHODCALLTYPE put_atomicWrites(VARIANT_BOOL on) override;
    HRESULT STDMETHODCALLTYPE setAuditTrail(VARIANT_BOOL on, BSTR operatorName,
                                            VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE get_auditTrail(VARIANT_BOOL* on) override;
    HRESULT STDMETHODCALLTYPE setMessageHandler(IDispatch* handler) override;
    HRESULT STDMETHODCALLTYPE resetModuleState() override;

protected:
    void* interfaceFor(REFIID requested) override;

private:
    enum class Binding { Discharge, Host };
    // Binds a host's object, or the data object behind an oQUIVRAN.SqlDataObject, unless one
    // is bound already (the first binding stays).
    HRESULT bind(IDispatch* dataObject, Binding binding);
    // The result of a member that returns a 16-bit boolean.
    HRESULT booleanResult(VARIANT_BOOL* result, bool (clQUIVRAN::*member)());

    clQUIVRAN m_component;
};

} // namespace oquivran::com
