#include <random>

#include "tests/com/zeta_page_fixture.h"

namespace nyx::test {
namespace {

/// A page and what a host may hand it.
struct PageRig {
    ComPtr<IPropertyPage> page;
    ComPtr<IEncodeParmeter_QZTA> encoder;
    ComPtr<PageSite> site = MakeCom<PageSite>();
    RECT place = {0, 0, 300, 200};
    HWND frame = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 400, 300, nullptr, nullptr,
                                 nullptr, nullptr);

    void SetSite() { page->SetPageSite(site.get()); }
    void SetObject(IUnknown* object) { page->SetObjects(1, &object); }
    void Show() { page->Activate(frame, &place, FALSE); }
};

void (*const kCalls[])(PageRig&) = {
    [](PageRig& rig) { rig.SetSite(); },
    [](PageRig& rig) { rig.page->SetPageSite(nullptr); },
    [](PageRig& rig) { rig.SetObject(rig.encoder.get()); },
    [](PageRig& rig) { rig.SetObject(rig.site.get()); },
    [](PageRig& rig) { rig.SetObject(nullptr); },
    [](PageRig& rig) { rig.page->SetObjects(1, nullptr); },
    [](PageRig& rig) {
        IUnknown* two[] = {rig.encoder.get(), rig.site.get()};
        rig.page->SetObjects(2, two);
    },
    [](PageRig& rig) { rig.page->SetObjects(0, nullptr); },
    [](PageRig& rig) { rig.Show(); },
    [](PageRig& rig) { rig.page->Activate(rig.frame, nullptr, TRUE); },
    [](PageRig& rig) {
        rig.page->Activate(reinterpret_cast<HWND>(1), &rig.place, FALSE);  // no window
    },
    [](PageRig& rig) { rig.page->Deactivate(); },
    [](PageRig& rig) { rig.page->GetPageInfo(nullptr); },
    [](PageRig& rig) {
        PROPPAGEINFO info{};
        rig.page->GetPageInfo(&info);
        CoTaskMemFree(info.pszTitle);
    },
    [](PageRig& rig) { rig.page->Show(SW_SHOWNOACTIVATE); },
    [](PageRig& rig) { rig.page->Show(12345); },
    [](PageRig& rig) { rig.page->Move(&rig.place); },
    [](PageRig& rig) { rig.page->Move(nullptr); },
    [](PageRig& rig) { rig.page->IsPageDirty(); },
    [](PageRig& rig) { rig.page->Apply(); },
    [](PageRig& rig) { rig.page->Help(nullptr); },
    [](PageRig& rig) { rig.page->TranslateAccelerator(nullptr); },
    [](PageRig& rig) {
        MSG key = {nullptr, WM_KEYDOWN, VK_TAB, 1, 0, {}};
        rig.page->TranslateAccelerator(&key);
        for (const int button : kPresetButtons) {
            SendDlgItemMessageW(GetWindow(rig.frame, GW_CHILD), button, BM_CLICK, 0, 0);
        }
    },
};

using ZetaPageOrders = ZetaPageTest;

TEST_F(ZetaPageOrders, OfHundredsOfCallsAreSurvivedAndThePageServesAfterwards) {
    PageRig rig = {NewPage(), NewEncoder()};
    ASSERT_TRUE(rig.page && rig.encoder && rig.frame);
    std::minstd_rand random;
    for (int i = 0; i < 1000; ++i) {
        if (random() % 8 == 0) {  // so that what follows meets a page that is shown
            rig.SetSite();
            rig.SetObject(rig.encoder.get());
            rig.Show();
        }
        kCalls[random() % std::size(kCalls)](rig);
    }
    rig.page->Deactivate();
    rig.page->SetObjects(0, nullptr);
    rig.page->SetPageSite(nullptr);
    DestroyWindow(rig.frame);

    const EncodeParameterBlock before = {0, 5, 30, 2};
    ASSERT_EQ(rig.encoder->SetParameter(&before, FALSE), S_OK);
    const PageHost host(rig.page, rig.encoder.get());
    host.Click(IDC_PRESET_FINE);
    EXPECT_EQ(rig.page->Apply(), S_OK);
    EXPECT_EQ(Live(rig.encoder).preset, 1);
}

}  // namespace
}  // namespace nyx::test
