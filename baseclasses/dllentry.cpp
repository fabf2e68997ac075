#include "baseclasses/dllentry.h"

#include <new>

HINSTANCE g_hInst = nullptr;
volatile LONG CClassFactory::m_cLocked = 0;

namespace {

const CFactoryTemplate* FindTemplate(REFCLSID rclsid) {
    for (int i = 0; i < g_cTemplates; ++i) {
        if (g_Templates[i].IsClassID(rclsid)) {
            return &g_Templates[i];
        }
    }
    return nullptr;
}

}  // namespace

CUnknown* CFactoryTemplate::CreateInstance(LPUNKNOWN pUnk, HRESULT* phr) const {
    CheckPointer(m_lpfnNew, nullptr);
    try {
        return m_lpfnNew(pUnk, phr);
    } catch (const std::bad_alloc&) {
        *phr = E_OUTOFMEMORY;
    } catch (...) {
        *phr = E_UNEXPECTED;
    }
    return nullptr;
}

CClassFactory::CClassFactory(const CFactoryTemplate* pTemplate)
    : CBaseObject(NAME("Class Factory")), m_pTemplate(pTemplate) {}

HRESULT STDMETHODCALLTYPE CClassFactory::QueryInterface(REFIID riid, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    if (riid == IID_IUnknown || riid == IID_IClassFactory) {
        return GetInterface(this, ppv);
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE CClassFactory::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
}

ULONG STDMETHODCALLTYPE CClassFactory::Release() {
    const LONG left = InterlockedDecrement(&m_cRef);
    if (left == 0) {
        delete this;
    }
    return static_cast<ULONG>(left);
}

HRESULT STDMETHODCALLTYPE CClassFactory::CreateInstance(LPUNKNOWN pUnkOuter, REFIID riid,
                                                        void** ppv) {
    CheckPointer(ppv, E_POINTER);
    *ppv = nullptr;
    if (pUnkOuter && riid != IID_IUnknown) {
        return E_NOINTERFACE;
    }
    HRESULT hr = S_OK;
    CUnknown* const object = m_pTemplate->CreateInstance(pUnkOuter, &hr);
    if (!object) {
        return FAILED(hr) ? hr : E_OUTOFMEMORY;
    }
    // The release deletes the object when its construction or the query fails.
    object->NonDelegatingAddRef();
    if (SUCCEEDED(hr)) {
        hr = object->NonDelegatingQueryInterface(riid, ppv);
    }
    object->NonDelegatingRelease();
    return hr;
}

HRESULT STDMETHODCALLTYPE CClassFactory::LockServer(BOOL fLock) {
    if (fLock) {
        InterlockedIncrement(&m_cLocked);
    } else {
        InterlockedDecrement(&m_cLocked);
    }
    return S_OK;
}

BOOL CClassFactory::IsLocked() {
    return m_cLocked > 0;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != IID_IClassFactory) {
        return E_NOINTERFACE;
    }
    const CFactoryTemplate* const found = FindTemplate(rclsid);
    CheckPointer(found, CLASS_E_CLASSNOTAVAILABLE);
    auto* const factory = new (std::nothrow) CClassFactory(found);
    CheckPointer(factory, E_OUTOFMEMORY);
    return GetInterface(factory, ppv);
}

STDAPI DllCanUnloadNow() {
    return CClassFactory::IsLocked() || CBaseObject::ObjectsActive() > 0 ? S_FALSE : S_OK;
}

extern "C" BOOL WINAPI DllEntryPoint(HINSTANCE hInstance, ULONG ulReason, LPVOID) {
    // Thread calls stay enabled: the statically linked runtime frees its per-thread data in them.
    if (ulReason == DLL_PROCESS_ATTACH) {
        g_hInst = hInstance;
    }
    return TRUE;
}
