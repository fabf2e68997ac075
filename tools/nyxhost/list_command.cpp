#include <CLI/CLI.hpp>

#include "commands.h"
#include "console.h"
#include "engine_libraries.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

/// How the creation of an object went, in words.
std::string CreationText(HRESULT creation) {
    if (SUCCEEDED(creation)) {
        return "works";
    }
    std::string text = "fails: " + ResultText(creation);
    if (creation == E_OUTOFMEMORY) {
        text += "; the answer too when its engine library is missing or too old";
    }
    return text;
}

void PrintClass(const RegisteredClass& entry) {
    Print(entry.name + "\n");
    Print("  class     " + GuidText(entry.clsid) + "\n");
    Print("  server    " + entry.server + " (" + entry.threadingModel + ")\n");
    if (entry.categories.empty()) {
        Print("  category  none: an object that is no filter\n");
    }
    for (const CategoryEntry& category : entry.categories) {
        const std::string merit = category.merit ? Format("0x%08lX", *category.merit) : "unknown";
        Print("  category  " + category.category + ", merit " + merit);
        Print(category.name == entry.name ? "\n" : ", as \"" + category.name + "\"\n");
        for (const std::string& pin : category.pins) {
            Print("            " + pin + "\n");
        }
    }
    Print("  creation  " + CreationText(entry.creation) + "\n");
}

void PrintEngine(const FoundEngine& engine) {
    const EngineLibrary& library = engine.library;
    std::string text = Format("  %-13s ", library.file);
    if (engine.path.empty()) {
        text += engine.result == HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND)
                    ? "not found"
                    : "does not load: " + ResultText(engine.result);
    } else {
        text += engine.version ? VersionText(*engine.version) : "no version";
        if (!engine.IsNewEnough()) {
            text +=
                ", too old: at least " + MinimumVersionText(library.minimumVersion) + " is needed";
        }
        text += ", " + engine.path;
        if (!engine.description.empty()) {
            text += " (" + engine.description + ")";
        }
    }
    Print(text + "; for " + library.filters + "\n");
}

void PrintEngines() {
    Print("Engine libraries, as this process finds them:\n");
    for (const FoundEngine& engine : FindEngines()) {
        PrintEngine(engine);
    }
}

ExitCode RunList() {
    const std::vector<RegisteredClass> classes = FindModuleClasses();
    if (classes.empty()) {
        PrintError("nothing registered: no COM class of this system names " + Utf8(kModuleFile) +
                   " as its server; run regsvr32 " + Utf8(kModuleFile));
        return ExitCode::kNoDecoder;
    }
    for (const RegisteredClass& entry : classes) {
        PrintClass(entry);
    }
    Print(Format("%zu registered\n", classes.size()));
    PrintEngines();
    return ExitCode::kOk;
}

}  // namespace

void AddListCommand(CLI::App& app, Action& action) {
    CLI::App* command = app.add_subcommand(
        "list", "Show what the codec module has registered, and which engines it finds");
    command->callback([&action] { action = RunList; });
}

}  // namespace nyx::host
