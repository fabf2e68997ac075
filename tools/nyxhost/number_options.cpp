#include "number_options.h"

#include <cerrno>
#include <cstdlib>

#include "failure.h"

namespace nyx::host {

void BadOption(const std::string& what) {
    throw Failure(ExitCode::kUsage, what);
}

std::vector<LONG> ReadNumbers(const std::string& text, char separator, std::size_t count,
                              const char* option) {
    std::vector<LONG> numbers;
    const char* at = text.c_str();
    for (;;) {
        char* end = nullptr;
        errno = 0;
        const long value = std::strtol(at, &end, 10);
        if (end == at || errno != 0) {
            break;
        }
        numbers.push_back(value);
        if (*end != separator) {
            at = end;
            break;
        }
        at = end + 1;
    }
    if (*at != '\0' || numbers.size() != count) {
        BadOption(std::string(option) + ": \"" + text + "\" makes no sense");
    }
    return numbers;
}

PictureSize ReadSize(const std::string& text) {
    const std::vector<LONG> size = ReadNumbers(text, 'x', 2, "--size");
    if (size[0] <= 0 || size[1] == 0 || size[1] == LONG_MIN) {
        BadOption("--size: \"" + text + "\" is no picture");
    }
    return {size[0], size[1]};
}

FrameRate ReadRate(const std::string& text) {
    const std::vector<LONG> rate = ReadNumbers(text, '/', 2, "--rate");
    if (rate[0] <= 0 || rate[1] <= 0) {
        BadOption("--rate: \"" + text + "\" is no rate");
    }
    return {static_cast<DWORD>(rate[0]), static_cast<DWORD>(rate[1])};
}

}  // namespace nyx::host
