#pragma once

namespace nyx::host {

/// What the program's exit code tells a script. All values fit 8 bits.
enum class ExitCode : int {
    kOk = 0,
    kUsage = 1,       ///< the command line was not understood
    kInput = 2,       ///< an input file is missing or cannot be read
    kNotFootage = 3,  ///< the file is no footage, is damaged, or has no video stream of ours
    kNoDecoder =
        4,  ///< no decoder or encoder is registered for it; `list`: nothing registered at all
    kRefused = 5,      ///< a registered codec refuses the clip's format or the asked output
    kDecode = 6,       ///< one frame or more could not be decoded or encoded
    kOutput = 7,       ///< a file or picture could not be written
    kTooLarge = 8,     ///< a file to write would reach 2^31 bytes, or frames do not fit into memory
    kPlatform = 9,     ///< COM, DirectShow or imaging itself failed
    kInterrupted = 10  ///< stopped by Ctrl+C
};

/// The list above for the end of the help text.
inline constexpr char kExitCodeHelp[] =
    "Exit codes:\n"
    "  0 success                    6 frames that the codec failed on\n"
    "  1 command line               7 output could not be written\n"
    "  2 input missing/unreadable   8 a file would reach 2^31 bytes\n"
    "  3 no footage of ours         9 COM, DirectShow or imaging failed\n"
    "  4 no codec registered       10 interrupted\n"
    "  5 type refused";

}  // namespace nyx::host
