#pragma once

#include "baseclasses/combase.h"

/// A property page over a dialog resource of the module. A derived class overrides the On
/// functions; when the user changes something it sets `m_bDirty` and calls
/// `m_pPageSite->OnStatusChange`. All calls come on the thread of the property frame.
class CBasePropertyPage : public CUnknown, public IPropertyPage {
  public:
    /// `DialogId` and `TitleId` name a dialog and a string resource.
    CBasePropertyPage(LPCTSTR pName, LPUNKNOWN pUnk, int DialogId, int TitleId);

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    /// The last release closes the window and releases site and object before it deletes the page.
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

    /// Passes the object whose properties the page shows; the derived class keeps what it needs.
    [[nodiscard]] virtual HRESULT OnConnect(IUnknown*) { return S_OK; }
    [[nodiscard]] virtual HRESULT OnDisconnect() { return S_OK; }
    /// The dialog exists and is about to be shown.
    [[nodiscard]] virtual HRESULT OnActivate() { return S_OK; }
    [[nodiscard]] virtual HRESULT OnDeactivate() { return S_OK; }
    [[nodiscard]] virtual HRESULT OnApplyChanges() { return S_OK; }
    /// Handles a message of the dialog; overriders pass others on to this. While the dialog is
    /// being created, `m_Dlg` is set and `m_hwnd` is not.
    virtual INT_PTR OnReceiveMessage(HWND hwnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

    // IPropertyPage
    HRESULT STDMETHODCALLTYPE SetPageSite(IPropertyPageSite* pPageSite) override;
    HRESULT STDMETHODCALLTYPE Activate(HWND hwndParent, LPCRECT prect, WINBOOL fModal) override;
    HRESULT STDMETHODCALLTYPE Deactivate() override;
    HRESULT STDMETHODCALLTYPE GetPageInfo(PROPPAGEINFO* pPageInfo) override;
    HRESULT STDMETHODCALLTYPE SetObjects(ULONG cObjects, IUnknown** ppUnk) override;
    HRESULT STDMETHODCALLTYPE Show(UINT nCmdShow) override;
    HRESULT STDMETHODCALLTYPE Move(LPCRECT prect) override;
    HRESULT STDMETHODCALLTYPE IsPageDirty() override { return m_bDirty ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE Apply() override;
    HRESULT STDMETHODCALLTYPE Help(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG*) override { return E_NOTIMPL; }

  protected:
    IPropertyPageSite* m_pPageSite = nullptr;
    HWND m_hwnd = nullptr;  ///< the dialog while the page is active
    HWND m_Dlg = nullptr;   ///< the dialog from WM_INITDIALOG on
    int m_DialogId;
    int m_TitleStringId;
    BOOL m_bDirty = FALSE;  ///< the user has changed what is not applied yet

    static INT_PTR CALLBACK DialogProc(HWND hwnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

  private:
    SIZE DialogSize() const;

    BOOL m_bObjectSet = FALSE;
};
