/// @file
/// The library's entry points, its classes and the kinds of files that it registers.

#include <cstdio>
#include <vector>

#include "platform/decoders.h"
#include "platform/system.h"
#include "platform/unique_handle.h"
#include "source/splitter.h"

namespace {

using namespace nyx::source;

wchar_t inputName[] = L"In", pinName[] = L"Output";

constexpr AMOVIESETUP_MEDIATYPE kTypes[] = {{&MEDIATYPE_Video, &GUID_NULL},
                                            {&MEDIATYPE_Audio, &GUID_NULL}};
constexpr AMOVIESETUP_PIN kPin = SetupPin(pinName, TRUE, TRUE, kTypes);

// With this merit, hosts find the filter by its name or by a file's kind, never by a search for a
// filter that connects.
constexpr AMOVIESETUP_FILTER kSetup = {.clsID = &CLSID_NyxFootageSource,
                                       .strName = kFootageSourceName,
                                       .dwMerit = MERIT_DO_NOT_USE,
                                       .nPins = 1,
                                       .lpPin = &kPin};

// The system's reader has no type for a file that begins with "ftyp", or for raw DV.
constexpr AMOVIESETUP_MEDIATYPE kAviTypes[] = {{&MEDIATYPE_Stream, &MEDIASUBTYPE_Avi}};
constexpr AMOVIESETUP_MEDIATYPE kMovTypes[] = {{&MEDIATYPE_Stream, &MEDIASUBTYPE_QTMovie},
                                               {&MEDIATYPE_Stream, &GUID_NULL}};
constexpr AMOVIESETUP_MEDIATYPE kRawTypes[] = {{&MEDIATYPE_Stream, &MEDIASUBTYPE_MPEG1Video},
                                               {&MEDIATYPE_Stream, &GUID_NULL}};
template <const auto& types>
constexpr AMOVIESETUP_PIN kPins[] = {SetupPin(inputName, FALSE, FALSE, types), kPin};

constexpr wchar_t kAviName[] = L"Nyx AVI Footage Splitter";
constexpr wchar_t kMovName[] = L"Nyx MOV Footage Splitter";
constexpr wchar_t kRawName[] = L"Nyx Raw Footage Splitter";

/// A splitter's registration, and the word of DllInstall by which the graph builder tries it.
struct SplitterSetup {
    const wchar_t* word;
    AMOVIESETUP_FILTER filter;
} splitters[] = {
    {L"avi-dv", {&CLSID_NyxAviSplitter, kAviName, 0, 2, kPins<kAviTypes>}},
    {L"mov", {&CLSID_NyxMovSplitter, kMovName, 0, 2, kPins<kMovTypes>}},
    {L"dv", {&CLSID_NyxRawSplitter, kRawName, 0, 2, kPins<kRawTypes>}},
};

/// A key by which the system finds the source for a kind of file: an extension, or a media subtype
/// of ours with check bytes. A value of these lists offset, length, mask, bytes; not every look-up
/// supports masks. The look-up takes the first subtype that matches: AVI must come before the
/// platform's own, {E436EB88-...}.
struct FileKey {
    const wchar_t* word;  ///< DllInstall's
    std::wstring key;     ///< in Media Type
    std::vector<std::wstring> values;
};

std::vector<FileKey> FileKeys() {
    const auto subtype = [](const wchar_t* digit) {
        return std::wstring(L"{E436EB83-524F-11CE-9F53-0020AF0BA770}\\{1D4C0B3") + digit +
               L"-52E7-4F0A-8C66-9A0E5B7F3C01}";
    };
    // RIFF, AVI, and one of our codes as the handler of the first stream's header.
    std::vector<std::wstring> avi;
    for (const nyx::DecoderClass& decoder : nyx::kDecoders) {
        wchar_t code[9];
        std::swprintf(code, 9, L"%08lX", __builtin_bswap32(decoder.fourcc));
        avi.push_back(std::wstring(L"0,4,,52494646,8,4,,41564920,112,4,,") + code);
    }
    return {
        // SMPTE 377: the key of a header partition pack, except the version of its registry.
        {L"mxf", subtype(L"1"), {L"0,7,,060E2B34020501,8,6,,0D0102010102"}},
        {L"mxf", L"Extensions\\.mxf", {}},
        // SMPTE 360: a map packet with its leader and trailer.
        {L"gxf", subtype(L"2"), {L"0,6,,0000000001BC,14,2,,E1E2"}},
        {L"gxf", L"Extensions\\.gxf", {}},
        {L"avi", subtype(L"3"), avi},
        {L"dv", L"Extensions\\.dv", {}},
        {L"dv", L"Extensions\\.dif", {}},
    };
}

/// Whether a list of words with commas between has one of them.
bool Lists(const std::wstring& words, const std::wstring& word) {
    return (L"," + words + L",").find(L"," + word + L",") != std::wstring::npos;
}

/// Removes all keys of the source, and no other program's; then adds those of the kinds in `words`:
/// media subtypes, and on Windows itself extensions that have no key yet. Returns the first
/// failure.
[[nodiscard]] HRESULT EnterFileTypes(const std::wstring& words) {
    constexpr wchar_t kSourceFilter[] = L"Source Filter";
    HRESULT result = S_OK;
    const auto check = [&result](LSTATUS status) {
        result = SUCCEEDED(result) ? HRESULT_FROM_WIN32(static_cast<DWORD>(status)) : result;
    };
    wchar_t own[39];
    StringFromGUID2(CLSID_NyxFootageSource, own, 39);
    for (const FileKey& row : FileKeys()) {
        const std::wstring key = L"Media Type\\" + row.key;
        const auto set = [&](const std::wstring& name, const std::wstring& text) {
            check(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name.c_str(), REG_SZ,
                                  text.c_str(),
                                  static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
        };
        wchar_t filter[64] = {};
        DWORD bytes = sizeof(filter);
        if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), kSourceFilter, RRF_RT_REG_SZ, nullptr,
                         filter, &bytes) == ERROR_SUCCESS &&
            std::wstring(filter) == own) {
            check(RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str()));
        }
        // Wine does not follow an entry by extension, and no longer compares the bytes of a file
        // that has one.
        const bool leaves =
            row.values.empty() &&
            (nyx::IsWine() || nyx::OpenKey(HKEY_CLASSES_ROOT, key.c_str(), KEY_READ));
        if (!Lists(words, row.word) || leaves) {
            continue;
        }
        set(kSourceFilter, own);
        for (std::size_t i = 0; i < row.values.size(); ++i) {
            set(std::to_wstring(i), row.values[i]);
        }
    }
    return result;
}

}  // namespace

