#pragma once

/// @file
/// Programs that tests start.

#include "checks/program.h"
#include "tests/support/settings.h"

namespace nyx::test {

/// How a program ended and what it printed.
struct Ended {
    DWORD code = 0;
    std::string said;
};

/// Runs a command line in a folder to its end, which a deadlock turns into a code of -1.
inline Ended RunIn(const std::filesystem::path& folder, const std::wstring& commandLine,
                   const checks::Variables& variables = {}) {
    const std::filesystem::path output = folder / "said";
    const checks::Program program(commandLine, folder, output, variables);
    const bool ended = program.Ends();
    std::string said = checks::ReadText(output);
    std::erase(said, '\r');
    return {ended ? program.ExitCode() : DWORD(-1), said};
}

/// The system's own long name of a folder, which may differ from that of the temporary one.
inline std::filesystem::path LongName(const std::filesystem::path& folder) {
    wchar_t name[MAX_PATH] = {};
    GetLongPathNameW(folder.c_str(), name, MAX_PATH);
    return name;
}

}  // namespace nyx::test
