#pragma once

/// @file
/// One group of 6 pixels in registers. Internal to the row kernels and included by one translation
/// unit per instruction set, hence the unnamed namespace: each gets its own copy.

#include <tmmintrin.h>

#include <cstring>

#include "platform/win_types.h"

namespace nyx {
namespace {

constexpr LONG kGroupPixels = 6;
constexpr LONG kGroupBytes = 16;  // on the 10-bit side
constexpr LONG kGroupYuy2Bytes = 2 * kGroupPixels;

__m128i LoadGroup(const BYTE* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

void StoreGroup(BYTE* at, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), value);
}

/// The twelve samples of a group as rounded bytes, three in each 32-bit lane, the fourth byte 0.
/// Samples are moved to the top of 16-bit lanes; an unsigned saturating add of one half of the
/// result's unit then rounds and clamps at once, and the upper byte is the result.
__m128i RoundedSamples(__m128i words) {
    const __m128i half = _mm_set1_epi16(128);
    // Bits 0-9 up by 6 in the lower 16-bit lane, bits 20-29 up by 2 in the upper one.
    const __m128i outer = _mm_mullo_epi16(words, _mm_set1_epi32(4 << 16 | 64));
    const __m128i middle = _mm_and_si128(_mm_srli_epi32(words, 4), _mm_set1_epi32(0xFFC0));
    const __m128i outerBytes = _mm_srli_epi16(_mm_adds_epu16(outer, half), 8);
    const __m128i middleBytes = _mm_and_si128(_mm_adds_epu16(middle, half), _mm_set1_epi32(0xFF00));
    return _mm_or_si128(outerBytes, middleBytes);
}

/// Packs the first twelve bytes of "YUY2" into a group.
__m128i PackedGroup(__m128i yuy2) {
    // The samples in the order of the words are Cb0 Y0 Cr0 | Y1 Cb1 Y2 | Cr1 Y3 Cb2 | Y4 Cr2 Y5.
    const __m128i firstTwo = _mm_shuffle_epi8(
        yuy2, _mm_setr_epi8(1, -1, 0, -1, 2, -1, 5, -1, 7, -1, 6, -1, 8, -1, 11, -1));
    const __m128i third = _mm_shuffle_epi8(
        yuy2, _mm_setr_epi8(-1, -1, 3, -1, -1, -1, 4, -1, -1, -1, 9, -1, -1, -1, 10, -1));
    const __m128i lower = _mm_madd_epi16(firstTwo, _mm_set1_epi32(4096 << 16 | 4));
    return _mm_or_si128(lower, _mm_slli_epi32(third, 6));
}

}  // namespace
}  // namespace nyx
