#pragma once

#include <cstdint>

#include "platform/win_types.h"
#include "source/libavformat.h"

namespace nyx::source {

/// Reference-time units (100 ns) in one second.
constexpr int kUnits = 10000000;

/// The time at which tick `ticks` of a clock begins whose ticks last `base` seconds, rounded down.
/// Times beyond 3,000 years either way are cut to that.
REFERENCE_TIME TimeOfTick(std::int64_t ticks, AVRational base);

/// The tick that lasts at `time`: the last one that TimeOfTick does not put behind it.
std::int64_t TickAt(REFERENCE_TIME time, AVRational base);

/// A difference of two times or ticks, cut to what 64 bits hold.
inline std::int64_t Difference(std::int64_t a, std::int64_t b) {
    return av_sat_sub64(a, b);
}

}  // namespace nyx::source
