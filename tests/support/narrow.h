#pragma once

#include <string>

namespace nyx::test {

/// Text for a failed test's message; what is not ASCII becomes a question mark.
inline std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t c : text) {
        narrow += c < 0x80 ? static_cast<char>(c) : '?';
    }
    return narrow;
}

}  // namespace nyx::test
