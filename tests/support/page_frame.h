#pragma once

#include <ocidl.h>

#include <commctrl.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/host.h"

namespace nyx::test {

/// Records what a page tells its frame.
class PageSite : public Object<IPropertyPageSite> {
  public:
    std::vector<DWORD> statuses;

    STDMETHODIMP OnStatusChange(DWORD flags) override { return statuses.push_back(flags), S_OK; }
    STDMETHODIMP GetLocaleID(LCID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP TranslateAccelerator(MSG*) override { return S_FALSE; }
};

/// A property frame of the suite's own: one page, shown for one object and used by window messages
/// as a user would by mouse and keyboard. Needs a display.
class PageFrame {
  public:
    /// Shows `shown`; throws std::runtime_error when that fails. What showing told the site is
    /// forgotten.
    PageFrame(const ComPtr<IPropertyPage>& shown, IUnknown* object) : page(shown) {
        PROPPAGEINFO info{};
        if (!page || FAILED(page->SetPageSite(site.Get())) ||
            FAILED(page->SetObjects(1, &object)) || FAILED(page->GetPageInfo(&info))) {
            throw std::runtime_error("no page to show");
        }
        CoTaskMemFree(info.pszTitle);
        // A dialog, as the system's frames are. Neither a caption nor activation: without a window
        // manager the system would wait for one.
        frame = CreateWindowExW(WS_EX_CONTROLPARENT, WC_DIALOG, L"", WS_POPUP | WS_CLIPCHILDREN, 20,
                                20, info.size.cx, info.size.cy, nullptr, nullptr, nullptr, nullptr);
        ShowWindow(frame, SW_SHOWNOACTIVATE);
        const RECT place = {0, 0, info.size.cx, info.size.cy};
        if (!frame || FAILED(page->Activate(frame, &place, FALSE))) {
            throw std::runtime_error("the page does not show: is there a display?");
        }
        dialog = GetWindow(frame, GW_CHILD);
        Pump();
        site->statuses.clear();
    }
    ~PageFrame() {
        page->Deactivate();
        page->SetObjects(0, nullptr);
        page->SetPageSite(nullptr);
        DestroyWindow(frame);
    }

    HWND Control(int id) const { return GetDlgItem(dialog, id); }
    void Click(int button) const { SendMessageW(Control(button), BM_CLICK, 0, 0); }
    /// Moves a slider's thumb there, as the mouse does.
    void Drag(int slider, LONG position) const {
        SendMessageW(Control(slider), TBM_SETPOS, TRUE, position);
        SendMessageW(dialog, WM_HSCROLL, MAKEWPARAM(TB_THUMBTRACK, position),
                     reinterpret_cast<LPARAM>(Control(slider)));
    }
    /// Puts the focus on a control and strikes a key there, by way of the dialog's keyboard rules.
    void Strike(int control, WPARAM key) const {
        SetFocus(Control(control));
        MSG message = {GetFocus(), WM_KEYDOWN, key, 1, 0, {}};
        if (!IsDialogMessageW(frame, &message)) {
            SendMessageW(message.hwnd, message.message, message.wParam, message.lParam);
        }
        Pump();
    }
    bool IsChecked(int button) const { return IsDlgButtonChecked(dialog, button) == BST_CHECKED; }
    bool IsEnabled(int control) const { return IsWindowEnabled(Control(control)) != FALSE; }
    LONG Position(int slider) const {
        return static_cast<LONG>(SendMessageW(Control(slider), TBM_GETPOS, 0, 0));
    }
    std::wstring Text(int control) const {
        wchar_t text[64] = {};
        GetDlgItemTextW(dialog, control, text, 64);
        return text;
    }
    /// The controls that the tab key goes through, from the first to the last.
    std::vector<int> TabOrder() const {
        std::vector<int> order;
        const HWND first = GetNextDlgTabItem(dialog, nullptr, FALSE);
        HWND at = first;
        do {
            order.push_back(GetDlgCtrlID(at));
            at = GetNextDlgTabItem(dialog, at, FALSE);
        } while (at != first);
        return order;
    }

    const ComPtr<IPropertyPage> page;
    const ComPtr<PageSite> site = Make<PageSite>();
    HWND frame = nullptr, dialog = nullptr;

  private:
    static void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
};

}  // namespace nyx::test
