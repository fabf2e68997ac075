#include "source/sample_clock.h"

#include <algorithm>

namespace nyx::source {
namespace {

constexpr REFERENCE_TIME kLongest = REFERENCE_TIME{1} << 60;

REFERENCE_TIME Cut(REFERENCE_TIME time) {
    return std::clamp(time, -kLongest, kLongest);
}

}  // namespace

REFERENCE_TIME TimeOfTick(std::int64_t ticks, AVRational base) {
    if (base.num <= 0 || base.den <= 0) {
        return 0;
    }
    return Cut(av_rescale_rnd(ticks, std::int64_t{kUnits} * base.num, base.den, AV_ROUND_DOWN));
}

std::int64_t TickAt(REFERENCE_TIME time, AVRational base) {
    if (base.num <= 0 || base.den <= 0) {
        return 0;
    }
    return av_rescale_rnd(Cut(time) + 1, base.den, std::int64_t{kUnits} * base.num, AV_ROUND_UP) -
           1;
}

}  // namespace nyx::source
