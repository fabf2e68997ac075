#pragma once

#include "platform/win_types.h"

namespace nyx {

/// A four-character code in memory order: the first character is the least significant byte, as in
/// `biCompression` and in the first word of a FourCC subtype. FourCC("YUY2") is 0x32595559.
constexpr DWORD FourCC(const char (&text)[5]) {
    DWORD code = 0;
    for (int i = 3; i >= 0; --i) {
        code = code << 8 | static_cast<unsigned char>(text[i]);
    }
    return code;
}

}  // namespace nyx
