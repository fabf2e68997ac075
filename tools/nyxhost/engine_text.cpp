#include "engine_text.h"

#include "codecs/engine_versions.h"
#include "file_version.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

struct Engine {
    const wchar_t* library;
    DWORD oldest;  ///< version that the module accepts
};

/// The engines of the filters whose name contains a word; the first match counts.
const struct {
    const char* word;
    std::vector<Engine> engines;
} kFamilies[] = {{"Zeta2", {{L"rkz2core.dll", kOldestZeta2}}},
                 {"Zeta", {{L"rkzcore.dll", kOldestZetaCore}, {L"rkzalpha.dll", kOldestZetaAlpha}}},
                 {"Lossless", {{L"rkllc.dll", kOldestLossless}}},
                 {"MPEG2", {{L"rkm2vi01.dll", kOldestMpegIntra}}},
                 {"DV", {{L"rkdvh.dll", kOldestDv}}}};

std::vector<Engine> EnginesOf(const std::string& filter) {
    for (const auto& [word, engines] : kFamilies) {
        if (filter.find(word) != std::string::npos) {
            return engines;
        }
    }
    return {};
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

std::string EngineText(const Engine& engine) {
    const UniqueLibrary module = LoadEngine(engine.library);
    const DWORD error = GetLastError();
    std::string found =
        error == ERROR_BAD_EXE_FORMAT ? "not a " + WordSize() + " library" : "not found";
    if (module != nullptr) {
        const std::filesystem::path path = ModulePath(module.get());
        const FileVersion version = ReadFileVersion(path);
        const bool tooOld = version.fixed >> 32 < engine.oldest;
        found = version.number + ", " +
                (tooOld ? Format("older than %u.%u, ", HIWORD(engine.oldest), LOWORD(engine.oldest))
                        : "") +
                version.kind + ", " + Utf8(path.wstring());
    }
    return Utf8(engine.library) + " (" + found + ")";
}

}  // namespace

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
