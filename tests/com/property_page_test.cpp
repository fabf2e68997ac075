/// The encoder's property page, shown for an encoder in a frame of the suite's own. Needs a
/// display.

#include <commctrl.h>
#include <ocidl.h>

#include "filters/zeta_property_page_resources.h"
#include "platform/class_ids.h"
#include "tests/com/encoder_parameters.h"

namespace nyx::test {
namespace {

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

/// In the order of their presets.
constexpr int kButtons[] = {IDC_PRESET_SUPERFINE, IDC_PRESET_FINE, IDC_PRESET_STANDARD,
                            IDC_PRESET_OFFLINE, IDC_PRESET_CUSTOM};
/// Quantiser, size and preset, which is -1 when none is checked.
using Shown = std::array<LONG, 3>;

// Whether a page is dirty and its reports to its site.
constexpr std::pair<HRESULT, DWORD> kClean{S_FALSE, 0}, kDirty{S_OK, PROPPAGESTATUS_DIRTY},
    kUnchanged{S_FALSE, PROPPAGESTATUS_VALIDATE};

/// What the page shows. Its boxes say what its sliders do; these four are for the custom preset.
Shown Look(const PageFrame& page) {
    Shown shown = {page.Ask(IDC_QUANT_SLIDER, TBM_GETPOS), page.Ask(IDC_SIZE_SLIDER, TBM_GETPOS),
                   -1};
    for (const auto& [box, value] :
         {std::pair{IDC_QUANT_BOX, shown[0]}, {IDC_SIZE_BOX, shown[1]}}) {
        EXPECT_EQ(static_cast<LONG>(GetDlgItemInt(page.dialog, box, nullptr, TRUE)), value);
        EXPECT_EQ(HIWORD(page.Ask(box, EM_GETSEL)), page.Ask(box, WM_GETTEXTLENGTH)) << "the caret";
    }
    for (int i = 0; i < 5; ++i) {
        const bool isChecked = page.Ask(kButtons[i], BM_GETCHECK) == BST_CHECKED;
        EXPECT_TRUE(!isChecked || shown[2] == -1) << "two presets are checked";
        shown[2] = isChecked ? i : shown[2];
    }
    for (const int control : {IDC_QUANT_SLIDER, IDC_QUANT_BOX, IDC_SIZE_SLIDER, IDC_SIZE_BOX}) {
        EXPECT_EQ(IsWindowEnabled(page.Control(control)) != FALSE, shown[2] == 4) << control;
    }
    return shown;
}

class Page : public ParametersTest {
  protected:
    static ComPtr<IPropertyPage> New() {
        return Module().Create<IPropertyPage>(CLSID_NyxZetaPropertyPage);
    }
    void SetLive(const Words& w) {
        const EncodeParameterBlock block = {w[0], w[1], w[2], w[3]};
        ASSERT_EQ(encoder_->SetParameter(&block, FALSE), S_OK);
    }

