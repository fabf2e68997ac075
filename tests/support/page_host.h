#pragma once

#include <ocidl.h>

#include <string>
#include <vector>

#include "tests/support/com_ptr.h"
#include "tests/support/test_object.h"

namespace nyx::test {

/// What a page tells its frame.
class PageSite : public TestObject<IPropertyPageSite> {
  public:
    std::vector<DWORD> statuses;

    HRESULT STDMETHODCALLTYPE OnStatusChange(DWORD flags) override {
        statuses.push_back(flags);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetLocaleID(LCID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG*) override { return S_FALSE; }
};

/// A property frame of the suite's own: one page, shown for one object and used by window messages
/// as a user would by mouse and keyboard. Needs a display.
class PageHost {
  public:
    /// Shows `page`; throws std::runtime_error when that fails. The messages that showing brought
    /// are not in `site`.
    PageHost(const ComPtr<IPropertyPage>& page, IUnknown* object);
    PageHost(const PageHost&) = delete;
    PageHost& operator=(const PageHost&) = delete;
    ~PageHost();

    HWND frame() const { return frame_; }
    HWND dialog() const { return dialog_; }
    HWND Control(int id) const { return GetDlgItem(dialog_, id); }

    void Click(int button) const { SendMessageW(Control(button), BM_CLICK, 0, 0); }
    /// Moves a slider's thumb there, as the mouse does.
    void Drag(int slider, LONG position) const;
    /// Puts the focus on a control and strikes a key there, by way of the dialog's keyboard rules.
    void Strike(int control, WPARAM key) const;
    /// The Alt key with a letter.
    void StrikeWithAlt(char letter) const;
    void SetText(int control, const wchar_t* text) const {
        SetDlgItemTextW(dialog_, control, text);
    }

    bool IsChecked(int button) const { return IsDlgButtonChecked(dialog_, button) == BST_CHECKED; }
    bool IsEnabled(int control) const { return IsWindowEnabled(Control(control)) != FALSE; }
    LONG Position(int slider) const;
    std::wstring Text(int control) const;
    /// The controls that the tab key goes through, from the first to the last.
    std::vector<int> TabOrder() const;

    const ComPtr<IPropertyPage> page;
    const ComPtr<PageSite> site = MakeCom<PageSite>();

  private:
    void Pump() const;

    HWND frame_ = nullptr;
    HWND dialog_ = nullptr;
};

}  // namespace nyx::test
