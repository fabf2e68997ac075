/// @file
/// The library's entry points, its class and the kinds of files that it registers.

#include <shlobj.h>
#include <shlwapi.h>

#include <string>

#include "baseclasses/dllentry.h"
#include "platform/class_ids.h"
#include "platform/unique_handle.h"
#include "shell/footage_handler.h"

namespace {

constexpr const wchar_t* kExtensions[] = {L".mxf", L".gxf", L".dv", L".dif"};
constexpr wchar_t kClass[] = L"{5F2C1E6E-8B0D-4C57-9D3E-7A41B6C9E210}";
// In the details pane, on a file's page of details and in its tip.
constexpr wchar_t kShown[] =
    L"prop:System.Media.Duration;System.Video.FrameWidth;System.Video.FrameHeight;"
    L"System.Video.FrameRate;System.Video.Compression;System.Video.TotalBitrate;"
    L"System.Audio.ChannelCount;System.Audio.SampleRate;System.Audio.SampleSize;System.Comment;"
    L"System.ItemTypeText;System.Size;System.DateModified";

/// A value that the shell looks up, in the key `before` + a file's extension + `after`.
struct Entry {
    HKEY root;
    const wchar_t *before, *after;
    const wchar_t* name;  ///< null for the key's default value
    const wchar_t* text;
};
constexpr wchar_t kTypes[] = L"SystemFileAssociations\\";
constexpr wchar_t kThumbnails[] = L"\\ShellEx\\{E357FCCD-A995-4576-B01F-234630154E96}";
constexpr wchar_t kHandlers[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\PropertySystem\\PropertyHandlers\\";
const Entry kEntries[] = {
    {HKEY_CLASSES_ROOT, L"", kThumbnails, nullptr, kClass},
    {HKEY_LOCAL_MACHINE, kHandlers, L"", nullptr, kClass},
    {HKEY_CLASSES_ROOT, kTypes, L"", L"PreviewDetails", kShown},
    {HKEY_CLASSES_ROOT, kTypes, L"", L"FullDetails", kShown},
    {HKEY_CLASSES_ROOT, kTypes, L"", L"InfoTip", kShown},
};

/// A value; empty without one.
std::wstring TextAt(HKEY root, const std::wstring& key, const wchar_t* name) {
    wchar_t text[8192] = {};
    DWORD bytes = sizeof(text);
    RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ | RRF_ZEROONFAILURE, nullptr, text, &bytes);
    return text;
}

/// Enters or removes what is ours, and leaves what is another program's. Returns the first failure.
[[nodiscard]] HRESULT Change(BOOL enter) {
    HRESULT result = AMovieDllRegisterServer2(enter);
    // The library of the other word size shares our entries below HKEY_CLASSES_ROOT.
    const std::wstring own = std::wstring(L"CLSID\\") + kClass;
    const bool keepsShared =
        nyx::OpenKey(HKEY_CLASSES_ROOT, own.c_str(), KEY_READ | KEY_WOW64_32KEY) ||
        nyx::OpenKey(HKEY_CLASSES_ROOT, own.c_str(), KEY_READ | KEY_WOW64_64KEY);
    for (const std::wstring extension : kExtensions) {
        for (const Entry& entry : kEntries) {
            const std::wstring key = entry.before + extension + entry.after;
            const std::wstring present = TextAt(entry.root, key, entry.name);
            // The shell looks there after the extension's own key.
            const bool isTaken =
                !present.empty() ||
                (entry.after == kThumbnails && !TextAt(entry.root, kTypes + key, nullptr).empty());
            LSTATUS status = ERROR_SUCCESS;
            if (enter && !isTaken) {
                status = RegSetKeyValueW(entry.root, key.c_str(), entry.name, REG_SZ, entry.text,
                                         static_cast<DWORD>(2 * wcslen(entry.text) + 2));
            } else if (!enter && present == entry.text &&
                       !(keepsShared && entry.root == HKEY_CLASSES_ROOT)) {
                status = RegDeleteKeyValueW(entry.root, key.c_str(), entry.name);
                for (std::wstring above = key; SHDeleteEmptyKeyW(entry.root, above.c_str()) == 0;) {
                    above.resize(std::min(above.rfind(L'\\'), above.size()));
                }
            }
            result = FAILED(result) ? result : HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
    return result;
}

}  // namespace

CFactoryTemplate g_Templates[] = {{L"Nyx Footage Handler", &CLSID_NyxFootageHandler,
                                   nyx::shell::FootageHandler::Create, nullptr}};
int g_cTemplates = 1;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    return DllEntryPoint(instance, reason, reserved);
}

STDAPI DllRegisterServer() {
    return Change(TRUE);
}

STDAPI DllUnregisterServer() {
    return Change(FALSE);
}
