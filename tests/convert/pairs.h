#pragma once

/// @file
/// The supported pairs, written out once more so that a pair missing from the library shows.

#include <string>

#include "convert/coefficients.h"
#include "convert/convert.h"
#include "convert/formats.h"

namespace nyx::test {

constexpr DWORD kYuvFormats[] = {kYuy2, kW210};
constexpr DWORD kRgb8Formats[] = {kBgr3, kRgb3, kBgra, kRgba, kArgb};
constexpr DWORD kDeepFormats[] = {k48rl, k64al, kA46l, kL64a, k30rl, k40al, kA04l, kL40a};
constexpr DWORD kRgbFormats[] = {kBgr3, kRgb3, kBgra, kRgba, kArgb, k48rl, k64al,
                                 kA46l, kL64a, k30rl, k40al, kA04l, kL40a};
constexpr LONG kMatrices[] = {kMatrixBt601, kMatrixBt709, kMatrixBt2020};
constexpr LONG kRanges[] = {kStudioRange, kFullRange};

inline bool IsDeep(DWORD fourcc) {
    return FindPixelFormat(fourcc)->kind == FormatKind::kDeepRgb;
}

inline bool HasAlpha(DWORD fourcc) {
    return std::string(FindPixelFormat(fourcc)->channels).size() == 4;
}

inline std::string Name(DWORD fourcc) {
    std::string name;
    for (int i = 0; i < 4; ++i) {
        name += static_cast<char>(fourcc >> 8 * i & 255);
    }
    return name;
}

inline std::size_t RowBytes(DWORD fourcc, LONG width) {
    return static_cast<std::size_t>(BytesPerPixel(fourcc) * width);
}

}  // namespace nyx::test
