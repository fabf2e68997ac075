#pragma once

/// @file
/// Runs a program and reads what it says: for the checks and for tests that start programs.

#include <windows.h>

#include <filesystem>
#include <map>
#include <string>

namespace nyx::checks {

/// Added to the environment, in place of what is there. An empty value removes the variable.
using Variables = std::map<std::wstring, std::wstring>;

/// A running program, ended with its owner. Its output and errors go to a file.
class Program {
  public:
    /// Starts a command line in a folder, without input. Throws std::runtime_error when it cannot
    /// be started. Any thread.
    Program(const std::wstring& commandLine, const std::filesystem::path& folder,
            const std::filesystem::path& output, const Variables& variables = {});
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    /// Waits for its end. False when it still runs after these minutes.
    bool Ends(DWORD minutes = 60) const;
    bool Runs() const { return WaitForSingleObject(process_.hProcess, 0) == WAIT_TIMEOUT; }
    /// Its exit code, once it has ended.
    DWORD ExitCode() const;

    DWORD id() const { return process_.dwProcessId; }

  private:
    PROCESS_INFORMATION process_{};
};

/// All bytes of a file; none when it cannot be read.
std::string ReadText(const std::filesystem::path& file);

/// UTF-8.
std::string Narrow(const std::wstring& text);
std::wstring Widen(const std::string& text);

}  // namespace nyx::checks
