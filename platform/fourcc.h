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

#ifdef _WIN32
/// The media subtype of a FourCC: the code, then the suffix that all of them share.
constexpr GUID FourCCSubtype(DWORD fourcc) {
    return {fourcc, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}
#endif

}  // namespace nyx
