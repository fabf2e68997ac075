#include "engines/open/options.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace nyx::open {

Options ReadOptions() {
    constexpr std::string_view kThreads = "threads=";
    Options options;
    char value[64];
    const DWORD length = GetEnvironmentVariableA("NYX_OPEN_ENGINES", value, sizeof(value));
    for (std::string_view rest(value, length < sizeof(value) ? length : 0); !rest.empty();) {
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(rest.size(), word.size() + 1));
        if (word == "exact") {
            options.exact = true;
        } else if (word.starts_with(kThreads)) {
            std::from_chars(word.data() + kThreads.size(), word.data() + word.size(),
                            options.maxThreads);
        }
    }
    return options;
}

}  // namespace nyx::open
