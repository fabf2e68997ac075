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

    CUnknown* CreateInstance(LPUNKNOWN pUnk, HRESULT* phr) const;
};

/// The module's classes and their number, defined by the module.
extern CFactoryTemplate g_Templates[];
extern int g_cTemplates;

/// The module's handle, set when the module is loaded.
extern HINSTANCE g_hInst;

/// The class object of one template. Thread-safe. Aggregates only when asked for `IUnknown`.
class CClassFactory final : public CSimpleUnknown<IClassFactory>, public CBaseObject {
  public:
    /// `pTemplate` outlives it.
    explicit CClassFactory(const CFactoryTemplate* pTemplate) : m_pTemplate(pTemplate) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(LPUNKNOWN pUnkOuter, REFIID riid, void** ppv) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) override;

    /// True while LockServer keeps the module loaded.
    static BOOL IsLocked() { return m_cLocked > 0; }

  private:
    const CFactoryTemplate* const m_pTemplate;
    static inline constinit volatile LONG m_cLocked = 0;
};

/// Keeps the module's handle. The module's DllMain passes every call to this.
extern "C" BOOL WINAPI DllEntryPoint(HINSTANCE hInstance, ULONG ulReason, LPVOID pv);
