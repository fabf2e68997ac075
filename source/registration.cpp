#include "source/registration.h"

#include <string>

#include "source/source_filter.h"

namespace nyx::source {
namespace {

/// A kind of file that is known by its bytes. Each value is a list of offset, length, mask, bytes;
/// a file is of the kind when one value matches. The look-up goes through the subtypes in order and
/// takes the first that matches: AVI must come before the platform's own entry, {E436EB88-...}.
struct CheckBytes {
    const wchar_t* subtype;
    const wchar_t* values[8];
};

#define NYX_AVI(code) L"0,4,,52494646,8,4,,41564920,112,4,," code

constexpr CheckBytes kCheckBytes[] = {
    // SMPTE 377: the key of a header partition pack, of any version and status.
    {L"{1D4C0B31-52E7-4F0A-8C66-9A0E5B7F3C01}", {L"0,7,,060E2B34020501,8,6,,0D0102010102"}},
    // SMPTE 360: a map packet with its leader and trailer.
    {L"{1D4C0B32-52E7-4F0A-8C66-9A0E5B7F3C01}", {L"0,6,,0000000001BC,14,2,,E1E2"}},
    // RIFF, AVI, and one of our codes as the handler of the first stream's header.
    {L"{1D4C0B33-52E7-4F0A-8C66-9A0E5B7F3C01}",
     {NYX_AVI("515A5441"), NYX_AVI("515A5432"), NYX_AVI("514C4C43"), NYX_AVI("514D4943"),
      NYX_AVI("51323130"), NYX_AVI("51445643"), NYX_AVI("51445635"), NYX_AVI("51445648")}},
};

constexpr const wchar_t* kExtensions[] = {L".mxf", L".gxf", L".dv", L".dif"};

constexpr wchar_t kStreams[] = L"Media Type\\{E436EB83-524F-11CE-9F53-0020AF0BA770}\\";
constexpr wchar_t kByExtension[] = L"Media Type\\Extensions\\";
constexpr wchar_t kSourceFilter[] = L"Source Filter";

std::wstring OwnClass() {
    wchar_t text[39];
    StringFromGUID2(kFootageSourceClass, text, 39);
    return text;
}

/// A compatible system that calls itself so. It does not follow an entry by extension, and with one
/// no longer looks at the bytes either.
bool IgnoresExtensions() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

HRESULT SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return HRESULT_FROM_WIN32(static_cast<DWORD>(
        RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(), bytes)));
}

/// The source filter that a key names; empty without one.
std::wstring SourceFilterOf(const std::wstring& key) {
    wchar_t text[64] = {};
    DWORD bytes = sizeof(text);
    return RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), kSourceFilter, RRF_RT_REG_SZ, nullptr, text,
                        &bytes) == ERROR_SUCCESS
               ? text
               : L"";
}

bool Exists(const std::wstring& key) {
    HKEY opened = nullptr;
    const bool exists =
        RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
    if (exists) {
        RegCloseKey(opened);
    }
    return exists;
}

HRESULT RegisterBytes(const CheckBytes& kind) {
    const std::wstring key = std::wstring(kStreams) + kind.subtype;
    HRESULT result = SetValue(key, kSourceFilter, OwnClass());
    for (int i = 0; i < 8 && kind.values[i] && SUCCEEDED(result); ++i) {
        result = SetValue(key, std::to_wstring(i).c_str(), kind.values[i]);
    }
    return result;
}

HRESULT RegisterExtension(const wchar_t* extension) {
    const std::wstring key = std::wstring(kByExtension) + extension;
    return Exists(key) ? S_OK : SetValue(key, kSourceFilter, OwnClass());
}

/// Takes a key out when it is ours.
HRESULT Remove(const std::wstring& key) {
    if (SourceFilterOf(key) != OwnClass()) {
        return S_OK;
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str())));
}

}  // namespace

HRESULT RegisterFileTypes() {
    HRESULT result = S_OK;
    for (const CheckBytes& kind : kCheckBytes) {
        result = SUCCEEDED(result) ? RegisterBytes(kind) : result;
    }
    for (const wchar_t* extension : kExtensions) {
        if (SUCCEEDED(result) && !IgnoresExtensions()) {
            result = RegisterExtension(extension);
        }
    }
    return result;
}

HRESULT UnregisterFileTypes() {
    HRESULT result = S_OK;
    const auto remove = [&result](const std::wstring& key) {
        const HRESULT removed = Remove(key);
        result = SUCCEEDED(result) ? removed : result;
    };
    for (const CheckBytes& kind : kCheckBytes) {
        remove(std::wstring(kStreams) + kind.subtype);
    }
    for (const wchar_t* extension : kExtensions) {
        remove(std::wstring(kByExtension) + extension);
    }
    return result;
}

}  // namespace nyx::source
