#include "baseclasses/combase.h"

HRESULT WINAPI GetInterface(LPUNKNOWN pUnk, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    *ppv = pUnk;
    pUnk->AddRef();
    return S_OK;
}

namespace {

/// The identity of `object` itself; callers see an `IUnknown` with the same three slots.
LPUNKNOWN InnerUnknown(PNDUNKNOWN object) {
    return reinterpret_cast<LPUNKNOWN>(object);
}

}  // namespace

CUnknown::CUnknown(LPCTSTR, LPUNKNOWN pUnk) : m_pUnknown(pUnk ? pUnk : InnerUnknown(this)) {}

HRESULT STDMETHODCALLTYPE CUnknown::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    if (riid == IID_IUnknown) {
        return GetInterface(InnerUnknown(this), ppv);
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE CUnknown::NonDelegatingAddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
}

ULONG STDMETHODCALLTYPE CUnknown::NonDelegatingRelease() {
    const LONG left = InterlockedDecrement(&m_cRef);
    if (left > 0) {
        return static_cast<ULONG>(left);
    }
    // A destructor may add and release references, which must not delete the object again.
    InterlockedIncrement(&m_cRef);
    delete this;
    return 0;
}
