#include "tests/support/page_host.h"

#include <commctrl.h>

#include <fstream>
#include <stdexcept>

namespace nyx::test {
namespace {

constexpr int kMargin = 8;  // pixels around the page

/// A dialog, as the system's frames are: the letters with Alt are its work.
HWND MakeFrame(SIZE page) {
    WNDCLASSW type{};
    type.lpfnWndProc = DefDlgProcW;
    type.cbWndExtra = DLGWINDOWEXTRA;
    type.hInstance = GetModuleHandleW(nullptr);
    type.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_3DFACE + 1);
    type.lpszClassName = L"NyxPageHost";
    RegisterClassW(&type);
    const HWND frame = CreateWindowExW(
        WS_EX_CONTROLPARENT, type.lpszClassName, L"", WS_POPUP | WS_CLIPCHILDREN, 20, 20,
        page.cx + 2 * kMargin, page.cy + 2 * kMargin, nullptr, nullptr, type.hInstance, nullptr);
    // Neither a caption nor activation: without a window manager the system would wait for one.
    ShowWindow(frame, SW_SHOWNOACTIVATE);
    return frame;
}

}  // namespace

PageHost::PageHost(const ComPtr<IPropertyPage>& shown, IUnknown* object) : page(shown) {
    PROPPAGEINFO info{};
    if (!page || FAILED(page->SetPageSite(site.get())) || FAILED(page->SetObjects(1, &object)) ||
        FAILED(page->GetPageInfo(&info))) {
        throw std::runtime_error("no page to show");
    }
    CoTaskMemFree(info.pszTitle);
    frame_ = MakeFrame(info.size);
    const RECT place = {kMargin, kMargin, kMargin + info.size.cx, kMargin + info.size.cy};
    if (!frame_ || FAILED(page->Activate(frame_, &place, FALSE))) {
        throw std::runtime_error("the page does not show: is there a display?");
    }
    dialog_ = GetWindow(frame_, GW_CHILD);
    Pump();
    site->statuses.clear();
}

PageHost::~PageHost() {
    page->Deactivate();
    page->SetObjects(0, nullptr);
    page->SetPageSite(nullptr);
    DestroyWindow(frame_);
}

void PageHost::Drag(int slider, LONG position) const {
    SendMessageW(Control(slider), TBM_SETPOS, TRUE, position);
    SendMessageW(dialog_, WM_HSCROLL, MAKEWPARAM(TB_THUMBTRACK, position),
                 reinterpret_cast<LPARAM>(Control(slider)));
}

void PageHost::Strike(int control, WPARAM key) const {
    SetFocus(Control(control));
    MSG message = {GetFocus(), WM_KEYDOWN, key, 1, 0, {}};
    if (!IsDialogMessageW(frame_, &message)) {
        SendMessageW(message.hwnd, message.message, message.wParam, message.lParam);
    }
    Pump();
}

void PageHost::StrikeWithAlt(char letter) const {
    constexpr LPARAM kAltIsDown = 1 << 29;
    MSG message = {GetFocus(), WM_SYSCHAR, static_cast<WPARAM>(letter), kAltIsDown | 1, 0, {}};
    IsDialogMessageW(frame_, &message);
    Pump();
}

LONG PageHost::Position(int slider) const {
    return static_cast<LONG>(SendMessageW(Control(slider), TBM_GETPOS, 0, 0));
}

std::wstring PageHost::Text(int control) const {
    wchar_t text[64] = {};
    GetDlgItemTextW(dialog_, control, text, 64);
    return text;
}

std::vector<int> PageHost::TabOrder() const {
    std::vector<int> order;
    const HWND first = GetNextDlgTabItem(dialog_, nullptr, FALSE);
    HWND at = first;
    do {
        order.push_back(GetDlgCtrlID(at));
        at = GetNextDlgTabItem(dialog_, at, FALSE);
    } while (at != first);
    return order;
}

void PageHost::Pump() const {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

}  // namespace nyx::test
