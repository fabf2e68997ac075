#pragma once

#include <optional>
#include <string>
#include <vector>

#include "failure.h"

namespace CLI {
class App;
}

namespace nyx::host {

/// Parses the words of the command line with `app`, which has all its commands. Returns an exit
/// code when the program is done: it has shown help or the version, or has reported a usage error,
/// with the nearest known word, on the standard error.
std::optional<ExitCode> ReadCommandLine(CLI::App& app, std::vector<std::string> words);

}  // namespace nyx::host
