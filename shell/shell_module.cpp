/// @file
/// The library's entry points, its classes and the kinds of files that it registers.

#include <shlobj.h>
#include <shlwapi.h>

#include <string>

#include "baseclasses/dllentry.h"
#include "platform/class_ids.h"
#include "platform/unique_handle.h"
#include "shell/footage_properties.h"
#include "shell/footage_thumbnail.h"

namespace {

using nyx::UniqueKey;

constexpr const wchar_t* kExtensions[] = {L".mxf", L".gxf", L".dv", L".dif"};

constexpr wchar_t kThumbnails[] = L"{5F2C1E6E-8B0D-4C57-9D3E-7A41B6C9E210}";
constexpr wchar_t kProperties[] = L"{5F2C1E6F-8B0D-4C57-9D3E-7A41B6C9E210}";
constexpr wchar_t kDetails[] =
    L"prop:System.PropGroup.Video;System.Media.Duration;System.Video.FrameWidth;"
    L"System.Video.FrameHeight;System.Video.FrameRate;System.Video.Compression;"
    L"System.Video.TotalBitrate;System.PropGroup.Audio;System.Audio.ChannelCount;"
    L"System.Audio.SampleRate;System.Audio.SampleSize;System.PropGroup.Description;"
    L"System.Comment;System.PropGroup.FileSystem;System.ItemNameDisplay;System.ItemTypeText;"
    L"System.ItemFolderPathDisplay;System.DateCreated;System.DateModified;System.Size";
constexpr wchar_t kPreview[] =
    L"prop:System.Media.Duration;System.Video.FrameWidth;System.Video.FrameHeight;"
    L"System.Video.FrameRate;System.Video.Compression;System.Comment;System.Size";

/// A value that the shell looks up by a file's extension, in the key `before` + extension +
/// `after`.
struct Entry {
    HKEY root;
    const wchar_t *before, *after;
    const wchar_t* name;  ///< null for the key's default value
    const wchar_t* text;
};
constexpr wchar_t kAssociations[] = L"SystemFileAssociations\\";
constexpr wchar_t kThumbnailHandler[] = L"\\ShellEx\\{E357FCCD-A995-4576-B01F-234630154E96}";
const Entry kEntries[] = {
    {HKEY_CLASSES_ROOT, L"", kThumbnailHandler, nullptr, kThumbnails},
    {HKEY_LOCAL_MACHINE,
     L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\PropertySystem\\PropertyHandlers\\", L"",
     nullptr, kProperties},
    // What the details pane, the details page and a file's tip show.
    {HKEY_CLASSES_ROOT, kAssociations, L"", L"PreviewDetails", kPreview},
    {HKEY_CLASSES_ROOT, kAssociations, L"", L"FullDetails", kDetails},
    {HKEY_CLASSES_ROOT, kAssociations, L"", L"InfoTip", kPreview},
};

std::wstring TextAt(HKEY root, const std::wstring& key, const wchar_t* name) {
    wchar_t text[1024] = {};
    DWORD bytes = sizeof(text);
    return RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes) ==
                   ERROR_SUCCESS
               ? text
               : L"";
}

bool Exists(HKEY root, const std::wstring& key, REGSAM view = 0) {
    return nyx::OpenKey(root, key.c_str(), KEY_READ | view) != nullptr;
}

/// Whether another program serves the files: by any value at the same place, and thumbnails also
/// where the shell looks after the extension's own key.
bool IsTaken(const Entry& entry, const std::wstring& key, const std::wstring& extension) {
    DWORD bytes = 0;
    return RegGetValueW(entry.root, key.c_str(), entry.name, RRF_RT_ANY, nullptr, nullptr,
                        &bytes) == ERROR_SUCCESS ||
           (entry.after == kThumbnailHandler &&
            Exists(entry.root, kAssociations + extension + kThumbnailHandler));
}

/// Removes a key and those above it that are empty then.
void RemoveEmpty(HKEY root, std::wstring key) {
    while (SHDeleteEmptyKeyW(root, key.c_str()) == ERROR_SUCCESS &&
           key.find(L'\\') != std::wstring::npos) {
        key.resize(key.rfind(L'\\'));
    }
}

/// Whether the classes of the library of the other word size are still registered, which
/// shares our entries below HKEY_CLASSES_ROOT.
bool IsOtherRegistered() {
    const std::wstring key = std::wstring(L"CLSID\\") + kThumbnails;
    return Exists(HKEY_CLASSES_ROOT, key, KEY_WOW64_32KEY) ||
           Exists(HKEY_CLASSES_ROOT, key, KEY_WOW64_64KEY);
}

/// Enters or removes what is ours, and leaves what is another program's. Returns the first failure.
[[nodiscard]] HRESULT ChangeEntries(bool enter) {
    HRESULT result = S_OK;
    const bool keepShared = !enter && IsOtherRegistered();
    for (const wchar_t* extension : kExtensions) {
        for (const Entry& entry : kEntries) {
            if (keepShared && entry.root == HKEY_CLASSES_ROOT) {
                continue;
            }
            const std::wstring key = std::wstring(entry.before) + extension + entry.after;
            LSTATUS status = ERROR_SUCCESS;
            if (enter && !IsTaken(entry, key, extension)) {
                const auto bytes = static_cast<DWORD>((wcslen(entry.text) + 1) * sizeof(wchar_t));
                status =
                    RegSetKeyValueW(entry.root, key.c_str(), entry.name, REG_SZ, entry.text, bytes);
            } else if (!enter && TextAt(entry.root, key, entry.name) == entry.text) {
                status = RegDeleteKeyValueW(entry.root, key.c_str(), entry.name);
                RemoveEmpty(entry.root, key);
            }
            result = FAILED(result) ? result : HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
    return result;
}

}  // namespace

CFactoryTemplate g_Templates[] = {
    {L"Nyx Footage Thumbnails", &CLSID_NyxFootageThumbnail, nyx::shell::FootageThumbnail::Create,
     nullptr},
    {L"Nyx Footage Properties", &CLSID_NyxFootageProperties, nyx::shell::FootageProperties::Create,
     nullptr},
};
int g_cTemplates = 2;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    return DllEntryPoint(instance, reason, reserved);
}

STDAPI DllRegisterServer() {
    const HRESULT result = AMovieDllRegisterServer2(TRUE);
    return SUCCEEDED(result) ? ChangeEntries(true) : result;
}

STDAPI DllUnregisterServer() {
    const HRESULT result = AMovieDllRegisterServer2(FALSE);
    return SUCCEEDED(result) ? ChangeEntries(false) : result;
}
