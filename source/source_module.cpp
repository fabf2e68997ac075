/// @file
/// The library's entry points, its classes and the kinds of files that it registers.

#include <vector>

#include "platform/class_ids.h"
#include "platform/system.h"
#include "platform/unique_handle.h"
#include "source/splitter.h"

namespace {

constexpr AMOVIESETUP_MEDIATYPE kTypes[] = {{&MEDIATYPE_Video, &GUID_NULL},
                                            {&MEDIATYPE_Audio, &GUID_NULL}};

wchar_t pinName[] = L"Output";

constexpr AMOVIESETUP_PIN kPin = SetupPin(pinName, TRUE, TRUE, kTypes);

// With this merit, hosts find the filter by its name or by a file's kind, never by a search for a
// filter that connects.
constexpr AMOVIESETUP_FILTER kSetup = {.clsID = &CLSID_NyxFootageSource,
                                       .strName = nyx::source::kFootageSourceName,
                                       .dwMerit = MERIT_DO_NOT_USE,
                                       .nPins = 1,
                                       .lpPin = &kPin};

wchar_t inputName[] = L"In";

constexpr AMOVIESETUP_MEDIATYPE kAviTypes[] = {{&MEDIATYPE_Stream, &MEDIASUBTYPE_Avi}};
constexpr AMOVIESETUP_PIN kAviPins[] = {SetupPin(inputName, FALSE, FALSE, kAviTypes), kPin};

// The system's reader has no type for a file that begins with "ftyp", or for raw DV.
constexpr AMOVIESETUP_MEDIATYPE kMovTypes[] = {{&MEDIATYPE_Stream, &MEDIASUBTYPE_QTMovie},
                                               {&MEDIATYPE_Stream, &GUID_NULL}};
constexpr AMOVIESETUP_PIN kMovPins[] = {SetupPin(inputName, FALSE, FALSE, kMovTypes), kPin};

constexpr AMOVIESETUP_MEDIATYPE kRawTypes[] = {{&MEDIATYPE_Stream, &MEDIASUBTYPE_MPEG1Video},
                                               {&MEDIATYPE_Stream, &GUID_NULL}};
constexpr AMOVIESETUP_PIN kRawPins[] = {SetupPin(inputName, FALSE, FALSE, kRawTypes), kPin};

/// A splitter's registration, and the word of RegisterFileTypes by which the graph builder tries
/// it.
struct SplitterSetup {
    const wchar_t* word;
    AMOVIESETUP_FILTER filter;
};

SplitterSetup splitters[] = {
    {L"avi-dv", {&CLSID_NyxAviSplitter, nyx::source::kAviSplitterName, 0, 2, kAviPins}},
    {L"mov", {&CLSID_NyxMovSplitter, nyx::source::kMovSplitterName, 0, 2, kMovPins}},
    {L"dv", {&CLSID_NyxRawSplitter, nyx::source::kRawSplitterName, 0, 2, kRawPins}},
};

/// A kind of file: its entries for the look-up by check bytes, under a media subtype of ours, and
/// its extensions. An entry lists offset, length, mask, bytes; not every look-up supports masks.
/// The look-up takes the first subtype that matches: AVI must come before the platform's own,
/// {E436EB88-...}.
struct FileKind {
    std::wstring name;
    std::wstring subtype;  ///< empty for a kind without check bytes
    std::vector<std::wstring> values;
    std::vector<std::wstring> extensions;
};

std::vector<FileKind> FileKinds() {
    // RIFF, AVI, and one of our codes as the handler of the first stream's header.
    std::vector<std::wstring> avi;
    for (const wchar_t* code : {L"515A5441", L"515A5432", L"514C4C43", L"514D4943", L"51323130",
                                L"51445643", L"51445635", L"51445648"}) {
        avi.push_back(std::wstring(L"0,4,,52494646,8,4,,41564920,112,4,,") + code);
    }
    return {
        // SMPTE 377: the key of a header partition pack, except the version of its registry.
        {L"mxf",
         L"{1D4C0B31-52E7-4F0A-8C66-9A0E5B7F3C01}",
         {L"0,7,,060E2B34020501,8,6,,0D0102010102"},
         {L".mxf"}},
        // SMPTE 360: a map packet with its leader and trailer.
        {L"gxf",
         L"{1D4C0B32-52E7-4F0A-8C66-9A0E5B7F3C01}",
         {L"0,6,,0000000001BC,14,2,,E1E2"},
         {L".gxf"}},
        {L"avi", L"{1D4C0B33-52E7-4F0A-8C66-9A0E5B7F3C01}", avi, {}},
        {L"dv", L"", {}, {L".dv", L".dif"}},
    };
}

constexpr wchar_t kStreams[] = L"Media Type\\{E436EB83-524F-11CE-9F53-0020AF0BA770}\\";
constexpr wchar_t kByExtension[] = L"Media Type\\Extensions\\";
constexpr wchar_t kSourceFilter[] = L"Source Filter";

std::wstring OwnClass() {
    wchar_t text[39];
    StringFromGUID2(CLSID_NyxFootageSource, text, 39);
    return text;
}

/// The source filter in a key; empty without one.
std::wstring SourceFilterOf(const std::wstring& key) {
    wchar_t text[64] = {};
    DWORD bytes = sizeof(text);
    return RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), kSourceFilter, RRF_RT_REG_SZ, nullptr, text,
                        &bytes) == ERROR_SUCCESS
               ? text
               : L"";
}

