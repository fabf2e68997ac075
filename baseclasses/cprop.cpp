#include "baseclasses/cprop.h"

#include <tuple>

#include "baseclasses/dllentry.h"

namespace {

constexpr SIZE kDefaultPageSize = {340, 150};  // pixels

HWND MakeDialog(int id, HWND parent, DLGPROC procedure, CBasePropertyPage* page) {
    return CreateDialogParam(g_hInst, MAKEINTRESOURCE(id), parent, procedure,
                             reinterpret_cast<LPARAM>(page));
}

}  // namespace

CBasePropertyPage::CBasePropertyPage(LPCTSTR pName, LPUNKNOWN pUnk, int DialogId, int TitleId)
    : CUnknown(pName, pUnk), m_DialogId(DialogId), m_TitleStringId(TitleId) {}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IPropertyPage) {
        return GetInterface(static_cast<IPropertyPage*>(this), ppv);
    }
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

ULONG STDMETHODCALLTYPE CBasePropertyPage::NonDelegatingRelease() {
    const LONG left = InterlockedDecrement(&m_cRef);
    if (left > 0) {
        return static_cast<ULONG>(left);
    }
    // Before the derived class is destroyed; it may add and release references meanwhile.
    InterlockedIncrement(&m_cRef);
    Deactivate();
    SetPageSite(nullptr);
    SetObjects(0, nullptr);
    delete this;
    return 0;
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::SetPageSite(IPropertyPageSite* pPageSite) {
    if ((pPageSite != nullptr) == (m_pPageSite != nullptr)) {
        return E_UNEXPECTED;
    }
    ReplaceInterface(m_pPageSite, pPageSite);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::SetObjects(ULONG cObjects, IUnknown** ppUnk) {
    switch (cObjects) {
        case 0:
            m_bObjectSet = FALSE;
            return OnDisconnect();
        case 1:
            CheckPointer(ppUnk, E_POINTER);
            CheckPointer(*ppUnk, E_POINTER);
            m_bObjectSet = TRUE;
            return OnConnect(*ppUnk);
        default:
            return E_UNEXPECTED;
    }
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::GetPageInfo(PROPPAGEINFO* pPageInfo) {
    CheckPointer(pPageInfo, E_POINTER);
    *pPageInfo = PROPPAGEINFO{};
    pPageInfo->cb = sizeof(PROPPAGEINFO);
    WCHAR title[256] = {};  // stays empty without the resource
    LoadStringW(g_hInst, static_cast<UINT>(m_TitleStringId), title, ARRAYSIZE(title));
    const HRESULT hr = AMGetWideString(title, &pPageInfo->pszTitle);
    if (SUCCEEDED(hr)) {
        pPageInfo->size = DialogSize();
    }
    return hr;
}

/// The size of the dialog in pixels, measured on a dialog that exists only for that.
SIZE CBasePropertyPage::DialogSize() const {
    const HWND dialog = MakeDialog(m_DialogId, GetDesktopWindow(), DialogProc, nullptr);
    CheckPointer(dialog, kDefaultPageSize);
    RECT bounds{};
    const BOOL known = GetWindowRect(dialog, &bounds);
    DestroyWindow(dialog);
    return known ? SIZE{bounds.right - bounds.left, bounds.bottom - bounds.top} : kDefaultPageSize;
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::Activate(HWND hwndParent, LPCRECT prect, WINBOOL) {
    CheckPointer(prect, E_POINTER);
    if (!m_bObjectSet || m_hwnd) {
        return E_UNEXPECTED;
    }
    m_hwnd = MakeDialog(m_DialogId, hwndParent, DialogProc, this);
    CheckPointer(m_hwnd, E_OUTOFMEMORY);
    std::ignore = OnActivate();  // the page is shown all the same
    Move(prect);
    return Show(SW_SHOWNORMAL);
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::Deactivate() {
    CheckPointer(m_hwnd, E_UNEXPECTED);
    // While m_hwnd is set, OnReceiveMessage restores the style that is removed here.
    const HWND window = m_hwnd;
    m_hwnd = nullptr;
    SetWindowLongPtr(window, GWL_EXSTYLE,
                     GetWindowLongPtr(window, GWL_EXSTYLE) & ~WS_EX_CONTROLPARENT);
    m_hwnd = window;
    std::ignore = OnDeactivate();  // the page closes all the same
    DestroyWindow(m_hwnd);
    m_hwnd = nullptr;
    m_Dlg = nullptr;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::Move(LPCRECT prect) {
    CheckPointer(prect, E_POINTER);
    CheckPointer(m_hwnd, E_UNEXPECTED);
    MoveWindow(m_hwnd, prect->left, prect->top, prect->right - prect->left,
               prect->bottom - prect->top, TRUE);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::Show(UINT nCmdShow) {
    CheckPointer(m_hwnd, E_UNEXPECTED);
    if (nCmdShow != SW_SHOW && nCmdShow != SW_SHOWNORMAL && nCmdShow != SW_HIDE) {
        return E_INVALIDARG;
    }
    ShowWindow(m_hwnd, static_cast<int>(nCmdShow));
    InvalidateRect(m_hwnd, nullptr, TRUE);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CBasePropertyPage::Apply() {
    if (!m_bObjectSet || !m_pPageSite) {
        return E_UNEXPECTED;
    }
    if (!m_bDirty) {
        return S_OK;
    }
    const HRESULT hr = OnApplyChanges();
    if (SUCCEEDED(hr)) {
        m_bDirty = FALSE;
    }
    return hr;
}

INT_PTR CALLBACK CBasePropertyPage::DialogProc(HWND hwnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_INITDIALOG) {
        SetWindowLongPtr(hwnd, DWLP_USER, lParam);
    }
    auto* const page = reinterpret_cast<CBasePropertyPage*>(GetWindowLongPtr(hwnd, DWLP_USER));
    CheckPointer(page, FALSE);
    if (uMsg == WM_INITDIALOG) {
        page->m_Dlg = hwnd;
    }
    return page->OnReceiveMessage(hwnd, uMsg, wParam, lParam);
}

INT_PTR CBasePropertyPage::OnReceiveMessage(HWND hwnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (!m_hwnd) {
        return FALSE;
    }
    if (uMsg == WM_STYLECHANGING && static_cast<int>(wParam) == GWL_EXSTYLE) {
        // A frame removes this style, and the tab key would no longer reach the controls.
        reinterpret_cast<STYLESTRUCT*>(lParam)->styleNew |= WS_EX_CONTROLPARENT;
        return FALSE;
    }
    return DefWindowProc(hwnd, uMsg, wParam, lParam);
}
