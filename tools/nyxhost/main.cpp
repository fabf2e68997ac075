/// @file
/// nyxhost: a small application that uses the registered filters as any stranger's would, through
/// COM alone.

#include <windows.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

#include "com.h"
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "interrupt.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

ExitCode ParseFailed(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = app.exit(error, out, err);
    Print(out.str());
    if (code == 0) {
        return ExitCode::kOk;  // the help text or the version was asked for
    }
    PrintError(error.what());
    Print("Run with --help for more information.\n");
    return ExitCode::kUsage;
}

ExitCode RunProgram(int count, wchar_t** words) {
    CLI::App app("Plays footage through the registered DirectShow codecs.", "nyxhost");
    app.footer(kExitCodeHelp);
    app.set_version_flag("--version", "nyxhost " NYX_VERSION ", " + WordSize());
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    Action action;
    AddListCommand(app, action);
    AddInfoCommand(app, action);
    AddDecodeCommand(app, action);
    AddPlayCommand(app, action);
    AddRenderCommand(app, action);
    AddBenchCommand(app, action);
    AddEncodeCommand(app, action);
    AddPropertiesCommand(app, action);

    std::vector<std::string> arguments;  // the library takes them last one first
    for (int i = count - 1; i > 0; --i) {
        arguments.push_back(Utf8(words[i]));
    }
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return ParseFailed(app, error);
    }
    WatchForInterrupt();
    const ComApartment apartment;
    Check(apartment.Result(), "COM does not start");
    return action();
}

}  // namespace
}  // namespace nyx::host

int wmain(int count, wchar_t** words) {
    using namespace nyx::host;
    ExitCode code = ExitCode::kPlatform;
    try {
        code = RunProgram(count, words);
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
