#pragma once

/// @file
/// Channel orders of the RGB layouts, as compile-time numbers.

namespace nyx {
namespace {

/// Position of each channel within a pixel, counted in channels; alpha -1 where there is none.
template <int kR, int kG, int kB, int kA>
struct ChannelOrder {
    static constexpr int r = kR;
    static constexpr int g = kG;
    static constexpr int b = kB;
    static constexpr int a = kA;
    static constexpr bool kHasAlpha = kA >= 0;
    static constexpr int kChannels = kHasAlpha ? 4 : 3;
};

using OrderBgr = ChannelOrder<2, 1, 0, -1>;
using OrderRgb = ChannelOrder<0, 1, 2, -1>;
using OrderBgra = ChannelOrder<2, 1, 0, 3>;
using OrderRgba = ChannelOrder<0, 1, 2, 3>;
using OrderArgb = ChannelOrder<1, 2, 3, 0>;

}  // namespace
}  // namespace nyx
