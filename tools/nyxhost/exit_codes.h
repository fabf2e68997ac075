#pragma once

#include <string>

namespace nyx::host {

/// What the program's exit code tells a script. All values fit 8 bits.
enum class ExitCode : int {
    kOk = 0,
    kUsage = 1,         ///< the command line was not understood
    kInput = 2,         ///< an input file is missing or cannot be read
    kNotFootage = 3,    ///< the file is no footage, is damaged, or has no video stream of ours
    kNoDecoder = 4,     ///< no codec is registered for it; `list`: nothing is registered at all
    kRefused = 5,       ///< a registered codec refuses the clip's format or the asked output
    kDecode = 6,        ///< one frame or more could not be decoded or encoded
    kOutput = 7,        ///< a file, a picture or the standard output could not be written
    kTooLarge = 8,      ///< a file would reach 2^31 bytes, or frames do not fit into memory
    kPlatform = 9,      ///< COM, DirectShow or imaging itself failed
    kInterrupted = 10,  ///< stopped by Ctrl+C
    kNoEngine = 11,     ///< a registered codec cannot be made, for want of its engine as a rule
    kPastEnd = 12       ///< the clip ends before the frame or time to begin with
};

/// The list above in words, in two columns, for the end of every help text.
std::string ExitCodeHelp();

}  // namespace nyx::host
