#include <cstddef>

#include "dv/resample_rows.h"

namespace nyx {
namespace {

/// The sum of a footprint's bytes at one place of the unit: the first of `count` units weighted
/// `first`, the last `last`, those between 256. A lone unit has the first weight.
std::uint64_t WeighedSum(const BYTE* at, std::int64_t count, std::size_t unitBytes, unsigned first,
                         unsigned last) {
    std::uint64_t sum = std::uint64_t{*at} * first;
    for (std::int64_t unit = 1; unit < count; ++unit) {
        at += unitBytes;
        sum += std::uint64_t{*at} * (unit + 1 == count ? last : 256u);
    }
    return sum;
}

// Plain loops: no decoder squeezes, and an encoder that does spends its time elsewhere.
void SqueezeRow(std::size_t unitBytes, const BYTE* source, LONG sourceWidth, BYTE* destination,
                LONG destinationWidth) {
    FixedPointPositions ends(sourceWidth, destinationWidth);
    std::int64_t unit = 0;
    unsigned first = 256;
    for (LONG x = 0; x < destinationWidth; ++x) {
        ends.Advance();
        const std::int64_t end = ends.Current();
        const auto last = static_cast<unsigned>(end % 256);
        const std::int64_t count = (end - 1) / 256 - unit + 1;
        const std::uint64_t weights =
            count == 1 ? first : first + 256 * static_cast<std::uint64_t>(count - 2) + last;
        for (std::size_t i = 0; i < unitBytes; ++i) {
            const BYTE* at = source + static_cast<std::size_t>(unit) * unitBytes + i;
            *destination++ =
                static_cast<BYTE>(WeighedSum(at, count, unitBytes, first, last) / weights);
        }
        unit = end / 256;
        first = 256 - last;
    }
}

}  // namespace

HRESULT SqueezeRows(ResampleUnit unit, const UnitRows<const BYTE>& source,
                    const UnitRows<BYTE>& destination, LONG rows) {
    if (!AreRowsValid(unit, source) || !AreRowsValid(unit, destination) || rows < 1 ||
        destination.width >= source.width) {
        return E_FAIL;
    }
    for (LONG row = 0; row < rows; ++row) {
        SqueezeRow(static_cast<std::size_t>(unit),
                   source.data + std::ptrdiff_t{source.stride} * row, source.width,
                   destination.data + std::ptrdiff_t{destination.stride} * row, destination.width);
    }
    return S_OK;
}

}  // namespace nyx
