#pragma once

#include <atomic>

#include <unknwn.h>

namespace oquivran::com {

// The class object of one creatable class: makes its objects for CoCreateInstance (no
// aggregation) and keeps the server loaded while a host locks it.
class ClassFactory : public IClassFactory
{
public:
    // create makes a new object with one reference, or null.
    using Creator = IUnknown* (*)();
    explicit ClassFactory(Creator create);
    virtual ~ClassFactory();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID requested, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID requested,
                                             void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

private:
    Creator m_create;
    std::atomic<ULONG> m_references{1};
};

} // namespace oquivran::com
