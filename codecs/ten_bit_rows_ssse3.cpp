#include <algorithm>

#include "codecs/ten_bit_rows.h"
#include "convert/kernels/simd.h"

namespace nyx {
namespace {

/// The twelve samples of a group as rounded bytes, three in each 32-bit lane, the fourth byte 0.
/// Samples are moved to the top of 16-bit lanes; an unsigned saturating add of half a unit of the
/// result then rounds and clamps, and the upper byte is the result.
__m128i RoundedSamples(__m128i words) noexcept {
    const __m128i half = _mm_set1_epi16(128);
    // Bits 0-9 up by 6 in the lower 16-bit lane, bits 20-29 up by 2 in the upper one.
    const __m128i outer = _mm_mullo_epi16(words, _mm_set1_epi32(4 << 16 | 64));
    const __m128i middle = _mm_and_si128(_mm_srli_epi32(words, 4), _mm_set1_epi32(0xFFC0));
    const __m128i outerBytes = _mm_srli_epi16(_mm_adds_epu16(outer, half), 8);
    const __m128i middleBytes = _mm_and_si128(_mm_adds_epu16(middle, half), _mm_set1_epi32(0xFF00));
    return _mm_or_si128(outerBytes, middleBytes);
}

/// A group's lanes of three samples to twelve bytes of "YUY2"; the last four bytes are 0.
__m128i ToYuy2(__m128i samples) noexcept {
    return _mm_shuffle_epi8(samples,
                            _mm_setr_epi8(1, 0, 4, 2, 6, 5, 9, 8, 12, 10, 14, 13, -1, -1, -1, -1));
}

void Unpack(const BYTE* groups, BYTE* yuy2, LONG width) noexcept {
    LONG bytes = 2 * width;
    // Whole stores run four bytes past their group; the next group overwrites them.
    for (; bytes >= kV210GroupBytes; bytes -= kGroupYuy2Bytes) {
        Store(yuy2, ToYuy2(RoundedSamples(Load(groups))));
        groups += kV210GroupBytes;
        yuy2 += kGroupYuy2Bytes;
    }
    while (bytes > 0) {
        BYTE last[kV210GroupBytes];
        Store(last, ToYuy2(RoundedSamples(Load(groups))));
        std::memcpy(yuy2, last, static_cast<std::size_t>(std::min(bytes, kGroupYuy2Bytes)));
        groups += kV210GroupBytes;
        yuy2 += kGroupYuy2Bytes;
        bytes -= kGroupYuy2Bytes;
    }
}

/// Packs the first twelve bytes of "YUY2" into a group.
__m128i PackedGroup(__m128i yuy2) noexcept {
    // The samples in the order of the words are Cb0 Y0 Cr0 | Y1 Cb1 Y2 | Cr1 Y3 Cb2 | Y4 Cr2 Y5.
    const __m128i firstTwo = _mm_shuffle_epi8(
        yuy2, _mm_setr_epi8(1, -1, 0, -1, 2, -1, 5, -1, 7, -1, 6, -1, 8, -1, 11, -1));
    const __m128i third = _mm_shuffle_epi8(
        yuy2, _mm_setr_epi8(-1, -1, 3, -1, -1, -1, 4, -1, -1, -1, 9, -1, -1, -1, 10, -1));
    const __m128i lower = _mm_madd_epi16(firstTwo, _mm_set1_epi32(4096 << 16 | 4));
    return _mm_or_si128(lower, _mm_slli_epi32(third, 6));
}

constexpr LONG kBatchGroups = 4;  // 24 pixels: three registers in, four out
constexpr LONG kBatchPixels = kBatchGroups * kV210GroupPixels;
constexpr LONG kBatchYuy2Bytes = kBatchGroups * kGroupYuy2Bytes;

/// 48 bytes of "YUY2" to four groups; no load leaves the 48 bytes.
void PackBatch(const BYTE* yuy2, BYTE* groups) noexcept {
    const __m128i a = Load(yuy2);
    const __m128i b = Load(yuy2 + 16);
    const __m128i c = Load(yuy2 + 32);
    Store(groups, PackedGroup(a));
    Store(groups + kV210GroupBytes, PackedGroup(_mm_alignr_epi8(b, a, 12)));
    Store(groups + 2 * kV210GroupBytes, PackedGroup(_mm_alignr_epi8(c, b, 8)));
    Store(groups + 3 * kV210GroupBytes, PackedGroup(_mm_srli_si128(c, 4)));
}

void Pack(const BYTE* yuy2, BYTE* groups, LONG width) noexcept {
    for (; width >= kBatchPixels; width -= kBatchPixels) {
        PackBatch(yuy2, groups);
        yuy2 += kBatchYuy2Bytes;
        groups += kBatchGroups * kV210GroupBytes;
    }
    for (LONG bytes = 2 * width; bytes > 0; bytes -= kGroupYuy2Bytes) {
        BYTE last[kV210GroupBytes] = {};
        std::memcpy(last, yuy2, static_cast<std::size_t>(std::min(bytes, kGroupYuy2Bytes)));
        Store(groups, PackedGroup(Load(last)));
        yuy2 += kGroupYuy2Bytes;
        groups += kV210GroupBytes;
    }
}

}  // namespace

const TenBitRowKernels kTenBitRowsSsse3 = {Unpack, Pack};

}  // namespace nyx
