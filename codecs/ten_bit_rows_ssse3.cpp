#include "codecs/ten_bit_groups.h"
#include "codecs/ten_bit_rows.h"

namespace nyx {
namespace {

/// A group's lanes of three samples to twelve bytes of "YUY2"; the last four bytes are 0.
__m128i ToYuy2(__m128i samples) {
    return _mm_shuffle_epi8(samples,
                            _mm_setr_epi8(1, 0, 4, 2, 6, 5, 9, 8, 12, 10, 14, 13, -1, -1, -1, -1));
}

void Unpack(const BYTE* groups, BYTE* yuy2, LONG width) {
    LONG bytes = 2 * width;
    // Whole stores run four bytes past their group; the next group overwrites them.
    for (; bytes >= kGroupBytes; bytes -= kGroupYuy2Bytes) {
        StoreGroup(yuy2, ToYuy2(RoundedSamples(LoadGroup(groups))));
        groups += kGroupBytes;
        yuy2 += kGroupYuy2Bytes;
    }
    while (bytes > 0) {
        BYTE last[kGroupBytes];
        StoreGroup(last, ToYuy2(RoundedSamples(LoadGroup(groups))));
        const LONG count = bytes < kGroupYuy2Bytes ? bytes : kGroupYuy2Bytes;
        std::memcpy(yuy2, last, static_cast<std::size_t>(count));
        groups += kGroupBytes;
        yuy2 += count;
        bytes -= count;
    }
}

void Pack(const BYTE* yuy2, BYTE* groups, LONG width) {
    LONG bytes = 2 * width;
    // Whole loads read four bytes past their group: only where the row has them.
    for (; bytes >= kGroupBytes; bytes -= kGroupYuy2Bytes) {
        StoreGroup(groups, PackedGroup(LoadGroup(yuy2)));
        groups += kGroupBytes;
        yuy2 += kGroupYuy2Bytes;
    }
    while (bytes > 0) {
        BYTE last[kGroupBytes] = {};
        const LONG count = bytes < kGroupYuy2Bytes ? bytes : kGroupYuy2Bytes;
        std::memcpy(last, yuy2, static_cast<std::size_t>(count));
        StoreGroup(groups, PackedGroup(LoadGroup(last)));
        groups += kGroupBytes;
        yuy2 += count;
        bytes -= count;
    }
}

}  // namespace

const TenBitRowKernels kTenBitRowsSsse3 = {Unpack, Pack};

}  // namespace nyx
