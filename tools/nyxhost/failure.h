#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace nyx::host {

/// The program's exit codes, for scripts. All values fit 8 bits.
enum class ExitCode : int {
    kOk = 0,
    kUsage = 1,         ///< the command line is invalid
    kInput = 2,         ///< an input file is missing or cannot be read
    kNotFootage = 3,    ///< the file is not footage, is damaged, or has no supported video stream
    kNoDecoder = 4,     ///< no codec is registered for it; `list`: no filter of ours is registered
    kRefused = 5,       ///< a registered codec refuses the clip's format or the requested output
    kDecode = 6,        ///< one frame or more could not be decoded or encoded
    kOutput = 7,        ///< a file, a picture or the standard output could not be written
    kTooLarge = 8,      ///< a WAV or AVI file cannot take more, or frames do not fit into memory
    kPlatform = 9,      ///< COM, DirectShow or imaging itself failed
    kInterrupted = 10,  ///< stopped by Ctrl+C
    kNoEngine = 11,     ///< a registered codec cannot be created, usually for lack of its engine
    kPastEnd = 12       ///< the clip ends before the frame or time of --from
};

/// The exit codes in two columns, for the end of every help text.
std::string ExitCodeHelp();

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
void Check(HRESULT result, std::string_view what, ExitCode code = ExitCode::kPlatform);

}  // namespace nyx::host
