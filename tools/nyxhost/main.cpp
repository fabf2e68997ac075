/// @file
/// nyxhost: an application that uses the registered filters as a third-party one does, through COM
/// alone.

#include <windows.h>

#include <CLI/CLI.hpp>

#include "com.h"
#include "command_line.h"
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

ExitCode RunProgram(int count, wchar_t** arguments) {
    CLI::App app("Plays footage through the registered DirectShow codecs.", "nyxhost");
    app.footer(ExitCodeHelp());  // the commands inherit it
    app.set_version_flag("--version", "nyxhost " NYX_VERSION ", " + WordSize());
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    Action action;
    for (AddFunction* add : kCommands) {
        add(app, action);
    }

    std::vector<std::string> words;
    for (int i = 1; i < count; ++i) {
        words.push_back(Utf8(arguments[i]));
    }
    if (const std::optional<ExitCode> done = ReadCommandLine(app, std::move(words))) {
        return *done;
    }
    WatchForInterrupt();
    const ComApartment apartment(action.apartment);
    Check(apartment.Result(), "cannot initialise COM");
    return action.run();
}

}  // namespace
}  // namespace nyx::host

int wmain(int count, wchar_t** arguments) {
    using namespace nyx::host;
    ExitCode code = ExitCode::kPlatform;
    try {
        code = RunProgram(count, arguments);
    } catch (const Failure& failure) {
        PrintError(failure.what());
        code = failure.Code();
    } catch (const std::bad_alloc&) {
        PrintError("out of memory");
    } catch (const std::exception& unexpected) {
        PrintError(unexpected.what());
    }
    return static_cast<int>(code);
}
