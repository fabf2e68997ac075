#pragma once

/// @file
/// Used by stretch and squeeze: the check of their arguments and the sequence of 8.8 positions.

#include <cstdint>

#include "dv/resample.h"

namespace nyx {

template <class Byte>
bool AreRowsValid(ResampleUnit unit, const UnitRows<Byte>& rows) noexcept {
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

    [[nodiscard]] std::int64_t Current() const { return floor_ + (remainder_ != 0 ? 1 : 0); }

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

}  // namespace nyx
