#pragma once

/// @file
/// The RGB layouts as compile-time numbers: what a kernel's readers and writers of one share.

#include "convert/formats.h"

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

template <DWORD kCode, class OrderPolicy, std::size_t kBytes>
struct RgbLayout {
    using Order = OrderPolicy;
    static constexpr DWORD kFourCC = kCode;
    static constexpr std::size_t kBytesPerPixel = kBytes;
    /// Pixels that a step of four reads or writes: two vectors of two pixels, or one of four.
    static constexpr std::size_t kWindowPixels = kBytes % 4 == 0 ? 4 : 6;
};
template <DWORD kCode, class Order>
using ByteLayout = RgbLayout<kCode, Order, Order::kChannels>;
template <DWORD kCode, class Order>
using WordLayout = RgbLayout<kCode, Order, 2 * Order::kChannels>;

using Bgr3 = ByteLayout<kBgr3, OrderBgr>;
using Rgb3 = ByteLayout<kRgb3, OrderRgb>;
using Bgra = ByteLayout<kBgra, OrderBgra>;
using Rgba = ByteLayout<kRgba, OrderRgba>;
using Argb = ByteLayout<kArgb, OrderArgb>;
using Layout48rl = WordLayout<k48rl, OrderRgb>;
using Layout64al = WordLayout<k64al, OrderRgba>;
using LayoutA46l = WordLayout<kA46l, OrderArgb>;
using LayoutL64a = WordLayout<kL64a, OrderBgra>;
using Layout30rl = RgbLayout<k30rl, OrderRgb, 4>;
using Layout40al = RgbLayout<k40al, OrderRgba, 5>;
using LayoutA04l = RgbLayout<kA04l, OrderArgb, 5>;
using LayoutL40a = RgbLayout<kL40a, OrderBgra, 5>;

}  // namespace
}  // namespace nyx
