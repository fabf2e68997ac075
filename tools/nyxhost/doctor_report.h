#pragma once

#include <string>

namespace nyx::host {

/// Writes a text for a bug report to `path` (UTF-8): the program's version, the system, the
/// processor, what doctor printed, and all that the registry has of the modules and of the user's
/// settings. The user's name and profile folder are replaced. Failure kOutput.
void WriteReport(const std::string& path, const std::string& printed);

}  // namespace nyx::host