/// Removes a key if it is ours.
HRESULT Remove(const std::wstring& key) {
    return SourceFilterOf(key) == OwnClass() ? HRESULT_FROM_WIN32(static_cast<DWORD>(
                                                   RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str())))
                                             : S_OK;
}

/// Whether a list of words with commas between has one of them.
bool Lists(const std::wstring& words, const std::wstring& word) {
    return (L"," + words + L",").find(L"," + word + L",") != std::wstring::npos;
}

/// Registers the source for the kinds of files in `kinds`: by check bytes, under media types of our
/// own, and on Windows itself by extensions that have no entry yet. Returns the first failure.
[[nodiscard]] HRESULT RegisterFileTypes(const std::wstring& kinds) {
    HRESULT result = S_OK;
    const auto set = [&result](const std::wstring& key, const std::wstring& name,
                               const std::wstring& text) {
        const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        const LSTATUS status = RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name.c_str(), REG_SZ,
                                               text.c_str(), bytes);
        result = SUCCEEDED(result) ? HRESULT_FROM_WIN32(static_cast<DWORD>(status)) : result;
    };
    for (const FileKind& kind : FileKinds()) {
        if (!Lists(kinds, kind.name)) {
            continue;
        }
        const std::wstring key = kStreams + kind.subtype;
        if (!kind.subtype.empty()) {
            set(key, kSourceFilter, OwnClass());
        }
        for (std::size_t i = 0; i < kind.values.size(); ++i) {
            set(key, std::to_wstring(i), kind.values[i]);
        }
        for (const std::wstring& extension : kind.extensions) {
            // Wine does not follow an entry by extension, and no longer compares the bytes of a
            // file that has one.
            if (!nyx::IsWine() &&
                !nyx::OpenKey(HKEY_CLASSES_ROOT, (kByExtension + extension).c_str(), KEY_READ)) {
                set(kByExtension + extension, kSourceFilter, OwnClass());
            }
        }
    }
    return result;
}

/// Removes all entries of RegisterFileTypes, and no other program's.
[[nodiscard]] HRESULT UnregisterFileTypes() {
    HRESULT result = S_OK;
    const auto remove = [&result](const std::wstring& key) {
        const HRESULT removed = Remove(key);
        result = SUCCEEDED(result) ? removed : result;
    };
    for (const FileKind& kind : FileKinds()) {
        if (!kind.subtype.empty()) {
            remove(kStreams + kind.subtype);
        }
        for (const std::wstring& extension : kind.extensions) {
            remove(kByExtension + extension);
        }
    }
    return result;
}

}  // namespace

CFactoryTemplate g_Templates[] = {
    {nyx::source::kFootageSourceName, &CLSID_NyxFootageSource, nyx::source::FootageSource::Create,
     &kSetup},
    {nyx::source::kAviSplitterName, &CLSID_NyxAviSplitter,
     nyx::source::FootageSplitter::Create<nyx::source::kAviSplitter>, &splitters[0].filter},
    {nyx::source::kMovSplitterName, &CLSID_NyxMovSplitter,
     nyx::source::FootageSplitter::Create<nyx::source::kMovSplitter>, &splitters[1].filter},
    {nyx::source::kRawSplitterName, &CLSID_NyxRawSplitter,
     nyx::source::FootageSplitter::Create<nyx::source::kRawSplitter>, &splitters[2].filter},
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
    const HRESULT types = UnregisterFileTypes();
    const HRESULT classes = AMovieDllRegisterServer2(enter);
    const HRESULT result = FAILED(types) ? types : classes;
    return enter && SUCCEEDED(result) ? RegisterFileTypes(words) : result;
}

STDAPI DllRegisterServer() {
    return DllInstall(TRUE, L"mxf,gxf,avi,dv,avi-dv,mov");
}

STDAPI DllUnregisterServer() {
    return DllInstall(FALSE, nullptr);
}
