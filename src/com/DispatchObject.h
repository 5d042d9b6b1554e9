#pragma once

#include "ComModule.h"

#include <oquivran/RuntimeError.h>

#include <QString>

#include <atomic>
#include <exception>

#include <oaidl.h>
#include <oleauto.h>

namespace oquivran::com {

// The plumbing every automation object of the server shares: reference counting, the
// interfaces it answers, IDispatch through the embedded type library (names and calls), and
// ISupportErrorInfo so that a failure reaches the caller with its text and source.
// Interface is the object's dual interface, iid its identifier, source the name errors carry
// ("oQUIVRAN.clQUIVRAN").
template <class Interface, const IID& iid>
class DispatchObject : public Interface, public ISupportErrorInfo
{
public:
    using DispatchInterface = Interface;

    DispatchObject(const wchar_t* source) : m_source(QString::fromWCharArray(source))
    {
        ComModule::objectCreated();
    }
    virtual ~DispatchObject() { ComModule::objectDestroyed(); }
    DispatchObject(const DispatchObject&) = delete;
    DispatchObject& operator=(const DispatchObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID requested, void** object) override
    {
        if (!object)
            return E_POINTER;
        *object = interfaceFor(requested);
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        if (!count)
            return E_POINTER;
        *count = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override
    {
        if (!info)
            return E_POINTER;
        *info = nullptr;
        if (index != 0)
            return DISP_E_BADINDEX;
        ITypeInfo* found = ComModule::typeInfo(iid);
        if (!found)
            return TYPE_E_CANTLOADLIBRARY;
        found->AddRef();
        *info = found;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override
    {
        ITypeInfo* info = ComModule::typeInfo(iid);
        if (!info)
            return TYPE_E_CANTLOADLIBRARY;
        return DispGetIDsOfNames(info, names, count, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argumentError) override
    {
        ITypeInfo* info = ComModule::typeInfo(iid);
        if (!info)
            return TYPE_E_CANTLOADLIBRARY;
        return DispInvoke(static_cast<Interface*>(this), info, member, flags, parameters, result,
                          exception, argumentError);
    }

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID requested) override
    {
        return IsEqualIID(requested, iid) ? S_OK : S_FALSE;
    }

protected:
    // The interface of this object that answers requested, or null.
    virtual void* interfaceFor(REFIID requested)
    {
        if (IsEqualIID(requested, IID_IUnknown) || IsEqualIID(requested, IID_IDispatch) ||
            IsEqualIID(requested, iid))
            return static_cast<Interface*>(this);
        if (IsEqualIID(requested, IID_ISupportErrorInfo))
            return static_cast<ISupportErrorInfo*>(this);
        return nullptr;
    }

    // Runs a member's body; what it throws becomes the caller's COM error.
    template <class Body> HRESULT guarded(Body body)
    {
        try {
            body();
            return S_OK;
        } catch (const RuntimeError& error) {
            return ComModule::fail(error, m_source, iid);
        } catch (const std::exception& error) {
            return ComModule::fail(E_FAIL, QString::fromLocal8Bit(error.what()), m_source, iid);
        }
    }
    // The COM error for a missing out argument.
    HRESULT nullArgument()
    {
        return ComModule::fail(E_POINTER, QStringLiteral("Argumento nulo"), m_source, iid);
    }

    QString m_source;

private:
    std::atomic<ULONG> m_references{1};
};

} // namespace oquivran::com
