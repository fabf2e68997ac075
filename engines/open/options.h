#pragma once

namespace nyx::open {

/// What the environment variable `NYX_OPEN_ENGINES` asks for: words separated by blanks, of which
/// unknown ones are ignored.
struct Options {
    /// "exact": libavcodec's reference transform.
    bool exact = false;
    /// "threads=N": at most so many for one picture, the caller's included.
    int maxThreads = 64;
};

Options ReadOptions();

}  // namespace nyx::open
