#include <gtest/gtest.h>

#include "baseclasses/streams.h"
#include "tests/support/com_ptr.h"
#include "tests/support/page_host.h"

namespace nyx::test {
namespace {

constexpr int kDialog = 11;
constexpr int kTitle = 12;
constexpr RECT kPlace = {1, 2, 301, 102};

/// What a page has been told; outlives it.
struct Seen {
    int connects = 0;
    int disconnects = 0;
    int activates = 0;
    int deactivates = 0;
    int applies = 0;
    bool dialogSetAtInit = false;
    bool windowSetAtInit = true;
};

class Page : public CBasePropertyPage {
  public:
    explicit Page(Seen* out, int dialog = kDialog)
        : CBasePropertyPage(NAME("Page"), nullptr, dialog, kTitle), seen(out) {}

    HRESULT OnConnect(IUnknown*) override { return ++seen->connects, S_OK; }
    HRESULT OnDisconnect() override { return ++seen->disconnects, S_OK; }
    HRESULT OnActivate() override { return ++seen->activates, S_OK; }
    HRESULT OnDeactivate() override { return ++seen->deactivates, S_OK; }
    HRESULT OnApplyChanges() override { return ++seen->applies, applyResult; }
    INT_PTR OnReceiveMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_INITDIALOG) {
            seen->dialogSetAtInit = m_Dlg == hwnd;
            seen->windowSetAtInit = m_hwnd != nullptr;
        }
        return CBasePropertyPage::OnReceiveMessage(hwnd, message, wParam, lParam);
    }

    Seen* seen;
    HRESULT applyResult = S_OK;
    HWND Window() const { return m_hwnd; }
    void Change() { m_bDirty = TRUE; }
};

class PropertyPage : public ::testing::Test {
  protected:
    void SetUp() override {
        const HWND probe =
            CreateWindowW(L"STATIC", L"", 0, 0, 0, 1, 1, nullptr, nullptr, g_hInst, nullptr);
        ASSERT_NE(probe, nullptr) << "windows need a display";
        DestroyWindow(probe);
    }
    void Connect() {
        IUnknown* objects[] = {object.get()};
        ASSERT_EQ(page->SetObjects(1, objects), S_OK);
        ASSERT_EQ(page->SetPageSite(site.get()), S_OK);
    }
    Seen seen;
    ComPtr<TestObject<IUnknown>> object = MakeCom<TestObject<IUnknown>>();
    ComPtr<PageSite> site = MakeCom<PageSite>();
    ComPtr<Page> page{new Page(&seen)};
};

TEST_F(PropertyPage, APageWithoutADialogHasTheDefaultSize) {
    const ComPtr<Page> bare(new Page(&seen, 999));
    PROPPAGEINFO info{};
    ASSERT_EQ(bare->GetPageInfo(&info), S_OK);
    CoTaskMemFree(info.pszTitle);
    EXPECT_EQ(info.size.cx, 340);
    EXPECT_EQ(info.size.cy, 150);
}

TEST_F(PropertyPage, ObjectsAreOneOrNone) {
    IUnknown* objects[] = {object.get(), object.get()};
    IUnknown* none[] = {nullptr};
    EXPECT_EQ(page->SetObjects(2, objects), E_UNEXPECTED);
    EXPECT_EQ(page->SetObjects(1, nullptr), E_POINTER);
    EXPECT_EQ(page->SetObjects(1, none), E_POINTER);
    EXPECT_EQ(page->SetObjects(1, objects), S_OK);
    EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
    EXPECT_EQ(seen.connects, 1);
    EXPECT_EQ(seen.disconnects, 1);
}

TEST_F(PropertyPage, ASiteIsSetAndTakenBackInTurn) {
    EXPECT_EQ(page->SetPageSite(nullptr), E_UNEXPECTED);
    EXPECT_EQ(page->SetPageSite(site.get()), S_OK);
    EXPECT_EQ(page->SetPageSite(site.get()), E_UNEXPECTED);
    EXPECT_EQ(page->SetPageSite(nullptr), S_OK);
    EXPECT_EQ(site->References(), 1u);
}

TEST_F(PropertyPage, ActivatingNeedsAnObjectAndMakesOneDialog) {
    EXPECT_EQ(page->Activate(GetDesktopWindow(), &kPlace, FALSE), E_UNEXPECTED);
    Connect();
    EXPECT_EQ(page->Activate(GetDesktopWindow(), nullptr, FALSE), E_POINTER);
    ASSERT_EQ(page->Activate(GetDesktopWindow(), &kPlace, FALSE), S_OK);
    EXPECT_TRUE(seen.dialogSetAtInit);
    EXPECT_FALSE(seen.windowSetAtInit);
    EXPECT_EQ(seen.activates, 1);
    RECT bounds{};
    GetWindowRect(page->Window(), &bounds);
    EXPECT_EQ(bounds.right - bounds.left, 300);
    EXPECT_EQ(bounds.bottom - bounds.top, 100);
    EXPECT_EQ(page->Activate(GetDesktopWindow(), &kPlace, FALSE), E_UNEXPECTED);
    EXPECT_EQ(page->Show(SW_HIDE), S_OK);
    EXPECT_EQ(page->Show(SW_SHOWMAXIMIZED), E_INVALIDARG);

    const HWND window = page->Window();
    EXPECT_EQ(page->Deactivate(), S_OK);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(seen.deactivates, 1);
    EXPECT_EQ(page->Deactivate(), E_UNEXPECTED);
    EXPECT_EQ(page->Show(SW_SHOW), E_UNEXPECTED);
    EXPECT_EQ(page->Move(&kPlace), E_UNEXPECTED);
}

TEST_F(PropertyPage, TheControlParentStyleCannotBeTakenAwayWhileActive) {
    Connect();
    ASSERT_EQ(page->Activate(GetDesktopWindow(), &kPlace, FALSE), S_OK);
    SetWindowLongW(page->Window(), GWL_EXSTYLE, 0);
    EXPECT_TRUE(GetWindowLongW(page->Window(), GWL_EXSTYLE) & WS_EX_CONTROLPARENT);
}

TEST_F(PropertyPage, ChangesAreAppliedOnceAndStayWhenApplyingFails) {
    EXPECT_EQ(page->Apply(), E_UNEXPECTED);
    Connect();
    EXPECT_EQ(page->IsPageDirty(), S_FALSE);
    EXPECT_EQ(page->Apply(), S_OK);
    EXPECT_EQ(seen.applies, 0) << "nothing to apply";
    page->Change();
    EXPECT_EQ(page->IsPageDirty(), S_OK);
    page->applyResult = E_ABORT;
    EXPECT_EQ(page->Apply(), E_ABORT);
    EXPECT_EQ(page->IsPageDirty(), S_OK);
    page->applyResult = S_OK;
    EXPECT_EQ(page->Apply(), S_OK);
    EXPECT_EQ(page->IsPageDirty(), S_FALSE);
    EXPECT_EQ(seen.applies, 2);
}

TEST_F(PropertyPage, TheLastReleaseLetsGoOfWindowSiteAndObject) {
    Connect();
    ASSERT_EQ(page->Activate(GetDesktopWindow(), &kPlace, FALSE), S_OK);
    const HWND window = page->Window();
    EXPECT_EQ(page.Reset(), 0u);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(seen.deactivates, 1);
    EXPECT_EQ(seen.disconnects, 1);
    EXPECT_EQ(site->References(), 1u);
    EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
}

}  // namespace
}  // namespace nyx::test
