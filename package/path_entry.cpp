/// @file
/// path_entry add|remove FOLDER: changes the system's search path for the installer. Exits with 0
/// when the path then has the folder, or lacks it, as requested, else with 1.

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace {

constexpr wchar_t kKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
constexpr wchar_t kValue[] = L"Path";
constexpr DWORD kAsWritten = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;

/// The unexpanded value and its type. False without a value.
bool Read(std::wstring* path, DWORD* type) {
    DWORD bytes = 0;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, kKey, kValue, kAsWritten, type, nullptr, &bytes) !=
        ERROR_SUCCESS) {
        return false;
    }
    path->resize(bytes / sizeof(wchar_t) + 1);
    bytes = static_cast<DWORD>(path->size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_LOCAL_MACHINE, kKey, kValue, kAsWritten, type, path->data(), &bytes) !=
        ERROR_SUCCESS) {
        return false;
    }
    path->resize(wcslen(path->c_str()));
    return true;
}

bool Write(const std::wstring& path, DWORD type) {
    if (RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, kValue, type, path.c_str(),
                        static_cast<DWORD>((path.size() + 1) * sizeof(wchar_t))) != ERROR_SUCCESS) {
        return false;
    }
    // Programs that start later inherit it; a window that does not answer is skipped.
    SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0,
                        reinterpret_cast<LPARAM>(L"Environment"), SMTO_ABORTIFHUNG, 1000, nullptr);
    return true;
}

/// The offset of an entry in a path, including the separator before it; npos without the entry.
std::size_t Find(const std::wstring& path, const std::wstring& folder) {
    const std::wstring bounded = L";" + path + L";";
    const std::wstring wanted = L";" + folder + L";";
    for (std::size_t at = 0; at + wanted.size() <= bounded.size(); ++at) {
        const int length = static_cast<int>(wanted.size());
        if (CompareStringOrdinal(bounded.c_str() + at, length, wanted.c_str(), length, TRUE) ==
            CSTR_EQUAL) {
            return at == 0 ? 0 : at - 1;
        }
    }
    return std::wstring::npos;
}

bool Change(const std::wstring& verb, const std::wstring& folder) {
    std::wstring path;
    DWORD type = REG_EXPAND_SZ;
    if (!Read(&path, &type)) {
        return false;
    }
    const std::size_t at = Find(path, folder);
    const bool found = at != std::wstring::npos;
    if (found == (verb == L"add")) {
        return true;
    }
    return Write(found ? path.erase(at, folder.size() + 1) : path + L";" + folder, type);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    int count = 0;
    wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
    return words && count == 3 && Change(words[1], words[2]) ? 0 : 1;
}
