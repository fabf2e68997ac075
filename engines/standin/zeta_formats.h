#pragma once

/// @file
/// The numbers by which the Zeta engines are told a layout.

#include <optional>

#include "engines/standin/picture.h"

namespace standin {

constexpr DWORD kYuy2Code = 0;

/// RGB codes count down in steps of `step` from `first`: high definition full range, high
/// definition studio range, standard definition full range, standard definition studio range.
inline std::optional<RgbLayout> RgbLayoutFor(DWORD code, DWORD first, DWORD step,
                                             int bytesPerPixel) {
    if (code == 0 || code > first || (first - code) % step != 0 || (first - code) / step > 3) {
        return std::nullopt;
    }
    const DWORD place = (first - code) / step;
    return RgbLayout{bytesPerPixel, place < 2, place % 2 == 0};
}

}  // namespace standin
