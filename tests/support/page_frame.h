#pragma once

#include <ocidl.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include "tests/support/host.h"

namespace nyx::test {

/// Keeps the last report of a page to its frame.
struct PageSite : Object<IPropertyPageSite> {
    DWORD status = 0;

    STDMETHODIMP OnStatusChange(DWORD flags) override {
        status = flags;
        return S_OK;
    }
    STDMETHODIMP GetLocaleID(LCID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP TranslateAccelerator(MSG*) override { return S_FALSE; }
};

/// A property frame of the suite's own: shows one page for one object and sends it the window
/// messages of mouse and keyboard. Needs a display.
struct PageFrame {
    PageFrame(const ComPtr<IPropertyPage>& shown, IUnknown* object) : page(shown) {
        EXPECT_EQ(page->SetPageSite(site.Get()) | page->SetObjects(1, &object), S_OK);
        ShowWindow(frame, SW_SHOWNOACTIVATE);
        Activate();
        site->status = 0;  // the report of showing
    }
    ~PageFrame() {
        page->Deactivate();
        page->SetObjects(0, nullptr);
        page->SetPageSite(nullptr);
        DestroyWindow(frame);
    }
    void Activate() {
        const RECT place = {0, 0, 400, 300};
        EXPECT_EQ(page->Activate(frame, &place, FALSE), S_OK) << "is there a display?";
        dialog = GetWindow(frame, GW_CHILD);
    }

    HWND Control(int id) const { return GetDlgItem(dialog, id); }
    LONG Ask(int control, UINT message) const {
        return static_cast<LONG>(SendDlgItemMessageW(dialog, control, message, 0, 0));
    }
    void Click(int button) const { Ask(button, BM_CLICK); }
    /// Whether the page is dirty, and its reports to the site since the last call.
    std::pair<HRESULT, DWORD> Dirty() const {
        return {page->IsPageDirty(), std::exchange(site->status, 0)};
    }
    /// The controls in the order of the tab key.
    std::vector<int> TabOrder() const {
        std::vector<int> order;
        HWND at = nullptr;
        do {
            at = GetNextDlgTabItem(dialog, at, FALSE);
            order.push_back(GetDlgCtrlID(at));
        } while (GetNextDlgTabItem(dialog, at, FALSE) != Control(order.front()));
        return order;
    }

    const ComPtr<IPropertyPage> page;
    const ComPtr<PageSite> site = Make<PageSite>();
    /// A dialog, like the system's frames, without caption or activation: without a window manager
    /// the system would wait for one.
    const HWND frame =
        CreateWindowExW(WS_EX_CONTROLPARENT, WC_DIALOG, L"", WS_POPUP | WS_CLIPCHILDREN, 20, 20,
                        400, 300, nullptr, nullptr, nullptr, nullptr);
    HWND dialog = nullptr;
};

}  // namespace nyx::test