    ComPtr<IEncodeParmeter_QZTA> encoder_ = NewEncoder();
};

TEST_F(Page, IsTheEncodersAndShowsTheParametersOfEachInTurn) {
    Store(L"preset", 3);
    const struct {
        Words live;
        Shown shown;
        HRESULT dirty;  // numbers out of the boxes' ranges are brought into them at once
    } cases[] = {
        {{0, 4, 40, 1}, {4, 40, 1}, S_FALSE},   {{0, 19, 4, 3}, {19, 4, 3}, S_FALSE},
        {{1, 12, 60, 4}, {12, 60, 4}, S_FALSE}, {{0, 12, 60, 9}, {12, 60, -1}, S_FALSE},
        {{0, 3, 150, 4}, {4, 100, 4}, S_OK},    {{0, 3, 50, 0}, {4, 50, 0}, S_OK},
    };
    const auto page = New();
    PROPPAGEINFO info{};
    ASSERT_EQ(page->GetPageInfo(&info), S_OK);
    EXPECT_STREQ(info.pszTitle, L"Rokka Zeta properties");
    CoTaskMemFree(info.pszTitle);
    CAUUID list{};
    const auto pages = As<ISpecifyPropertyPages>(encoder_);
    EXPECT_EQ(pages->GetPages(nullptr), E_POINTER);
    ASSERT_EQ(pages->GetPages(&list), S_OK);
    ASSERT_EQ(list.cElems, 1u);
    EXPECT_EQ(list.pElems[0], CLSID_NyxZetaPropertyPage);
    CoTaskMemFree(list.pElems);
    for (const auto& c : cases) {
        encoder_ = NewEncoder();
        SetLive(c.live);
        const PageFrame frame(page, encoder_.Get());
        EXPECT_EQ(Look(frame), c.shown);
        EXPECT_EQ(page->IsPageDirty(), c.dirty);
        EXPECT_EQ(Read(encoder_), c.live);
    }
    // Without an encoder it shows the stored ones and applies nothing.
    Store(L"preset", 4);
    Store(L"quant_scale", 12);
    const PageFrame frame(New(), Make<PageSite>().Get());
    EXPECT_EQ(Look(frame), (Shown{12, 30, 4}));
    frame.Click(IDC_PRESET_OFFLINE);
    EXPECT_EQ(frame.page->Apply(), S_OK);
    EXPECT_EQ(Stored(L"preset"), 4);
}

TEST_F(Page, APresetIsStoredWhenItIsAppliedWithItsWindowOrWithout) {
    // The boxes hold 4 to 19, the finest preset's quantiser of 3 included.
    for (const Shown& shown :
         {Shown{4, 50, 0}, Shown{4, 40, 1}, Shown{5, 30, 2}, Shown{19, 4, 3}, Shown{11, 77, 4}}) {
        for (const bool windowGone : {false, true}) {
            SCOPED_TRACE(shown[2]);
            const Words before = {1, 11, 77, shown[2] == 4 ? 2 : 4};
            SetLive(before);
            const PageFrame frame(New(), encoder_.Get());
            frame.Click(kButtons[shown[2]]);
            EXPECT_EQ(Look(frame), shown);
            EXPECT_EQ(frame.Dirty(), kDirty);
            EXPECT_EQ(Read(encoder_), before) << "nothing is applied before Apply";
            EXPECT_TRUE(!windowGone || frame.page->Deactivate() == S_OK);
            EXPECT_EQ(frame.page->Apply(), S_OK);
            EXPECT_EQ(frame.page->IsPageDirty(), S_FALSE);
            EXPECT_EQ(Read(encoder_), (Words{1, shown[0], shown[1], shown[2]}));
            EXPECT_EQ((Words{Stored(L"color_space"), Stored(L"quant_scale"),
                             Stored(L"max_stream_size"), Stored(L"preset")}),
                      (Words{-1, shown[0], shown[1], shown[2]}));
        }
    }
}

TEST_F(Page, WhatIsNotAppliedStaysWithThePage) {
    {
        PageFrame frame(New(), encoder_.Get());
        frame.Click(IDC_PRESET_STANDARD);
        EXPECT_EQ(frame.Dirty(), kClean) << "it is the one";
        frame.Click(IDC_PRESET_OFFLINE);
        frame.Click(IDC_PRESET_CUSTOM);
        EXPECT_EQ(frame.page->Deactivate(), S_OK);
        frame.Activate();
        EXPECT_EQ(Look(frame), (Shown{19, 4, 4})) << "the numbers that were shown";
        EXPECT_EQ(frame.Dirty(), kDirty);
    }
    EXPECT_EQ(Read(encoder_), (Words{0, 5, 30, 2}));
    const PageFrame frame(New(), encoder_.Get());
    frame.Click(IDC_PRESET_SUPERFINE);
    frame.page->Apply();
    frame.Click(IDC_PRESET_SUPERFINE);  // whose pair is not what the boxes made of it
    EXPECT_EQ(frame.Dirty(), kUnchanged);
    frame.Click(IDC_PRESET_OFFLINE);
    EXPECT_EQ(frame.page->Apply(), S_OK);
    frame.Click(IDC_PRESET_CUSTOM);
    frame.Click(IDC_PRESET_OFFLINE);  // as applied before: no report
    EXPECT_EQ(frame.page->Deactivate(), S_OK);
    EXPECT_EQ(frame.page->Apply(), S_OK);
    EXPECT_EQ(Read(encoder_), (Words{0, 19, 4, 3}));
}

TEST_F(Page, SlidersAndTextMoveTheNumbersInsideTheirRanges) {
    const struct {
        int control;
        const wchar_t* value;  // the text of a box, the position of a slider
        LONG quant, size;
    } cases[] = {
        {IDC_SIZE_SLIDER, L"-5", 12, 4},  {IDC_QUANT_SLIDER, L"99", 19, 4},
        {IDC_QUANT_SLIDER, L"-5", 4, 4},  {IDC_SIZE_SLIDER, L"999", 4, 100},
        {IDC_QUANT_BOX, L"7", 7, 100},    {IDC_QUANT_BOX, L"999", 19, 100},
        {IDC_QUANT_BOX, L"fine", 4, 100}, {IDC_SIZE_BOX, L"-1", 4, 4},
        {IDC_SIZE_BOX, L"75", 4, 75},     {IDC_SIZE_BOX, L"99999999999", 4, 100},
    };
    SetLive({0, 12, 60, 4});
    const PageFrame frame(New(), encoder_.Get());
    for (const int box : {IDC_QUANT_BOX, IDC_SIZE_BOX}) {
        SendMessageW(frame.Control(box), WM_CHAR, L'7', 1);  // they are read-only
    }
    EXPECT_EQ(frame.Dirty(), kClean);
    for (const auto& c : cases) {
        SetDlgItemTextW(frame.dialog, c.control, c.value);  // which is nothing to a slider
        if (c.control == IDC_SIZE_SLIDER || c.control == IDC_QUANT_SLIDER) {
            const HWND slider = frame.Control(c.control);  // moved as the mouse does
            SendMessageW(slider, TBM_SETPOS, TRUE, std::stol(c.value));
            SendMessageW(frame.dialog, WM_HSCROLL, TB_THUMBTRACK, LPARAM(slider));
        }
        EXPECT_EQ(Look(frame), (Shown{c.quant, c.size, 4}));
        EXPECT_EQ(frame.Dirty(), kDirty);
        EXPECT_EQ(frame.page->Apply(), S_OK);
        EXPECT_EQ(Read(encoder_), (Words{0, c.quant, c.size, 4}));
    }
}

TEST_F(Page, EveryControlIsReachedByKeysWhenItIsEnabled) {
    const PageFrame frame(New(), encoder_.Get());
    SetWindowLongW(frame.dialog, GWL_EXSTYLE, 0);  // as frames do
    EXPECT_TRUE(GetWindowLongW(frame.dialog, GWL_EXSTYLE) & WS_EX_CONTROLPARENT);
    EXPECT_EQ(frame.TabOrder(), std::vector<int>{IDC_PRESET_STANDARD});
    SetFocus(frame.Control(IDC_PRESET_SUPERFINE));
    MSG up = {GetFocus(), WM_KEYDOWN, VK_UP, 1, 0, {}};
    EXPECT_TRUE(IsDialogMessageW(frame.frame, &up));
    EXPECT_EQ(Look(frame)[2], 4) << "the group is a circle";
    EXPECT_EQ(frame.TabOrder(), (std::vector<int>{IDC_PRESET_CUSTOM, IDC_QUANT_SLIDER,
                                                  IDC_QUANT_BOX, IDC_SIZE_SLIDER, IDC_SIZE_BOX}));
}

TEST_F(Page, CallsOutOfTurnAreRefusedAndThePageServesAfterwards) {
    const auto page = New();
    const auto site = Make<PageSite>();
    const HWND window =
        CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 400, 300, nullptr, nullptr, nullptr, nullptr);
    const RECT place = {0, 0, 300, 200};
    IUnknown* objects[] = {encoder_.Get(), nullptr};
    const auto expectStage = [&](bool connected, bool sited, bool active) {
        const HRESULT shown = active ? S_OK : E_UNEXPECTED;
        EXPECT_EQ(page->Move(&place), shown);
        EXPECT_EQ(page->Show(SW_SHOW), shown);
        EXPECT_EQ(page->Show(SW_SHOWMAXIMIZED), active ? E_INVALIDARG : E_UNEXPECTED);
        EXPECT_EQ(page->Apply(), connected && sited ? S_OK : E_UNEXPECTED);
        EXPECT_EQ(page->SetPageSite(sited ? site.Get() : nullptr), E_UNEXPECTED);
        EXPECT_EQ(page->SetObjects(2, objects), E_UNEXPECTED);
        EXPECT_TRUE(active || page->Deactivate() == E_UNEXPECTED);
        EXPECT_TRUE((connected && !active) ||
                    page->Activate(window, &place, FALSE) == E_UNEXPECTED);
        for (const HRESULT refused :
             {page->SetObjects(1, objects + 1), page->SetObjects(1, nullptr), page->Move(nullptr),
              page->Activate(window, nullptr, FALSE), page->GetPageInfo(nullptr)}) {
            EXPECT_EQ(refused, E_POINTER);
        }
    };
    for (int round = 0; round < 2; ++round) {
        expectStage(false, false, false);
        EXPECT_EQ(page->SetObjects(1, objects), S_OK);
        expectStage(true, false, false);
        EXPECT_EQ(page->SetPageSite(site.Get()), S_OK);
        EXPECT_EQ(page->Activate(window, &place, FALSE), S_OK);
        expectStage(true, true, true);
        EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
        expectStage(false, true, true);
        EXPECT_EQ(page->Deactivate(), S_OK);
        expectStage(false, true, false);
        EXPECT_EQ(page->SetPageSite(nullptr), S_OK);
    }
    EXPECT_EQ(page->Help(nullptr), E_NOTIMPL);
    EXPECT_EQ(page->TranslateAccelerator(nullptr), E_NOTIMPL);
    DestroyWindow(window);
}

}  // namespace
}  // namespace nyx::test
