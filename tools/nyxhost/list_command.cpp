#include <CLI/CLI.hpp>

#include "commands.h"
#include "console.h"
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
    return ExitCode::kOk;
}

}  // namespace

void AddListCommand(CLI::App& app, Action& action) {
    CLI::App* command = app.add_subcommand("list", "Show what the codec module has registered");
    command->callback([&action] { action = RunList; });
}

}  // namespace nyx::host
