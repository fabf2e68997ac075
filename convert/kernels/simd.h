#pragma once

/// @file
/// Small helpers of the SSSE3 sources. For those alone: nothing here may be compiled into a source
/// that must run without SSSE3, hence the internal linkage.

#include <tmmintrin.h>

#include <array>
#include <cstring>

#include "platform/win_types.h"

namespace nyx {
namespace {

/// Byte positions for a shuffle; kNone gives a zero byte.
using ShuffleMask = std::array<signed char, 16>;
constexpr signed char kNone = -1;

constexpr ShuffleMask EmptyMask() {
    ShuffleMask mask{};
    for (signed char& byte : mask) {
        byte = kNone;
    }
    return mask;
}

/// Has `count` bytes of the source, from `source` on, put at `target`.
constexpr void PlaceBytes(ShuffleMask& mask, int target, int source, int count) {
    for (int i = 0; i < count; ++i) {
        mask[static_cast<std::size_t>(target + i)] = static_cast<signed char>(source + i);
    }
}

inline __m128i Load(const void* at) {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
inline __m128i Load(const ShuffleMask& mask) {
    return Load(mask.data());
}
inline void Store(void* at, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(at), value);
}

inline __m128i LoadFourBytes(const BYTE* at) {
    int word;
    std::memcpy(&word, at, sizeof word);
    return _mm_cvtsi32_si128(word);
}

inline void StoreEightBytes(BYTE* at, __m128i value) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(at), value);
}

/// Two 16-bit gains for a multiply-add, repeated in all four lanes.
inline __m128i PairOfGains(int low, int high) {
    const auto pair = static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high) << 16;
    return _mm_set1_epi32(static_cast<int>(pair));
}

}  // namespace
}  // namespace nyx
