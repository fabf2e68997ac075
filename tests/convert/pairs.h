#pragma once

/// @file
/// The supported pairs, written out once more so that a pair missing from the library shows, and
/// the published numbers of the matrices.

#include <string>

#include "convert/coefficients.h"
#include "convert/convert.h"
#include "convert/formats.h"

namespace nyx::test {

constexpr DWORD kYuvFormats[] = {kYuy2, kW210};
constexpr DWORD kRgbFormats[] = {kBgr3, kRgb3, kBgra, kRgba, kArgb, k48rl, k64al,
                                 kA46l, kL64a, k30rl, k40al, kA04l, kL40a};
constexpr LONG kMatrices[] = {kMatrixBt601, kMatrixBt709, kMatrixBt2020};
constexpr LONG kRanges[] = {kStudioRange, kFullRange};

/// Luma weights as ITU-R BT.601, BT.709 and BT.2020 publish them.
struct Weights {
    double kr, kg, kb;
};

inline Weights WeightsOf(LONG matrix) {
    switch (matrix) {
        case kMatrixBt601:
            return {0.299, 0.587, 0.114};
        case kMatrixBt709:
            return {0.2126, 0.7152, 0.0722};
        default:
            return {0.2627, 0.6780, 0.0593};
    }
}

inline bool IsDeep(DWORD fourcc) {
    return FindPixelFormat(fourcc)->kind == FormatKind::kDeepRgb;
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
