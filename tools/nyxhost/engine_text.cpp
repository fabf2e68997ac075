#include "engine_text.h"

#include <algorithm>
#include <fstream>
#include <string_view>

#include "codecs/engine_versions.h"
#include "module_registry.h"
#include "platform/system.h"
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

/// The word size of a DLL or program by its PE header; 0 for another file.
int BitsOf(const std::filesystem::path& file) {
    constexpr std::streamoff kHeaderPlace = 0x3C;
    std::ifstream in(file, std::ios::binary);
    DWORD header = 0;
    WORD machine = 0;
    in.seekg(kHeaderPlace).read(reinterpret_cast<char*>(&header), sizeof(header));
    in.seekg(header + sizeof(DWORD)).read(reinterpret_cast<char*>(&machine), sizeof(machine));
    if (!in) {
        return 0;
    }
    return machine == IMAGE_FILE_MACHINE_I386 ? 32 : machine == IMAGE_FILE_MACHINE_AMD64 ? 64 : 0;
}

/// The folders, in order, from which a program of a word size loads a library by its bare name. The
/// folder of the program itself is known for this one only.
std::wstring SearchedFolders(int bits) {
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    std::wstring path(32768, L'\0');  // the longest value of an environment variable
    path.resize(GetEnvironmentVariableW(L"PATH", path.data(), static_cast<DWORD>(path.size())));
    // The other word size has its system folder under a name of its own.
    const std::wstring system = bits == kOwnBits ? L"\\system32;"
                                : bits == 32     ? L"\\SysWOW64;"
                                                 : L"\\Sysnative;";
    std::wstring folders;
    if (bits == kOwnBits) {
        folders = ModulePath(nullptr).parent_path().wstring() + L";";
    }
    return folders + windows + system + windows + L";" + path;
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
    const auto file = FindEngine(engine, kOwnBits);
    const std::string failure = file.empty() ? "not found" : LoadFailure(file, kOwnBits);
    return Utf8(engine.library) + " (" +
           (failure.empty() ? EngineFileText(engine, file) : failure) + ")";
}

}  // namespace

std::vector<Engine> AllEngines() {
    return {std::begin(kEngines), std::end(kEngines)};
}

std::string LoadFailure(const std::filesystem::path& file, int bits) {
    std::error_code unreadable;
    if (std::filesystem::exists(file, unreadable) && BitsOf(file) != bits) {
        return Format("not a %d-bit library", bits);
    }
    // Only a program of the same word size can try.
    const HMODULE library =
        LoadLibraryExW(file.c_str(), nullptr,
                       bits == kOwnBits ? LOAD_WITH_ALTERED_SEARCH_PATH : LOAD_LIBRARY_AS_DATAFILE);
    if (library == nullptr) {
        return "not loadable: " + ResultText(LastError());
    }
    FreeLibrary(library);
    return {};
}

std::filesystem::path FindEngine(const Engine& engine, int bits) {
    wchar_t found[MAX_PATH] = {};
    SearchPathW(SearchedFolders(bits).c_str(), engine.library, nullptr, MAX_PATH, found, nullptr);
    std::filesystem::path file(found);
    const auto beside =
        RegisteredModule(kCodecModule, bits).replace_filename(L"engines") / engine.library;
    return BitsOf(file) == bits || BitsOf(beside) == 0 ? file : beside;
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
