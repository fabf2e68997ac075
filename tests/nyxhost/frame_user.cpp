/// @file
/// frame_user TITLE [CONTROL...]: waits for a window whose title holds TITLE and clicks controls of
/// it, by number and one after another, as a user of another program's dialog would. Ends with 0
/// when all were found.

#include <windows.h>

#include <cstdlib>
#include <cwchar>

namespace {

constexpr int kWaitMs = 20000;
constexpr int kStepMs = 50;

/// A visible window by a part of its title, or by its number when that is not 0.
struct Search {
    const wchar_t* title;
    int id;
    HWND found;
};

BOOL CALLBACK Matches(HWND window, LPARAM parameter) {
    auto* search = reinterpret_cast<Search*>(parameter);
    wchar_t title[256] = {};
    GetWindowTextW(window, title, 256);
    if (IsWindowVisible(window) &&
        (search->id != 0 ? GetDlgCtrlID(window) == search->id
                         : std::wcsstr(title, search->title) != nullptr)) {
        search->found = window;
    }
    return search->found == nullptr;
}

HWND WaitForWindow(const wchar_t* title) {
    Search search = {title, 0, nullptr};
    for (int waited = 0; !search.found && waited < kWaitMs; waited += kStepMs) {
        EnumWindows(Matches, reinterpret_cast<LPARAM>(&search));
        Sleep(kStepMs);
    }
    return search.found;
}

}  // namespace

int wmain(int count, wchar_t** words) {
    const HWND window = count > 1 ? WaitForWindow(words[1]) : nullptr;
    if (!window) {
        return 1;
    }
    for (int i = 2; i < count; ++i) {
        Search search = {nullptr, static_cast<int>(std::wcstol(words[i], nullptr, 10)), nullptr};
        EnumChildWindows(window, Matches, reinterpret_cast<LPARAM>(&search));
        if (!search.found) {
            return 2;
        }
        SendMessageW(search.found, BM_CLICK, 0, 0);
    }
    return 0;
}
