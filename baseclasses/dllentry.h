#pragma once

#include "baseclasses/combase.h"
#include "baseclasses/dllsetup.h"

/// Creates one object; null, or a failure in `*phr`, when that fails.
typedef CUnknown*(CALLBACK* LPFNNewCOMObject)(LPUNKNOWN pUnkOuter, HRESULT* phr);

/// One class that the module serves.
class CFactoryTemplate {
  public:
    const WCHAR* m_Name;
    const CLSID* m_ClsID;
    LPFNNewCOMObject m_lpfnNew;
    const AMOVIESETUP_FILTER* m_pAMovieSetup_Filter;  ///< null for a class that is no filter

    BOOL IsClassID(REFCLSID rclsid) const { return *m_ClsID == rclsid; }
    CUnknown* CreateInstance(LPUNKNOWN pUnk, HRESULT* phr) const;
};

/// The module's classes and their number, defined by the module.
extern CFactoryTemplate g_Templates[];
extern int g_cTemplates;

/// The module's handle, set when the module is loaded.
extern HINSTANCE g_hInst;

/// The class object of one template. Thread-safe. Aggregates only when asked for `IUnknown`.
class CClassFactory final : public IClassFactory, public CBaseObject {
  public:
    /// Starts without a reference; `pTemplate` outlives it.
    explicit CClassFactory(const CFactoryTemplate* pTemplate);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateInstance(LPUNKNOWN pUnkOuter, REFIID riid, void** ppv) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) override;

    /// True while LockServer keeps the module loaded.
    static BOOL IsLocked();

  private:
    ~CClassFactory() = default;

    const CFactoryTemplate* const m_pTemplate;
    volatile LONG m_cRef = 0;
    static volatile LONG m_cLocked;
};

/// Keeps the module's handle. The module's DllMain passes every call to this.
extern "C" BOOL WINAPI DllEntryPoint(HINSTANCE hInstance, ULONG ulReason, LPVOID pv);
