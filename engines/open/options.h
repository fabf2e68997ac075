#pragma once

namespace nyx::open {

/// What the environment variable `NYX_OPEN_ENGINES` asks for: words separated by blanks, of which
/// unknown ones are ignored.
struct Options {
    bool exact = false;  ///< "exact": libavcodec's reference transform
    int maxThreads =
        64;  ///< "threads=N": at most so many for one picture, 1 for the caller's alone
};

Options ReadOptions();

}  // namespace nyx::open
