#pragma once

#include <functional>

#include "failure.h"

namespace CLI {
class App;
}

namespace nyx::host {

/// The work of the chosen sub-command: set while the command line is parsed, run afterwards. May
/// throw Failure.
using Action = std::function<ExitCode()>;

// Each function adds its sub-command to `app`. Parsing sets `action` when the user chose it. One
// source file per sub-command.
void AddListCommand(CLI::App& app, Action& action);
void AddInfoCommand(CLI::App& app, Action& action);
void AddDecodeCommand(CLI::App& app, Action& action);
void AddPlayCommand(CLI::App& app, Action& action);
void AddRenderCommand(CLI::App& app, Action& action);
void AddBenchCommand(CLI::App& app, Action& action);
void AddEncodeCommand(CLI::App& app, Action& action);
void AddPropertiesCommand(CLI::App& app, Action& action);
void AddSettingsCommand(CLI::App& app, Action& action);
void AddDoctorCommand(CLI::App& app, Action& action);

}  // namespace nyx::host
