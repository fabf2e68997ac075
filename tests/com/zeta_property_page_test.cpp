#include "tests/com/zeta_page_fixture.h"

namespace nyx::test {
namespace {

/// What the page shows.
struct Shown {
    int preset;  ///< of the checked button; -1 when none is
    std::wstring quant;
    std::wstring size;
    LONG quantSlider;
    LONG sizeSlider;
    bool enabled;  ///< the four controls of the custom preset

    bool operator==(const Shown& o) const {
        return preset == o.preset && quant == o.quant && size == o.size &&
               quantSlider == o.quantSlider && sizeSlider == o.sizeSlider && enabled == o.enabled;
    }
};

void PrintTo(const Shown& shown, std::ostream* out) {
    *out << "preset " << shown.preset << ", boxes " << ::testing::PrintToString(shown.quant) << " "
         << ::testing::PrintToString(shown.size) << ", sliders " << shown.quantSlider << " "
         << shown.sizeSlider << (shown.enabled ? ", enabled" : ", disabled");
}

Shown Look(const PageHost& host) {
    Shown shown = {-1,
                   host.Text(IDC_QUANT_BOX),
                   host.Text(IDC_SIZE_BOX),
                   host.Position(IDC_QUANT_SLIDER),
                   host.Position(IDC_SIZE_SLIDER),
                   host.IsEnabled(IDC_QUANT_SLIDER)};
    for (int preset = 0; preset < 5; ++preset) {
        if (host.IsChecked(kPresetButtons[preset])) {
            EXPECT_EQ(shown.preset, -1) << "two presets are checked";
            shown.preset = preset;
        }
    }
    for (const int control : {IDC_QUANT_BOX, IDC_SIZE_SLIDER, IDC_SIZE_BOX}) {
        EXPECT_EQ(host.IsEnabled(control), shown.enabled) << control;
    }
    return shown;
}

class ZetaPropertyPage : public ZetaPageTest {
  protected:
    /// The live parameters of the encoder that the page is for.
    void SetLive(const EncodeParameterBlock& block) {
        ASSERT_EQ(encoder_->SetParameter(&block, FALSE), S_OK);
    }
    ComPtr<IEncodeParmeter_QZTA> encoder_ = NewEncoder();
};

TEST_F(ZetaPropertyPage, ItsTitleAndSizeComeFromTheResources) {
    PROPPAGEINFO info{};
    ASSERT_EQ(NewPage()->GetPageInfo(&info), S_OK);
    EXPECT_STREQ(info.pszTitle, L"Rokka Zeta properties");
    CoTaskMemFree(info.pszTitle);
    EXPECT_GT(info.size.cx, 235);
    EXPECT_GT(info.size.cy, 76);
}

TEST_F(ZetaPropertyPage, ShowsTheEncodersLiveParameters) {
    user_.Store(kKey, L"preset", 3);
    const struct {
        EncodeParameterBlock live;
        Shown shown;
        HRESULT dirty;  // numbers out of the sliders' ranges are brought into them at once
    } cases[] = {
        {{0, 4, 40, 1}, {1, L"4", L"40", 4, 40, false}, S_FALSE},
        {{0, 5, 30, 2}, {2, L"5", L"30", 5, 30, false}, S_FALSE},
        {{0, 19, 4, 3}, {3, L"19", L"4", 19, 4, false}, S_FALSE},
        {{1, 12, 60, 4}, {4, L"12", L"60", 12, 60, true}, S_FALSE},
        {{0, 12, 60, 9}, {-1, L"12", L"60", 12, 60, false}, S_FALSE},
        {{0, 3, 50, 0}, {0, L"4", L"50", 4, 50, false}, S_OK},
        {{0, 3, 150, 4}, {4, L"4", L"100", 4, 100, true}, S_OK},
    };
    for (const auto& c : cases) {
        SetLive(c.live);
        const PageHost host(NewPage(), encoder_.get());
        EXPECT_EQ(Look(host), c.shown);
        EXPECT_EQ(host.page->IsPageDirty(), c.dirty);
        EXPECT_EQ(Live(encoder_), c.live);
    }
}

TEST_F(ZetaPropertyPage, WithoutAnEncoderItShowsTheStoredOnesAndAppliesNothing) {
    user_.Store(kKey, L"preset", 4);
    user_.Store(kKey, L"quant_scale", 12);
    user_.Store(kKey, L"max_stream_size", 60);
    const auto stranger = MakeCom<TestObject<IUnknown>>();
    const PageHost host(NewPage(), stranger.get());
    EXPECT_EQ(Look(host), (Shown{4, L"12", L"60", 12, 60, true}));
    host.Click(IDC_PRESET_OFFLINE);
    EXPECT_EQ(host.page->IsPageDirty(), S_OK);
    EXPECT_EQ(host.page->Apply(), S_OK);
    EXPECT_EQ(user_.Stored(kKey, L"preset"), 4);
}

TEST_F(ZetaPropertyPage, APresetIsShownAppliedAndStored) {
    const struct {
        int preset;
        Shown shown;
        EncodeParameterBlock applied;
    } cases[] = {
        // The number boxes hold 4 to 19, the finest preset's quantiser of 3 included.
        {0, {0, L"4", L"50", 4, 50, false}, {1, 4, 50, 0}},
        {1, {1, L"4", L"40", 4, 40, false}, {1, 4, 40, 1}},
        {2, {2, L"5", L"30", 5, 30, false}, {1, 5, 30, 2}},
        {3, {3, L"19", L"4", 19, 4, false}, {1, 19, 4, 3}},
        {4, {4, L"11", L"77", 11, 77, true}, {1, 11, 77, 4}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.preset);
        const EncodeParameterBlock before = {1, 11, 77, c.preset == 4 ? 2 : 4};
        SetLive(before);
        const PageHost host(NewPage(), encoder_.get());
        host.Click(kPresetButtons[c.preset]);
        EXPECT_EQ(Look(host), c.shown);
        EXPECT_EQ(host.page->IsPageDirty(), S_OK);
        ASSERT_FALSE(host.site->statuses.empty());
        EXPECT_EQ(host.site->statuses.back(), DWORD{PROPPAGESTATUS_DIRTY});
        EXPECT_EQ(Live(encoder_), before) << "nothing is applied before Apply";

        EXPECT_EQ(host.page->Apply(), S_OK);
        EXPECT_EQ(host.page->IsPageDirty(), S_FALSE);
        EXPECT_EQ(Live(encoder_), c.applied);
        EXPECT_EQ(user_.Stored(kKey, L"preset"), c.preset);
        EXPECT_EQ(user_.Stored(kKey, L"quant_scale"), c.applied.quant_scale);
        EXPECT_EQ(user_.Stored(kKey, L"max_stream_size"), c.applied.max_stream_size);
        EXPECT_FALSE(user_.Stored(kKey, L"color_space"));
    }
}

TEST_F(ZetaPropertyPage, ClickingTheCheckedPresetChangesNothingUnlessItsNumbersChange) {
    const PageHost host(NewPage(), encoder_.get());
    host.Click(IDC_PRESET_STANDARD);
    EXPECT_EQ(host.page->IsPageDirty(), S_FALSE);
    EXPECT_TRUE(host.site->statuses.empty());
    host.Click(IDC_PRESET_SUPERFINE);
    ASSERT_EQ(host.page->Apply(), S_OK);
    host.site->statuses.clear();
    host.Click(IDC_PRESET_SUPERFINE);
    EXPECT_EQ(host.site->statuses, std::vector<DWORD>{PROPPAGESTATUS_VALIDATE});
    EXPECT_EQ(host.page->IsPageDirty(), S_FALSE);
}

TEST_F(ZetaPropertyPage, CustomTakesTheNumbersThatAreShown) {
    const PageHost host(NewPage(), encoder_.get());
    host.Click(IDC_PRESET_OFFLINE);
    host.Click(IDC_PRESET_CUSTOM);
    EXPECT_EQ(Look(host), (Shown{4, L"19", L"4", 19, 4, true}));
    EXPECT_EQ(host.page->Apply(), S_OK);
    EXPECT_EQ(Live(encoder_), (EncodeParameterBlock{0, 19, 4, 4}));
}

TEST_F(ZetaPropertyPage, SlidersMoveTheirNumbersAndEndAtTheirRanges) {
    SetLive({0, 12, 60, 4});
    const PageHost host(NewPage(), encoder_.get());
    host.Drag(IDC_SIZE_SLIDER, -5);
    EXPECT_EQ(Look(host), (Shown{4, L"12", L"4", 12, 4, true}));
    EXPECT_EQ(host.page->IsPageDirty(), S_OK);
    EXPECT_EQ(host.site->statuses.back(), DWORD{PROPPAGESTATUS_DIRTY});
    host.Drag(IDC_QUANT_SLIDER, 1000);
    EXPECT_EQ(Look(host), (Shown{4, L"19", L"4", 19, 4, true}));
    host.Drag(IDC_QUANT_SLIDER, -5);
    host.Drag(IDC_SIZE_SLIDER, 1000);
    EXPECT_EQ(Look(host), (Shown{4, L"4", L"100", 4, 100, true}));
    host.Strike(IDC_SIZE_SLIDER, VK_LEFT);
    host.Strike(IDC_QUANT_SLIDER, VK_END);
    EXPECT_EQ(Look(host), (Shown{4, L"19", L"99", 19, 99, true}));
    EXPECT_EQ(host.page->Apply(), S_OK);
    EXPECT_EQ(Live(encoder_), (EncodeParameterBlock{0, 19, 99, 4}));
}

TEST_F(ZetaPropertyPage, TextPutIntoABoxIsClampedAndMovesTheSlider) {
    const struct {
        int box;
        const wchar_t* text;
        Shown shown;
    } cases[] = {
        {IDC_QUANT_BOX, L"7", {4, L"7", L"60", 7, 60, true}},
        {IDC_QUANT_BOX, L"999", {4, L"19", L"60", 19, 60, true}},
        {IDC_QUANT_BOX, L"-1", {4, L"4", L"60", 4, 60, true}},
        {IDC_QUANT_BOX, L"fine", {4, L"4", L"60", 4, 60, true}},
        {IDC_SIZE_BOX, L"75", {4, L"12", L"75", 12, 75, true}},
        {IDC_SIZE_BOX, L"99999999999", {4, L"12", L"100", 12, 100, true}},
        {IDC_SIZE_BOX, L"", {4, L"12", L"4", 12, 4, true}},
    };
    for (const auto& c : cases) {
        SetLive({0, 12, 60, 4});
        const PageHost host(NewPage(), encoder_.get());
        host.SetText(c.box, c.text);
        EXPECT_EQ(Look(host), c.shown);
        EXPECT_EQ(host.page->IsPageDirty(), S_OK);
        EXPECT_EQ(host.site->statuses.back(), DWORD{PROPPAGESTATUS_DIRTY});
    }
}

TEST_F(ZetaPropertyPage, TypingDoesNotReachTheReadOnlyBoxes) {
    SetLive({0, 12, 60, 4});
    const PageHost host(NewPage(), encoder_.get());
    for (const int box : {IDC_QUANT_BOX, IDC_SIZE_BOX}) {
        SetFocus(host.Control(box));
        for (const WPARAM key : {WPARAM{L'7'}, WPARAM{VK_BACK}}) {
            SendMessageW(host.Control(box), WM_CHAR, key, 1);
        }
    }
    EXPECT_EQ(Look(host), (Shown{4, L"12", L"60", 12, 60, true}));
    EXPECT_EQ(host.page->IsPageDirty(), S_FALSE);
}

TEST_F(ZetaPropertyPage, CancellingOrApplyingAnUntouchedPageStoresNothing) {
    const EncodeParameterBlock before = Live(encoder_);
    {
        const PageHost host(NewPage(), encoder_.get());
        EXPECT_EQ(host.page->Apply(), S_OK);
        host.Click(IDC_PRESET_CUSTOM);
        host.Drag(IDC_QUANT_SLIDER, 17);
        EXPECT_EQ(host.page->IsPageDirty(), S_OK);
    }
    EXPECT_EQ(Live(encoder_), before);
    EXPECT_FALSE(user_.Stored(kKey, L"preset"));
}

TEST_F(ZetaPropertyPage, ShownAgainItFollowsTheNewEncoder) {
    const auto page = NewPage();
    { const PageHost host(page, encoder_.get()); }
    const auto other = NewEncoder();
    const EncodeParameterBlock block = {0, 9, 44, 4};
    ASSERT_EQ(other->SetParameter(&block, FALSE), S_OK);
    const PageHost host(page, other.get());
    EXPECT_EQ(Look(host), (Shown{4, L"9", L"44", 9, 44, true}));
    host.Click(IDC_PRESET_OFFLINE);
    EXPECT_EQ(host.page->Apply(), S_OK);
    EXPECT_EQ(Live(other).preset, 3);
    EXPECT_EQ(Live(encoder_).preset, 2);
}

TEST_F(ZetaPropertyPage, TheTabKeyTheArrowKeysAndLettersWithAltReachWhatIsEnabled) {
    const PageHost host(NewPage(), encoder_.get());
    EXPECT_EQ(host.TabOrder(), std::vector<int>{IDC_PRESET_STANDARD});
    host.Strike(IDC_PRESET_STANDARD, VK_DOWN);
    EXPECT_EQ(Look(host), (Shown{3, L"19", L"4", 19, 4, false}));
    host.Strike(IDC_PRESET_SUPERFINE, VK_UP);
    EXPECT_EQ(Look(host).preset, 4) << "the group is a circle";
    EXPECT_EQ(host.TabOrder(), (std::vector<int>{IDC_PRESET_CUSTOM, IDC_QUANT_SLIDER, IDC_QUANT_BOX,
                                                 IDC_SIZE_SLIDER, IDC_SIZE_BOX}));
    host.StrikeWithAlt('q');
    EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDC_QUANT_SLIDER);
    host.StrikeWithAlt('m');
    EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDC_SIZE_SLIDER);
}

}  // namespace
}  // namespace nyx::test
