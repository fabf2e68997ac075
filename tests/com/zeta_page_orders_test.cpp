#include <random>

#include "tests/com/zeta_page_fixture.h"

namespace nyx::test {
namespace {

class ZetaPageOrders : public ZetaPageTest {
  protected:
    void Call(unsigned which);
    RECT place_ = {0, 0, 300, 200};
    MSG key_ = {nullptr, WM_KEYDOWN, VK_TAB, 1, 0, {}};
    ComPtr<PageSite> site_ = MakeCom<PageSite>();
    ComPtr<IEncodeParmeter_QZTA> encoder_ = NewEncoder();
    ComPtr<IPropertyPage> page_ = NewPage();
    HWND frame_ = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 400, 300, nullptr, nullptr,
                                  nullptr, nullptr);
};

constexpr unsigned kCalls = 23;

void ZetaPageOrders::Call(unsigned which) {
    IUnknown* objects[] = {encoder_.get(), site_.get(), nullptr};
    PROPPAGEINFO info{};
    const HWND dialog = GetWindow(frame_, GW_CHILD);
    switch (which) {
        case 0:
            page_->SetPageSite(site_.get());
            break;
        case 1:
            page_->SetPageSite(nullptr);
            break;
        case 2:
            page_->SetObjects(1, &objects[0]);
            break;
        case 3:
            page_->SetObjects(1, &objects[1]);
            break;  // no encoder
        case 4:
            page_->SetObjects(1, &objects[2]);
            break;  // no object
        case 5:
            page_->SetObjects(1, nullptr);
            break;
        case 6:
            page_->SetObjects(2, objects);
            break;
        case 7:
            page_->SetObjects(0, nullptr);
            break;
        case 8:
            page_->Activate(frame_, &place_, FALSE);
            break;
        case 9:
            page_->Activate(frame_, nullptr, TRUE);
            break;
        case 10:
            page_->Activate(reinterpret_cast<HWND>(1), &place_, FALSE);
            break;
        case 11:
            page_->Deactivate();
            break;
        case 12:
            page_->GetPageInfo(nullptr);
            break;
        case 13:
            page_->GetPageInfo(&info);
            CoTaskMemFree(info.pszTitle);
            break;
        case 14:
            page_->Show(SW_SHOWNOACTIVATE);
            break;
        case 15:
            page_->Show(12345);
            break;
        case 16:
            page_->Move(&place_);
            break;
        case 17:
            page_->Move(nullptr);
            break;
        case 18:
            page_->IsPageDirty();
            break;
        case 19:
            page_->Apply();
            break;
        case 20:
            page_->Help(nullptr);
            break;
        case 21:
            page_->TranslateAccelerator(nullptr);
            break;
        default:
            page_->TranslateAccelerator(&key_);
            for (const int button : kPresetButtons) {
                SendDlgItemMessageW(dialog, button, BM_CLICK, 0, 0);
            }
    }
}

TEST_F(ZetaPageOrders, OfHundredsOfCallsAreSurvivedAndThePageServesAfterwards) {
    ASSERT_TRUE(page_ && encoder_ && frame_);
    std::minstd_rand random;
    for (int i = 0; i < 1000; ++i) {
        if (random() % 8 == 0) {  // so that what follows meets a page that is shown
            Call(0);
            Call(2);
            Call(8);
        }
        Call(random() % kCalls);
    }
    page_->Deactivate();
    page_->SetObjects(0, nullptr);
    page_->SetPageSite(nullptr);
    DestroyWindow(frame_);

    const EncodeParameterBlock before = {0, 5, 30, 2};
    ASSERT_EQ(encoder_->SetParameter(&before, FALSE), S_OK);
    const PageHost host(page_, encoder_.get());
    host.Click(IDC_PRESET_FINE);
    EXPECT_EQ(page_->Apply(), S_OK);
    EXPECT_EQ(Live(encoder_).preset, 1);
}

}  // namespace
}  // namespace nyx::test
