#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "exit_codes.h"

namespace nyx::host {

/// Ends a command: the message for the user (UTF-8, no "error:") and the exit code. Thrown only
/// between functions of the tool, never across a COM interface.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

    ExitCode Code() const { return code_; }

  private:
    ExitCode code_;
};

/// Throws Failure(`code`, "`what`: <the result in words>") when `result` is a failure.
void Check(HRESULT result, const char* what, ExitCode code = ExitCode::kPlatform);

}  // namespace nyx::host
