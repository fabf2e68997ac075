#pragma once

#include "baseclasses/combase.h"

constexpr int STR_MAX_LENGTH = 256;  ///< characters of the longest string resource used here

/// A string resource of the module in `pBuffer`, which holds STR_MAX_LENGTH characters; empty when
/// there is none. Returns `pBuffer`.
TCHAR* WINAPI StringFromResource(TCHAR* pBuffer, int iResourceID);

/// A property page on a dialog resource of the module. A derived class overrides the On functions;
/// when the user changes something it sets `m_bDirty` and calls `m_pPageSite->OnStatusChange`. All
/// calls come on the thread of the property frame.
class CBasePropertyPage : public CUnknown, public IPropertyPage {
  public:
    /// `DialogId` and `TitleId` name a dialog and a string resource.
    CBasePropertyPage(LPCTSTR pName, LPUNKNOWN pUnk, int DialogId, int TitleId);

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    /// The last release lets go of window, site and object before it deletes the page.
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

    /// The object whose properties are shown has come; the derived class keeps what it needs.
    virtual HRESULT OnConnect(IUnknown*) { return S_OK; }
    virtual HRESULT OnDisconnect() { return S_OK; }
    /// The dialog exists and is about to be shown.
    virtual HRESULT OnActivate() { return S_OK; }
    virtual HRESULT OnDeactivate() { return S_OK; }
    virtual HRESULT OnApplyChanges() { return S_OK; }
    /// A message of the dialog. Comes already while the dialog is being made: then `m_Dlg` is set
    /// and `m_hwnd` is not. What is not handled goes on to this.
    virtual INT_PTR OnReceiveMessage(HWND hwnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

    // IPropertyPage
    HRESULT STDMETHODCALLTYPE SetPageSite(IPropertyPageSite* pPageSite) override;
    HRESULT STDMETHODCALLTYPE Activate(HWND hwndParent, LPCRECT prect, WINBOOL fModal) override;
    HRESULT STDMETHODCALLTYPE Deactivate() override;
    HRESULT STDMETHODCALLTYPE GetPageInfo(PROPPAGEINFO* pPageInfo) override;
    HRESULT STDMETHODCALLTYPE SetObjects(ULONG cObjects, IUnknown** ppUnk) override;
    HRESULT STDMETHODCALLTYPE Show(UINT nCmdShow) override;
    HRESULT STDMETHODCALLTYPE Move(LPCRECT prect) override;
    HRESULT STDMETHODCALLTYPE IsPageDirty() override;
    HRESULT STDMETHODCALLTYPE Apply() override;
    HRESULT STDMETHODCALLTYPE Help(LPCWSTR lpszHelpDir) override;
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* lpMsg) override;

  protected:
    IPropertyPageSite* m_pPageSite = nullptr;
    HWND m_hwnd = nullptr;  ///< the dialog while the page is active
    HWND m_Dlg = nullptr;   ///< the dialog from WM_INITDIALOG on
    int m_DialogId;
    int m_TitleStringId;
    BOOL m_bDirty = FALSE;  ///< something is changed and not applied

    static INT_PTR CALLBACK DialogProc(HWND hwnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

  private:
    SIZE DialogSize() const;

    BOOL m_bObjectSet = FALSE;
};
