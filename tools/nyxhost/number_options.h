#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace nyx::host {

/// Ends the command: the option makes no sense. Failure kUsage.
[[noreturn]] void BadOption(const std::string& what);

/// Reads `text` as exactly `count` whole numbers with `separator` between them. Failure kUsage
/// naming `option` for anything else.
std::vector<LONG> ReadNumbers(const std::string& text, char separator, std::size_t count,
                              const char* option);

/// What --size says, as in 1920x1080. A negative height stands for rows from top to bottom.
struct PictureSize {
    LONG width;
    LONG height;
};
PictureSize ReadSize(const std::string& text);

/// What --rate says, as in 30000/1001: frames per second are `rate` / `scale`.
struct FrameRate {
    DWORD rate;
    DWORD scale;
};
FrameRate ReadRate(const std::string& text);

}  // namespace nyx::host
