#include "engine_text.h"

#include "codecs/engine_versions.h"
#include "file_version.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

struct Engine {
    const wchar_t* library;
    DWORD oldest;  ///< that the module takes
};

/// The closed libraries behind the filters whose name holds a word.
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

/// The library that a codec has loaded or would load: by its bare name, else out of the folder
/// "engines" beside the module. Null, with the system's last error, when there is none.
HMODULE LoadEngine(const wchar_t* library) {
    const HMODULE module = LoadLibraryW(library);
    const DWORD error = GetLastError();
    const HMODULE codecs = module == nullptr ? GetModuleHandleW(L"nyxcodecs.dll") : nullptr;
    if (codecs == nullptr) {
        return module;
    }
    const auto own = ModulePath(codecs).replace_filename(L"engines") / library;
    const HMODULE second = LoadLibraryW(own.c_str());
    SetLastError(error);  // of the one that is found first
    return second;
}

std::string EngineText(const Engine& engine) {
    const HMODULE module = LoadEngine(engine.library);
    const DWORD error = GetLastError();
    std::string found =
        error == ERROR_BAD_EXE_FORMAT ? "no " + WordSize() + " library" : "not found";
    if (module != nullptr) {
        const FileVersion version = ReadFileVersion(ModulePath(module));
        const bool tooOld = version.fixed >> 32 < engine.oldest;
        found = version.number + ", " +
                (tooOld ? Format("older than %u.%u, ", HIWORD(engine.oldest), LOWORD(engine.oldest))
                        : "") +
                version.kind + ", " + Utf8(ModulePath(module).wstring());
        FreeLibrary(module);
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

bool WantsEngine(const std::string& filter, HRESULT created) {
    return created == E_OUTOFMEMORY && !EnginesOf(filter).empty();
}

std::string CreationText(const std::string& filter, HRESULT created) {
    if (!WantsEngine(filter, created)) {
        return ResultText(created);
    }
    std::string text = "engine missing or too old";
    for (const std::string& engine : EngineTexts(filter)) {
        text += ", " + engine;
    }
    return text;
}

}  // namespace nyx::host
