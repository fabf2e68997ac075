#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <utility>

#include "failure.h"

namespace nyx::host {

/// The work of the chosen sub-command: set while the command line is parsed, run afterwards, in a
/// thread of this apartment. May throw Failure.
struct Action {
    std::function<ExitCode()> run;
    DWORD apartment = COINIT_MULTITHREADED;
};

/// The options of a command that has none.
struct NoOptions {};

/// Adds the sub-command `name` with an object of its options, which lives as long as the command.
/// Parsing sets `action` when the user chose it. Returns both.
template <class Options>
std::pair<CLI::App&, Options&> AddCommand(CLI::App& app, Action& action, const char* name,
                                          const std::string& help, ExitCode (*run)(const Options&),
                                          DWORD apartment = COINIT_MULTITHREADED) {
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(name, help);
    command->callback([=, &action] { action = {[=] { return run(*options); }, apartment}; });
    return {*command, *options};
}

/// Adds a sub-command to `app`. One source file per sub-command.
using AddFunction = void(CLI::App& app, Action& action);
AddFunction AddListCommand, AddInfoCommand, AddDecodeCommand, AddPlayCommand, AddRenderCommand,
    AddBenchCommand, AddEncodeCommand, AddPropertiesCommand, AddSettingsCommand, AddDoctorCommand;

/// All of them, in the order of the help text.
inline constexpr AddFunction* kCommands[] = {
    AddListCommand,  AddInfoCommand,   AddDecodeCommand,     AddPlayCommand,     AddRenderCommand,
    AddBenchCommand, AddEncodeCommand, AddPropertiesCommand, AddSettingsCommand, AddDoctorCommand};

}  // namespace nyx::host