CFactoryTemplate g_Templates[] = {
    {kFootageSourceName, &CLSID_NyxFootageSource, FootageSource::Create, &kSetup},
    {kAviName, &CLSID_NyxAviSplitter, FootageSplitter::Create<CLSID_NyxAviSplitter, IsAvi>,
     &splitters[0].filter},
    {kMovName, &CLSID_NyxMovSplitter, FootageSplitter::Create<CLSID_NyxMovSplitter, IsMov>,
     &splitters[1].filter},
    {kRawName, &CLSID_NyxRawSplitter, FootageSplitter::Create<CLSID_NyxRawSplitter, IsRaw>,
     &splitters[2].filter},
};
int g_cTemplates = 4;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    return DllEntryPoint(instance, reason, reserved);
}

/// Called by regsvr32 /n /i:KINDS: registers the source for those kinds of files only, or with /u
/// unregisters it. `kinds` lists them with commas between: "mxf", "gxf", "avi" (with the module's
/// codes), "dv"; "avi-dv", "mov" and again "dv", raw DV and MPEG-2, for the splitters.
STDAPI DllInstall(BOOL enter, LPCWSTR kinds) {
    const std::wstring words = kinds ? kinds : L"";
    // The graph builder tries a splitter just before the system's own. A source that is registered
    // for a file comes before all splitters.
    const int first = (nyx::IsWine() ? MERIT_PREFERRED : MERIT_NORMAL) + 1;
    for (SplitterSetup& splitter : splitters) {
        const int merit = Lists(words, splitter.word) ? first : MERIT_DO_NOT_USE;
        splitter.filter.dwMerit = static_cast<DWORD>(merit);
    }
    const HRESULT classes = AMovieDllRegisterServer2(enter);
    const HRESULT types = EnterFileTypes(enter && SUCCEEDED(classes) ? words : L"");
    return FAILED(classes) ? classes : types;
}

STDAPI DllRegisterServer() {
    return DllInstall(TRUE, L"mxf,gxf,avi,dv,avi-dv,mov");
}

STDAPI DllUnregisterServer() {
    return DllInstall(FALSE, nullptr);
}
