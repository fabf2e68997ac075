#include <CLI/CLI.hpp>

#include <array>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr const char* kModules[] = {"nyxcodecs.dll", "nyxsource.dll"};

/// The closed libraries behind the filters whose name holds a word.
constexpr struct {
    const char* word;
    std::array<const char*, 2> libraries;
} kEngines[] = {{"Zeta2", {"rkz2core.dll"}},
                {"Zeta", {"rkzcore.dll", "rkzalpha.dll"}},
                {"Lossless", {"rkllc.dll"}},
                {"MPEG2", {"rkm2vi01.dll"}},
                {"DV", {"rkdvh.dll"}}};

/// Where the system's search order, which is the module's too, finds a library.
std::string PlaceOf(const char* library) {
    const HMODULE module = LoadLibraryA(library);
    if (module == nullptr) {
        return "not found";
    }
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(module, path, MAX_PATH);
    FreeLibrary(module);
    return Utf8(path);
}

/// Why a filter that stands on an engine has none: its libraries and where they are.
std::string EngineText(const std::string& filter) {
    for (const auto& [word, libraries] : kEngines) {
        if (filter.find(word) == std::string::npos) {
            continue;
        }
        std::string text = "engine missing or too old";
        for (const char* library : libraries) {
            text += library ? std::string(", ") + library + " (" + PlaceOf(library) + ")" : "";
        }
        return text;
    }
    return {};
}

/// What comes of an attempt to create a filter, in words.
std::string CreationText(const RegisteredFilter& filter) {
    ComPtr<IUnknown> object;
    const HRESULT created = CoCreateInstance(filter.clsid, nullptr, CLSCTX_INPROC_SERVER,
                                             IID_PPV_ARGS(object.GetAddressOf()));
    const std::string engine = created == E_OUTOFMEMORY ? EngineText(filter.name) : "";
    return SUCCEEDED(created) ? "works"
                              : (engine.empty() ? "fails: " + ResultText(created) : engine);
}

ExitCode RunList() {
    std::size_t found = 0;
    for (const char* module : kModules) {
        const std::vector<RegisteredFilter> filters = FindFilters(module);
        found += filters.size();
        Print(std::string(module) + ": " +
              (filters.empty() ? std::string("not registered; run regsvr32 ") + module
                               : filters.front().server) +
              "\n");
        for (const RegisteredFilter& filter : filters) {
            Print(Format("  %-26s %s, ", filter.name.c_str(), GuidText(filter.clsid).c_str()) +
                  filter.categories + "\n" + Format("  %-26s ", "") + CreationText(filter) + "\n");
        }
    }
    if (found == 0) {
        PrintError("nothing registered");
        return ExitCode::kNoDecoder;
    }
    return ExitCode::kOk;
}

}  // namespace

void AddListCommand(CLI::App& app, Action& action) {
    CLI::App* command =
        app.add_subcommand("list", "Show which filters of ours are registered, and which work");
    command->footer(
        "An engine is found beside the application, in the system folders or on the search path "
        "(PATH; under Wine WINEPATH).");
    command->callback([&action] { action = RunList; });
}

}  // namespace nyx::host
