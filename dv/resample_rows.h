#pragma once

/// @file
/// What stretch and squeeze share: the check of their arguments, the walk along 8.8 positions, and
/// the walk over the picture.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "dv/resample.h"

namespace nyx {

template <class Byte>
bool AreRowsSound(ResampleUnit unit, const UnitRows<Byte>& rows) {
    const std::int64_t rowBytes = std::int64_t{rows.width} * static_cast<int>(unit);
    const std::int64_t stride = rows.stride;
    return rows.data && rows.width >= 1 && rowBytes <= (stride < 0 ? -stride : stride);
}

/// The positions ceil(j * S * 256 / D) for j = 0, 1, 2, ... one after the other, exact for every S
/// and D: quotient and remainder are carried along instead of the product.
class FixedPointPositions {
  public:
    FixedPointPositions(LONG sourceWidth, LONG destinationWidth)
        : divisor_(destinationWidth),
          step_(std::int64_t{sourceWidth} * 256 / destinationWidth),
          stepRemainder_(std::int64_t{sourceWidth} * 256 % destinationWidth) {}

    std::int64_t Current() const { return floor_ + (remainder_ != 0 ? 1 : 0); }

    void Advance() {
        floor_ += step_;
        remainder_ += stepRemainder_;
        if (remainder_ >= divisor_) {
            remainder_ -= divisor_;
            ++floor_;
        }
    }

  private:
    std::int64_t divisor_;
    std::int64_t step_;
    std::int64_t stepRemainder_;
    std::int64_t floor_ = 0;
    std::int64_t remainder_ = 0;
};

/// Runs `Kernel` over a picture in vertical strips, so that the taps of a strip are worked out once
/// for all rows and need no allocation. A Kernel has a type Tap; a constructor from (S, D); Next(),
/// which gives the taps from left to right; IsFast(tap), asked right after it; and the static
/// functions Fast and Exact, which store one output unit. Fast may read and write a little past its
/// units, as far as IsFast has checked that there is room; the units that follow it overwrite the
/// rest.
template <class Kernel>
void ResampleInStrips(const UnitRows<const BYTE>& source, const UnitRows<BYTE>& destination,
                      LONG rows) {
    constexpr std::size_t kStripUnits = 128;
    std::array<typename Kernel::Tap, kStripUnits> taps;
    Kernel kernel(source.width, destination.width);
    const auto width = static_cast<std::size_t>(destination.width);
    for (std::size_t first = 0; first < width; first += kStripUnits) {
        const std::size_t count = std::min(kStripUnits, width - first);
        std::size_t fast = 0;
        for (std::size_t i = 0; i < count; ++i) {
            taps[i] = kernel.Next();
            if (fast == i && kernel.IsFast(taps[i])) {
                ++fast;
            }
        }
        for (LONG row = 0; row < rows; ++row) {
            const BYTE* from = source.data + std::ptrdiff_t{source.stride} * row;
            BYTE* to = destination.data + std::ptrdiff_t{destination.stride} * row +
                       first * Kernel::kUnitBytes;
            for (std::size_t i = 0; i < fast; ++i, to += Kernel::kUnitBytes) {
                Kernel::Fast(taps[i], from, to);
            }
            for (std::size_t i = fast; i < count; ++i, to += Kernel::kUnitBytes) {
                Kernel::Exact(taps[i], from, to);
            }
        }
    }
}

}  // namespace nyx
