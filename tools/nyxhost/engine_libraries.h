#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace nyx::host {

/// A closed library that filters of the module load by its bare name.
struct EngineLibrary {
    const char* file;
    const char* filters;   ///< who loads it
    DWORD minimumVersion;  ///< major << 16 | minor; 0 when any version will do
};

/// What the system's search order finds for a library's bare name in this process, which is what
/// the module finds here too.
struct FoundEngine {
    EngineLibrary library;
    std::string path{};     ///< empty when nothing was found, or what was found does not load
    HRESULT result = S_OK;  ///< why it does not load
    std::optional<ULONGLONG> version{};  ///< four words, the major one highest; missing when none
    std::string description{};           ///< what the file says about itself

    bool IsNewEnough() const;
};

/// Looks for every engine. Each library is loaded once and freed again.
std::vector<FoundEngine> FindEngines();

/// "1.32" of a minimum, "1.32.0.0" of a whole version.
std::string MinimumVersionText(DWORD minimum);
std::string VersionText(ULONGLONG version);

}  // namespace nyx::host
