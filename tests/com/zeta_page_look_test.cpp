#include <cstdlib>

#include "tests/com/zeta_page_fixture.h"
#include "tests/support/temporary_folder.h"

namespace nyx::test {
namespace {

constexpr char kChild[] = "NYX_PAGE_RESOLUTION";  // set for the processes of other resolutions

int ScreenResolution() {
    const HDC screen = GetDC(nullptr);
    const int resolution = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return resolution;
}

RECT PlaceIn(HWND dialog, HWND control) {
    RECT place{};
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

SIZE TextSize(HWND control, const std::wstring& text) {
    const HDC dc = GetDC(control);
    const HGDIOBJ old =
        SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)));
    RECT area{};
    DrawTextW(dc, text.c_str(), -1, &area, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(dc, old);
    ReleaseDC(control, dc);
    return {area.right, area.bottom};
}

std::wstring TextOf(HWND control) {
    wchar_t text[64] = {};
    GetWindowTextW(control, text, 64);
    return text;
}

std::vector<HWND> ControlsOf(HWND dialog) {
    std::vector<HWND> controls;
    for (HWND at = GetWindow(dialog, GW_CHILD); at; at = GetWindow(at, GW_HWNDNEXT)) {
        controls.push_back(at);
    }
    return controls;
}

/// The room that a control has for its text.
SIZE RoomForText(HWND control) {
    RECT area{};
    GetClientRect(control, &area);
    wchar_t type[32] = {};
    GetClassNameW(control, type, 32);
    if (std::wstring(type) == L"Edit") {
        SendMessageW(control, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&area));
    } else if (std::wstring(type) == L"Button") {
        area.right -= GetSystemMetrics(SM_CXMENUCHECK) + 4;  // the circle and the gap behind it
    }
    return {area.right - area.left, area.bottom - area.top};
}

class ZetaPageLook : public ZetaPageTest {
  protected:
    void SetUp() override { SetProcessDPIAware(); }
    ComPtr<IEncodeParmeter_QZTA> encoder_ = NewEncoder();
};

TEST_F(ZetaPageLook, NothingIsCutOffOrCoversAnother) {
    if (const char* asked = std::getenv(kChild)) {
        ASSERT_EQ(ScreenResolution(), std::atoi(asked));
    }
    const PageHost host(NewPage(), encoder_.get());
    host.Click(IDC_PRESET_CUSTOM);
    host.Drag(IDC_SIZE_SLIDER, 100);
    RECT page{};
    GetClientRect(host.dialog(), &page);
    const std::vector<HWND> controls = ControlsOf(host.dialog());
    EXPECT_EQ(controls.size(), 13u);
    for (const HWND control : controls) {
        const std::wstring text = TextOf(control);
        SCOPED_TRACE(::testing::PrintToString(text));
        const RECT place = PlaceIn(host.dialog(), control);
        RECT common{};
        IntersectRect(&common, &place, &page);
        EXPECT_TRUE(EqualRect(&common, &place)) << "reaches beyond the page";
        const SIZE needed = TextSize(control, text);
        const SIZE room = RoomForText(control);
        EXPECT_LE(needed.cx, room.cx);
        EXPECT_LE(needed.cy, room.cy);
        for (const HWND other : controls) {
            const RECT otherPlace = PlaceIn(host.dialog(), other);
            EXPECT_TRUE(other == control || !IntersectRect(&common, &place, &otherPlace))
                << "covers " << ::testing::PrintToString(TextOf(other));
        }
    }
}

/// Runs the tests above in processes of their own, since a process keeps the resolution that it
/// was started with.
TEST(ZetaPageResolutions, TheLookHoldsAt120And144DotsPerInch) {
    if (std::getenv(kChild)) {
        GTEST_SKIP() << "is such a process";
    }
    constexpr wchar_t kDesktop[] = L"Control Panel\\Desktop";
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    for (const DWORD resolution : {120ul, 144ul}) {
        RegSetKeyValueW(HKEY_CURRENT_USER, kDesktop, L"LogPixels", REG_DWORD, &resolution,
                        sizeof(resolution));
        SetEnvironmentVariableA(kChild, std::to_string(resolution).c_str());
        EXPECT_EQ(RunProgram(L"\"" + std::wstring(program) + L"\" --gtest_filter=ZetaPageLook.*"),
                  0)
            << resolution;
        SetEnvironmentVariableA(kChild, nullptr);
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kDesktop, L"LogPixels");
    }
}

}  // namespace
}  // namespace nyx::test
