#include "doctor_report.h"

#include <shlobj.h>

#include <algorithm>

#include "module_registry.h"
#include "output_file.h"
#include "platform/system.h"
#include "text.h"

namespace nyx::host {
namespace {

/// A function of a system library that programs do not link.
template <class Function>
Function* FunctionOf(const wchar_t* library, const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(library), name)));
}

/// "10.0.19043 under Wine 8.0", whatever version the program states to be made for.
std::string SystemText() {
    RTL_OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    if (const auto ask =
            FunctionOf<LONG WINAPI(RTL_OSVERSIONINFOW*)>(L"ntdll.dll", "RtlGetVersion")) {
        ask(&version);
    }
    const auto wine = FunctionOf<const char * CDECL()>(L"ntdll.dll", "wine_get_version");
    return Format("%lu.%lu.%lu", version.dwMajorVersion, version.dwMinorVersion,
                  version.dwBuildNumber) +
           (wine != nullptr ? std::string(" under Wine ") + wine() : "");
}

std::string ProcessorText() {
    constexpr wchar_t kKey[] = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
    wchar_t name[128] = {};
    DWORD bytes = sizeof(name);
    RegGetValueW(HKEY_LOCAL_MACHINE, kKey, L"ProcessorNameString", RRF_RT_REG_SZ, nullptr, name,
                 &bytes);
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    return Utf8(name) + Format(", %lu logical processors", info.dwNumberOfProcessors);
}

/// Puts `to` in place of a text of any case.
void ReplaceAll(std::wstring* text, const std::wstring& from, const std::wstring& to) {
    const auto same = [](wchar_t a, wchar_t b) { return towlower(a) == towlower(b); };
    for (auto at = text->begin(); !from.empty();) {
        at = std::search(at, text->end(), from.begin(), from.end(), same);
        if (at == text->end()) {
            return;
        }
        const auto place = at - text->begin();
        text->replace(static_cast<std::size_t>(place), from.size(), to);
        at = text->begin() + place + static_cast<std::ptrdiff_t>(to.size());
    }
}

/// Without the user's profile folder, and without folders that have the user's name.
std::string WithoutPerson(const std::string& text) {
    std::wstring out = Wide(text);
    wchar_t profile[MAX_PATH] = {};
    wchar_t name[257] = {};  // UNLEN and the null
    DWORD length = ARRAYSIZE(name);
    SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, 0, profile);
    GetUserNameW(name, &length);
    ReplaceAll(&out, profile, L"%USERPROFILE%");
    ReplaceAll(&out, name[0] != 0 ? L"\\" + std::wstring(name) + L"\\" : L"", L"\\%USERNAME%\\");
    return Utf8(out);
}

}  // namespace

void WriteReport(const std::string& path, const std::string& printed) {
    std::string text = "nyxhost " NYX_VERSION ", " + WordSize() + "\nsystem: " + SystemText() +
                       "\nprocessor: " + ProcessorText() + "\n\n" + printed;
    for (const int bits : WordSizes()) {
        text += Format("\nregistry of %d-bit programs\n", bits) + OwnEntriesText(bits);
    }
    text = WithoutPerson(text);
    OutputFile file(path);
    file.Write(text.data(), static_cast<DWORD>(text.size()));
    file.Finish();
}

}  // namespace nyx::host
