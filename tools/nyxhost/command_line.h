#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exit_codes.h"

namespace CLI {
class App;
}

namespace nyx::host {

/// Lets `app`, which has all its commands, read the words of the command line. An exit code when
/// there is nothing more to do: help or the version was shown, or the words were not understood,
/// which the standard error then says with the nearest word that there is.
std::optional<ExitCode> ReadCommandLine(CLI::App& app, std::vector<std::string> words);

}  // namespace nyx::host
