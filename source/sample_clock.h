#pragma once

#include <algorithm>
#include <cstdint>

#include "media/libav.h"
#include "platform/win_types.h"

namespace nyx::source {

constexpr int kUnits = 10000000;  ///< reference-time units (100 ns) in one second
/// Times are clamped to this, 3,600 years, so that sums of a few do not overflow.
constexpr REFERENCE_TIME kMaxTime = REFERENCE_TIME{1} << 60;

/// The time at which tick `ticks` of a clock begins whose ticks last `base` seconds, rounded down;
/// 0 for a time base of 0.
inline REFERENCE_TIME TimeOfTick(std::int64_t ticks, AVRational base) noexcept {
    if (base.num <= 0 || base.den <= 0) {
        return 0;
    }
    const std::int64_t unit = std::int64_t{kUnits} * base.num;
    return std::clamp(av_rescale_rnd(ticks, unit, base.den, AV_ROUND_DOWN), -kMaxTime, kMaxTime);
}

/// The tick that lasts at `time`: the last one that by TimeOfTick begins no later.
inline std::int64_t TickAt(REFERENCE_TIME time, AVRational base) noexcept {
    if (base.num <= 0 || base.den <= 0) {
        return 0;
    }
    const REFERENCE_TIME next = std::clamp(time, -kMaxTime, kMaxTime) + 1;
    return av_rescale_rnd(next, base.den, std::int64_t{kUnits} * base.num, AV_ROUND_UP) - 1;
}

/// The difference of two times or ticks, clamped to 64 bits.
inline std::int64_t Difference(std::int64_t a, std::int64_t b) noexcept {
    return av_sat_sub64(a, b);
}

}  // namespace nyx::source
