#include "ClassFactory.h"

#include "ComModule.h"

namespace oquivran::com {

ClassFactory::ClassFactory(Creator create) : m_create(create)
{
    ComModule::objectCreated();
}

ClassFactory::~ClassFactory()
{
    ComModule::objectDestroyed();
}

HRESULT ClassFactory::QueryInterface(REFIID requested, void** object)
{
    if (!object)
        return E_POINTER;
    if (IsEqualIID(requested, IID_IUnknown) || IsEqualIID(requested, IID_IClassFactory)) {
        *object = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

ULONG ClassFactory::AddRef()
{
    return ++m_references;
}

ULONG ClassFactory::Release()
{
    const ULONG left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID requested, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    ComModule::prepareQt();
    IUnknown* made = m_create();
    if (!made)
        return E_OUTOFMEMORY;
    const HRESULT result = made->QueryInterface(requested, object);
    made->Release();
    return result;
}

HRESULT ClassFactory::LockServer(BOOL lock)
{
    ComModule::lock(lock != FALSE);
    return S_OK;
}

} // namespace oquivran::com
