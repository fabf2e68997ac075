#include <CLI/CLI.hpp>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "engine_text.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Tries to create a filter, prints the result and the filter's engines, and returns whether it
/// works.
bool PrintAttempt(const RegisteredFilter& filter) {
    ComPtr<IUnknown> object;
    const HRESULT created = CoCreateInstance(filter.clsid, nullptr, CLSCTX_INPROC_SERVER,
                                             IID_PPV_ARGS(object.GetAddressOf()));
    const bool works = SUCCEEDED(created);
    const bool lacksEngine = LacksEngine(filter.name, created);
    const std::string column = Format("  %-26s ", "");
    Print(column +
          (works         ? "works"
           : lacksEngine ? "engine missing or too old"
                         : ResultText(created)) +
          "\n");
    for (const std::string& engine :
         works || lacksEngine ? EngineTexts(filter.name) : std::vector<std::string>()) {
        Print(column + engine + "\n");
    }
    return works;
}

/// The path of a module, taken from its filters.
std::string PlaceText(const std::string& module, const std::vector<RegisteredFilter>& filters) {
    if (!filters.empty()) {
        return filters.front().server;
    }
    const std::vector<int> sizes = WordSizes();
    return std::string("not registered") +
           (sizes.size() > 1 && !RegisteredModule(module, sizes[1]).empty()
                ? " (only for the other word size)"
                : "") +
           "; run regsvr32 " + module;
}

ExitCode RunList(const NoOptions&) {
    std::size_t found = 0;
    std::size_t working = 0;
    for (const char* module : kModules) {
        const std::vector<RegisteredFilter> filters = FindFilters(module);
        found += filters.size();
        Print(std::string(module) + ", " + WordSize() + ": " + PlaceText(module, filters) + "\n");
        for (const RegisteredFilter& filter : filters) {
            Print(Format("  %-26s %s, ", filter.name.c_str(), GuidText(filter.clsid).c_str()) +
                  filter.categories + "\n");
            working += PrintAttempt(filter) ? 1u : 0u;
        }
    }
    if (found == 0) {
        PrintError("no filter of these modules is registered");
        return ExitCode::kNoDecoder;
    }
    return working < found ? ExitCode::kNoEngine : ExitCode::kOk;
}

}  // namespace

void AddListCommand(CLI::App& app, Action& action) {
    AddCommand(app, action, "list", "Show the registered filters of the modules, and which work",
               RunList)
        .first.footer("The list is for " + WordSize() + " programs, which need " + WordSize() +
                      " modules and engines.\n"
                      "Engines are searched beside the application, in the system folders, on the "
                      "search path (PATH;\nWINEPATH under Wine), and last in the folder "
                      "\"engines\" beside nyxcodecs.dll.\n");
}

}  // namespace nyx::host
