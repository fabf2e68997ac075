#pragma once

/// @file
/// What the Zeta engines have in common: the numbers by which they are told a layout, and the end
/// of an encode.

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "engines/standin/call_log.h"
#include "engines/standin/coder.h"
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

inline bool IsZero(const LONG* words, std::size_t count) {
    return std::all_of(words, words + count, [](LONG word) { return word == 0; });
}

/// Codes the picture into the caller's room. The coded length, or one more than the room holds when
/// told to lie.
inline LONG EncodeInto(void* output, std::size_t capacity, std::string_view tag,
                       const Picture& picture, LONG step, Action action) {
    const std::vector<BYTE> frame =
        EncodeFrame(tag, picture, static_cast<float>(std::max(step, LONG{1})), capacity);
    if (frame.empty()) {
        return kNoRoom;
    }
    std::memcpy(output, frame.data(), frame.size());
    return static_cast<LONG>(action == Action::kLonger ? capacity + 1 : frame.size());
}

}  // namespace standin
