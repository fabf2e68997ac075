#include "engine_text.h"

#include <algorithm>
#include <string_view>

#include "codecs/engine_versions.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

/// A filter's engines are those of the first family whose word is in its name.
constexpr Engine kEngines[] = {
    {.library = L"rkz2core.dll", .oldest = kOldestZeta2, .family = "Zeta2", .open = false},
    {.library = L"rkzcore.dll", .oldest = kOldestZetaCore, .family = "Zeta", .open = false},
    {.library = L"rkzalpha.dll", .oldest = kOldestZetaAlpha, .family = "Zeta", .open = false},
    {.library = L"rkllc.dll", .oldest = kOldestLossless, .family = "Lossless", .open = false},
    {.library = L"rkm2vi01.dll", .oldest = kOldestMpegIntra, .family = "MPEG2", .open = true},
    {.library = L"rkdvh.dll", .oldest = kOldestDv, .family = "DV", .open = true}};

std::vector<Engine> EnginesOf(const std::string& filter) {
    std::vector<Engine> engines;
    for (const Engine& engine : kEngines) {
        if (filter.find(engine.family) != std::string::npos &&
            (engines.empty() || std::string_view(engines[0].family) == engine.family)) {
            engines.push_back(engine);
        }
    }
    return engines;
}

struct LibraryCloser {
    void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
};
using UniqueLibrary = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryCloser>;

/// The library that a codec has loaded or would load: by its bare name, else from the folder
/// "engines" beside the module. Null, with the system's last error for the bare name, when neither
/// can be loaded.
UniqueLibrary LoadEngine(const wchar_t* library) {
    UniqueLibrary module(LoadLibraryW(library));
    const DWORD error = GetLastError();
    const HMODULE codecs = GetModuleHandleW(L"nyxcodecs.dll");
    if (module == nullptr && codecs != nullptr) {
        const auto own = ModulePath(codecs).replace_filename(L"engines") / library;
        module.reset(LoadLibraryW(own.c_str()));
    }
    SetLastError(error);
    return module;
}

/// What a library's version resource says of it.
struct FileVersion {
    ULONGLONG fixed = 0;                ///< four words, the first one highest; 0 without a resource
    std::string number = "no version";  ///< "4.31.0.0"
    /// "open" or "stand-in" for an engine that this project built, by the first word of its
    /// description, else "closed".
    std::string kind = "closed";
};

constexpr wchar_t kOurProduct[] = L"Nyx codec module";

/// A string of the version resource's table for US English, UTF-16, which this project uses.
std::wstring_view TextOf(const std::vector<BYTE>& block, const wchar_t* name) {
    void* text = nullptr;
    UINT length = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    if (VerQueryValueW(block.data(), path.c_str(), &text, &length) == FALSE || length == 0) {
        return {};
    }
    return {static_cast<const wchar_t*>(text), length - 1};  // without the null
}

FileVersion ReadFileVersion(const std::filesystem::path& file) {
    FileVersion version;
    DWORD ignored = 0;
    std::vector<BYTE> block(GetFileVersionInfoSizeW(file.c_str(), &ignored));
    void* root = nullptr;
    UINT size = 0;
    if (block.empty() ||
        GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ==
            FALSE ||
        VerQueryValueW(block.data(), L"\\", &root, &size) == FALSE ||
        size < sizeof(VS_FIXEDFILEINFO)) {
        return version;
    }
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(root);
    version.fixed = ULONGLONG{fixed.dwFileVersionMS} << 32 | fixed.dwFileVersionLS;
    version.number =
        Format("%u.%u.%u.%u", HIWORD(fixed.dwFileVersionMS), LOWORD(fixed.dwFileVersionMS),
               HIWORD(fixed.dwFileVersionLS), LOWORD(fixed.dwFileVersionLS));
    if (TextOf(block, L"ProductName") == kOurProduct) {
        const std::wstring_view words = TextOf(block, L"FileDescription");
        version.kind = Utf8(words.substr(0, words.find(L' ')));
        std::transform(version.kind.begin(), version.kind.end(), version.kind.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    }
    return version;
}

std::string EngineText(const Engine& engine) {
    const UniqueLibrary module = LoadEngine(engine.library);
    const DWORD error = GetLastError();
    std::string found =
        error == ERROR_BAD_EXE_FORMAT ? "not a " + WordSize() + " library" : "not found";
    if (module != nullptr) {
        found = EngineFileText(engine, ModulePath(module.get()));
    }
    return Utf8(engine.library) + " (" + found + ")";
}

}  // namespace

std::vector<Engine> AllEngines() {
    return {std::begin(kEngines), std::end(kEngines)};
}

bool IsTooOld(const Engine& engine, const std::filesystem::path& file) {
    return ReadFileVersion(file).fixed >> 32 < engine.oldest;
}

std::string EngineFileText(const Engine& engine, const std::filesystem::path& file) {
    const FileVersion version = ReadFileVersion(file);
    const std::string old =
        Format("older than %u.%u, ", HIWORD(engine.oldest), LOWORD(engine.oldest));
    return version.number + ", " + (IsTooOld(engine, file) ? old : "") + version.kind + ", " +
           Utf8(file.wstring());
}

std::vector<std::string> EngineTexts(const std::string& filter) {
    std::vector<std::string> texts;
    for (const Engine& engine : EnginesOf(filter)) {
        texts.push_back(EngineText(engine));
    }
    return texts;
}

bool LacksEngine(const std::string& filter, HRESULT created) {
    return created == E_OUTOFMEMORY && !EnginesOf(filter).empty();
}

std::string CreationText(const std::string& filter, HRESULT created) {
    if (!LacksEngine(filter, created)) {
        return ResultText(created);
    }
    std::string text = "engine missing or too old";
    for (const std::string& engine : EngineTexts(filter)) {
        text += ", " + engine;
    }
    return text;
}

}  // namespace nyx::host
