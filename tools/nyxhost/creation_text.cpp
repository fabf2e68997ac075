#include "creation_text.h"

#include <array>

#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

/// The closed libraries behind the filters whose name holds a word.
constexpr struct {
    const char* word;
    std::array<const char*, 2> libraries;
} kEngines[] = {{"Zeta2", {"rkz2core.dll"}},
                {"Zeta", {"rkzcore.dll", "rkzalpha.dll"}},
                {"Lossless", {"rkllc.dll"}},
                {"MPEG2", {"rkm2vi01.dll"}},
                {"DV", {"rkdvh.dll"}}};

std::string PlaceOf(const char* library) {
    const HMODULE module = LoadLibraryA(library);
    if (module == nullptr) {
        return GetLastError() == ERROR_BAD_EXE_FORMAT ? "no " + WordSize() + " library"
                                                      : "not found";
    }
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(module, path, MAX_PATH);
    FreeLibrary(module);
    return Utf8(path);
}

}  // namespace

std::string CreationText(const std::string& filter, HRESULT created) {
    for (const auto& [word, libraries] : kEngines) {
        if (created != E_OUTOFMEMORY || filter.find(word) == std::string::npos) {
            continue;
        }
        std::string text = "engine missing or too old";
        for (const char* library : libraries) {
            text += library ? std::string(", ") + library + " (" + PlaceOf(library) + ")" : "";
        }
        return text;
    }
    return ResultText(created);
}

}  // namespace nyx::host
