#pragma once

/// @file
/// The pixel formats of the conversion library, in one table.

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

constexpr DWORD kYuy2 = FourCC("YUY2");
constexpr DWORD kW210 = FourCC("W210");
constexpr DWORD kBgr3 = FourCC("BGR3");
constexpr DWORD kRgb3 = FourCC("RGB3");
constexpr DWORD kBgra = FourCC("BGRA");
constexpr DWORD kRgba = FourCC("RGBA");
constexpr DWORD kArgb = FourCC("ARGB");
constexpr DWORD k48rl = FourCC("48RL");
constexpr DWORD k64al = FourCC("64AL");
constexpr DWORD kA46l = FourCC("A46L");
constexpr DWORD kL64a = FourCC("L64A");
constexpr DWORD k30rl = FourCC("30RL");
constexpr DWORD k40al = FourCC("40AL");
constexpr DWORD kA04l = FourCC("A04L");
constexpr DWORD kL40a = FourCC("L40A");

enum class FormatKind {
    kYuv422,   ///< packed 4:2:2, per pixel pair Y0, U, Y1, V
    kRgb8,     ///< one byte per channel
    kDeepRgb,  ///< 10 or 16 bits per channel
};

/// One row of the format table.
struct PixelFormat {
    DWORD fourcc;
    FormatKind kind;
    LONG bitsPerChannel;
    LONG bytesPerPixel;
    LONG alphaByte;   ///< the byte where the upper eight bits of alpha start; -1 without alpha
    LONG alphaShift;  ///< the bit of that byte where they start
};

/// The row of a FourCC, null for any other format.
///
/// The deep layouts, one for both directions. 16-bit channels are little-endian words; 10-bit
/// channels are packed from bit 0 of a little-endian number of 4 or 5 bytes. The example is
/// the pixel R 0x1234, G 0x5678, B 0x9ABC, A 0xDEF0 for 16 bits, and R 0x123, G 0x256, B 0x389,
/// A 0x0AC for 10 bits.
///
/// | FourCC | bits | order from the first byte or bit on | alpha | bytes of the example pixel |
/// |---|---|---|---|---|
/// | "48RL" | 3 x 16 | R, G, B | none | 34 12 78 56 BC 9A |
/// | "64AL" | 4 x 16 | R, G, B, A | last | 34 12 78 56 BC 9A F0 DE |
/// | "A46L" | 4 x 16 | A, R, G, B | first | F0 DE 34 12 78 56 BC 9A |
/// | "L64A" | 4 x 16 | B, G, R, A | last | BC 9A 78 56 34 12 F0 DE |
/// | "30RL" | 3 x 10 in 32 | R, G, B, two zero bits | none | 23 59 99 38 |
/// | "40AL" | 4 x 10 | R, G, B, A | last | 23 59 99 38 2B |
/// | "A04L" | 4 x 10 | A, R, G, B | first | AC 8C 64 65 E2 |
/// | "L40A" | 4 x 10 | B, G, R, A | last | 89 5B 39 12 2B |
///
/// Full range fills a channel (0 to 65535, 0 to 1023); studio range puts black and white at 16 and
/// 235 times 256 or 4. Alpha always fills its channel.
const PixelFormat* FindPixelFormat(DWORD fourcc);

}  // namespace nyx
