#pragma once

#include <string>

namespace nyx::host {

/// The entry by which the system, in programs of this word size, finds the source filter of a file:
/// "HKEY_CLASSES_ROOT\Media Type\...: 0 = 0,4,,52494646, Source Filter = {...}". Empty where none
/// applies, so that the system's own reader opens it.
std::string SourceEntryText(const std::string& file);

/// Writes a text for a bug report to `path` (UTF-8): the program's version, the system, the
/// processor, what doctor printed, and all that the registry has of the modules and of the user's
/// settings. The user's name and profile folder are replaced. Failure kOutput.
void WriteReport(const std::string& path, const std::string& printed);

}  // namespace nyx::host
