#include "baseclasses/dllentry.h"

#include <new>

HINSTANCE g_hInst = nullptr;

namespace {

const CFactoryTemplate* FindTemplate(REFCLSID rclsid) {
    for (int i = 0; i < g_cTemplates; ++i) {
        if (*g_Templates[i].m_ClsID == rclsid) {
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

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
    CheckPointer(ppv, E_POINTER);
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != IID_IClassFactory) {
        return E_NOINTERFACE;
    }
    const CFactoryTemplate* const found = FindTemplate(rclsid);
    CheckPointer(found, CLASS_E_CLASSNOTAVAILABLE);
    *ppv = static_cast<IClassFactory*>(new (std::nothrow) CClassFactory(found));
    return *ppv ? S_OK : E_OUTOFMEMORY;
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
