#include <emmintrin.h>

#include <cstring>

#include "dv/resample_rows.h"

namespace nyx {
namespace {

template <std::size_t unitBytes>
class SqueezeKernel {
  public:
    static constexpr std::size_t kUnitBytes = unitBytes;

    /// One output unit: `count` source units from byte `offset` of the row on. The first is
    /// weighted `first`, the last `last`, those between 256; a lone unit is copied.
    struct Tap {
        __m128i leadingWeights;  ///< word pairs: weights of units 0 and 1
        __m128i thirdWeights;    ///< word pairs: weight of unit 2 and 0
        __m128 reciprocal;       ///< of the sum of weights
        std::size_t offset;
        std::int64_t count;
        unsigned first;
        unsigned last;
    };

    SqueezeKernel(LONG sourceWidth, LONG destinationWidth)
        : ends_(sourceWidth, destinationWidth),
          rowBytes_(static_cast<std::size_t>(sourceWidth) * unitBytes) {
        ends_.Advance();
    }

    Tap Next() {
        const std::int64_t end = ends_.Current();
        const auto fraction = static_cast<unsigned>(end % 256);
        const std::int64_t lastUnit = (end - 1) / 256;
        const Tap tap = MakeTap(unit_, lastUnit - unit_ + 1, weight_, fraction);
        ends_.Advance();
        unit_ = end / 256;
        weight_ = 256 - fraction;
        return tap;
    }

    /// No more than three units may be averaged, and 16 bytes must be readable from the first one
    /// on. Then source is left after them, and so another output unit is to follow.
    bool IsFast(const Tap& tap) const { return tap.count <= 3 && tap.offset + 16 <= rowBytes_; }

    static void Fast(const Tap& tap, const BYTE* source, BYTE* destination) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i units =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + tap.offset));
        const __m128i pairs = _mm_unpacklo_epi8(units, _mm_srli_si128(units, unitBytes));
        const __m128i third = _mm_unpacklo_epi8(_mm_srli_si128(units, 2 * unitBytes), zero);
        const __m128i sums =
            _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(pairs, zero), tap.leadingWeights),
                          _mm_madd_epi16(_mm_unpacklo_epi16(third, zero), tap.thirdWeights));
        // Exact: sums stay below 2^18 and divisors below 2^10, so half a divisor's worth of room
        // on either side of an integer quotient is far more than single precision loses.
        const __m128 quotients =
            _mm_mul_ps(_mm_add_ps(_mm_cvtepi32_ps(sums), _mm_set1_ps(0.5f)), tap.reciprocal);
        const __m128i words = _mm_packs_epi32(_mm_cvttps_epi32(quotients), zero);
        const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, zero));
        std::memcpy(destination, &bytes, sizeof(bytes));
    }

    static void Exact(const Tap& tap, const BYTE* source, BYTE* destination) {
        const auto count = static_cast<std::size_t>(tap.count);
        const std::uint64_t divisor = Divisor(tap.count, tap.first, tap.last);
        for (std::size_t i = 0; i < unitBytes; ++i) {
            const BYTE* at = source + tap.offset + i;
            std::uint64_t sum = std::uint64_t{*at} * tap.first;
            for (std::size_t unit = 1; unit < count; ++unit) {
                at += unitBytes;
                sum += std::uint64_t{*at} * (unit + 1 == count ? tap.last : 256u);
            }
            destination[i] = static_cast<BYTE>(sum / divisor);
        }
    }

  private:
    static std::uint64_t Divisor(std::int64_t count, unsigned first, unsigned last) {
        return count == 1 ? first : first + 256 * static_cast<std::uint64_t>(count - 2) + last;
    }

    static Tap MakeTap(std::int64_t unit, std::int64_t count, unsigned first, unsigned last) {
        const unsigned second = count == 1 ? 0 : count == 2 ? last : 256;
        const unsigned third = count == 3 ? last : 0;
        const auto divisor = static_cast<float>(Divisor(count, first, last));
        return {_mm_set1_epi32(static_cast<int>(second << 16 | first)),
                _mm_set1_epi32(static_cast<int>(third)),
                _mm_set1_ps(1.0f / divisor),
                static_cast<std::size_t>(unit) * unitBytes,
                count,
                first,
                last};
    }

    FixedPointPositions ends_;
    std::size_t rowBytes_;
    std::int64_t unit_ = 0;
    unsigned weight_ = 256;
};

}  // namespace

HRESULT SqueezeRows(ResampleUnit unit, const UnitRows<const BYTE>& source,
                    const UnitRows<BYTE>& destination, LONG rows) {
    if (!AreRowsSound(unit, source) || !AreRowsSound(unit, destination) || rows < 1 ||
        destination.width >= source.width) {
        return E_FAIL;
    }
    if (unit == ResampleUnit::kThreeBytes) {
        ResampleInStrips<SqueezeKernel<3>>(source, destination, rows);
    } else {
        ResampleInStrips<SqueezeKernel<4>>(source, destination, rows);
    }
    return S_OK;
}

}  // namespace nyx
