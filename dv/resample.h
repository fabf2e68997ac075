#pragma once

/// @file
/// Horizontal resampling between the 720 pixels that DV records per line and the square-pixel
/// widths of wide-screen pictures. Pictures are rows of equal units: pixels of 3 or 4 bytes, or
/// macropixels of 4 bytes (Y0 U Y1 V), which stay together. Positions and weights are 8.8 fixed
/// point, every division rounds toward zero.

#include "platform/win_types.h"

namespace nyx {

/// Bytes of a unit.
enum class ResampleUnit { kThreeBytes = 3, kFourBytes = 4 };

/// A picture's rows: the first row, bytes from one row to the next (negative for a picture stored
/// bottom-up, whose first row is the last in memory), and units per row.
template <class Byte>
struct UnitRows {
    Byte* data = nullptr;
    LONG stride = 0;
    LONG width = 0;
};

/// Enlarges `rows` rows of `source` to the width of `destination`; the two do not overlap. Output
/// unit j blends the two source units around position j * S / D, rounded up in 8.8 fixed point (S
/// and D are the widths); the last unit of a row is a copy. Beyond the last source unit the last
/// one is repeated. E_FAIL, with nothing written, for a null pointer, a width or row count below 1,
/// a row longer than its stride, or a destination that is not the wider one.
[[nodiscard]] HRESULT StretchRows(ResampleUnit unit, const UnitRows<const BYTE>& source,
                                  const UnitRows<BYTE>& destination, LONG rows);

/// Reduces `rows` rows of `source` to the width of `destination`; the two do not overlap. Output
/// unit j averages its footprint, the source up to (j + 1) * S / D rounded up in 8.8 fixed point;
/// a unit that only begins or ends inside is weighted by its part, so that one in which the
/// footprint ends exactly has no weight. Errors as for StretchRows, the destination having to be
/// the narrower.
[[nodiscard]] HRESULT SqueezeRows(ResampleUnit unit, const UnitRows<const BYTE>& source,
                                  const UnitRows<BYTE>& destination, LONG rows);

}  // namespace nyx
