#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "dv/resample_rows.h"

namespace nyx {
namespace {

template <std::size_t unitBytes>
class StretchKernel {
  public:
    static constexpr std::size_t kUnitBytes = unitBytes;

    /// One output unit: unit `left` weighted 256 - fraction, unit `right` weighted fraction.
    /// Offsets are bytes from the start of the row.
    struct Tap {
        __m128i weights;  ///< words: the left weight for each byte of a unit, then the right one
        std::size_t left;
        std::size_t right;
        unsigned fraction;
    };

    StretchKernel(LONG sourceWidth, LONG destinationWidth)
        : positions_(sourceWidth, destinationWidth),
          lastUnit_(sourceWidth - 1),
          rowBytes_(static_cast<std::size_t>(sourceWidth) * unitBytes) {}

    Tap Next() {
        const std::int64_t position = positions_.Current();
        positions_.Advance();
        const std::int64_t unit = std::min(position / 256, lastUnit_);
        const auto fraction = static_cast<unsigned>(position % 256);
        return {Weights(fraction), ByteOffset(unit), ByteOffset(std::min(unit + 1, lastUnit_)),
                fraction};
    }

    /// 8 bytes must be readable from the left unit on. Then the right unit is the one after it and,
    /// as the last output unit is a copy of the last source unit, another output unit follows.
    [[nodiscard]] bool IsFast(const Tap& tap) const { return tap.left + 8 <= rowBytes_; }

    static void Fast(const Tap& tap, const BYTE* source, BYTE* destination) {
        const __m128i units = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + tap.left));
        const __m128i words = _mm_unpacklo_epi8(units, _mm_setzero_si128());
        const __m128i products = _mm_mullo_epi16(words, tap.weights);
        const __m128i sums = _mm_add_epi16(products, _mm_srli_si128(products, 2 * unitBytes));
        const __m128i blended = _mm_srli_epi16(sums, 8);
        const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(blended, blended));
        std::memcpy(destination, &bytes, sizeof(bytes));
    }

    static void Exact(const Tap& tap, const BYTE* source, BYTE* destination) {
        for (std::size_t i = 0; i < unitBytes; ++i) {
            const unsigned sum =
                source[tap.left + i] * (256 - tap.fraction) + source[tap.right + i] * tap.fraction;
            destination[i] = static_cast<BYTE>(sum / 256);
        }
    }

  private:
    static std::size_t ByteOffset(std::int64_t unit) {
        return static_cast<std::size_t>(unit) * unitBytes;
    }

    static __m128i Weights(unsigned fraction) {
        WORD words[8] = {};
        std::fill_n(words, unitBytes, static_cast<WORD>(256 - fraction));
        std::fill_n(words + unitBytes, unitBytes, static_cast<WORD>(fraction));
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(words));
    }

    FixedPointPositions positions_;
    std::int64_t lastUnit_;
    std::size_t rowBytes_;
};

/// Stretches a picture in vertical strips, so that the taps of a strip are computed once for all
/// rows without an allocation. Fast writes past its unit, but only inside the row, as IsFast has
/// checked; the units that follow overwrite the rest.
template <class Kernel>
void StretchInStrips(const UnitRows<const BYTE>& source, const UnitRows<BYTE>& destination,
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

}  // namespace

HRESULT StretchRows(ResampleUnit unit, const UnitRows<const BYTE>& source,
                    const UnitRows<BYTE>& destination, LONG rows) {
    if (!AreRowsValid(unit, source) || !AreRowsValid(unit, destination) || rows < 1 ||
        source.width >= destination.width) {
        return E_FAIL;
    }
    if (unit == ResampleUnit::kThreeBytes) {
        StretchInStrips<StretchKernel<3>>(source, destination, rows);
    } else {
        StretchInStrips<StretchKernel<4>>(source, destination, rows);
    }
    return S_OK;
}

}  // namespace nyx
