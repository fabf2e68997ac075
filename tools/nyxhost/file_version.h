#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

namespace nyx::host {

/// Where a loaded library was loaded from.
std::filesystem::path ModulePath(HMODULE module);

/// What a library's version resource says of it.
struct FileVersion {
    ULONGLONG fixed = 0;                ///< four words, the first one highest; 0 without a resource
    std::string number = "no version";  ///< "4.31.0.0"
    /// "open" or "stand-in" for an engine that this project built, by the first word of its
    /// description, else "closed".
    std::string kind = "closed";
};
FileVersion ReadFileVersion(const std::filesystem::path& file);

}  // namespace nyx::host
