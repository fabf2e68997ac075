#include <smmintrin.h>

#include "codecs/ten_bit_groups.h"
#include "codecs/ten_bit_rows.h"

namespace nyx {
namespace {

constexpr LONG kBatchGroups = 4;  // 24 pixels: four registers in, three out
constexpr LONG kBatchPixels = kBatchGroups * kGroupPixels;
constexpr LONG kBatchYuy2Bytes = 2 * kBatchPixels;

/// Four groups to 48 bytes of "YUY2". Each group's twelve bytes are shuffled straight to where two
/// neighbouring stores need them, and 16-bit blends put them together.
void UnpackBatch(const BYTE* groups, BYTE* yuy2) {
    const __m128i a = RoundedSamples(LoadGroup(groups));
    const __m128i b = RoundedSamples(LoadGroup(groups + kGroupBytes));
    const __m128i c = RoundedSamples(LoadGroup(groups + 2 * kGroupBytes));
    const __m128i d = RoundedSamples(LoadGroup(groups + 3 * kGroupBytes));
    const __m128i atStart =
        _mm_shuffle_epi8(a, _mm_setr_epi8(1, 0, 4, 2, 6, 5, 9, 8, 12, 10, 14, 13, -1, -1, -1, -1));
    const __m128i wrapped12 =
        _mm_shuffle_epi8(b, _mm_setr_epi8(6, 5, 9, 8, 12, 10, 14, 13, -1, -1, -1, -1, 1, 0, 4, 2));
    const __m128i wrapped8 =
        _mm_shuffle_epi8(c, _mm_setr_epi8(12, 10, 14, 13, -1, -1, -1, -1, 1, 0, 4, 2, 6, 5, 9, 8));
    const __m128i atEnd =
        _mm_shuffle_epi8(d, _mm_setr_epi8(-1, -1, -1, -1, 1, 0, 4, 2, 6, 5, 9, 8, 12, 10, 14, 13));
    StoreGroup(yuy2, _mm_blend_epi16(atStart, wrapped12, 0xC0));
    StoreGroup(yuy2 + 16, _mm_blend_epi16(wrapped12, wrapped8, 0xF0));
    StoreGroup(yuy2 + 32, _mm_blend_epi16(wrapped8, atEnd, 0xFC));
}

void Unpack(const BYTE* groups, BYTE* yuy2, LONG width) {
    for (; width >= kBatchPixels; width -= kBatchPixels) {
        UnpackBatch(groups, yuy2);
        groups += kBatchGroups * kGroupBytes;
        yuy2 += kBatchYuy2Bytes;
    }
    if (width > 0) {
        kTenBitRowsSsse3.unpack(groups, yuy2, width);
    }
}

/// 48 bytes of "YUY2" to four groups; no load leaves the 48 bytes.
void PackBatch(const BYTE* yuy2, BYTE* groups) {
    const __m128i a = LoadGroup(yuy2);
    const __m128i b = LoadGroup(yuy2 + 16);
    const __m128i c = LoadGroup(yuy2 + 32);
    StoreGroup(groups, PackedGroup(a));
    StoreGroup(groups + kGroupBytes, PackedGroup(_mm_alignr_epi8(b, a, 12)));
    StoreGroup(groups + 2 * kGroupBytes, PackedGroup(_mm_alignr_epi8(c, b, 8)));
    StoreGroup(groups + 3 * kGroupBytes, PackedGroup(_mm_srli_si128(c, 4)));
}

void Pack(const BYTE* yuy2, BYTE* groups, LONG width) {
    for (; width >= kBatchPixels; width -= kBatchPixels) {
        PackBatch(yuy2, groups);
        yuy2 += kBatchYuy2Bytes;
        groups += kBatchGroups * kGroupBytes;
    }
    if (width > 0) {
        kTenBitRowsSsse3.pack(yuy2, groups, width);
    }
}

}  // namespace

const TenBitRowKernels kTenBitRowsSse41 = {Unpack, Pack};

}  // namespace nyx
