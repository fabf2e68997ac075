#include "engines/open/chroma_siting.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace nyx::open {
namespace {

constexpr int kAtOnce = 16;

__m128i Load(const BYTE* samples) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples));
}

void Store(BYTE* out, __m128i samples) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), samples);
}

/// (a + b + 1) / 2.
void Average(const BYTE* a, const BYTE* b, int count, BYTE* out) {
    int x = 0;
    for (; x + kAtOnce <= count; x += kAtOnce) {
        Store(out + x, _mm_avg_epu8(Load(a + x), Load(b + x)));
    }
    for (; x < count; ++x) {
        out[x] = static_cast<BYTE>((a[x] + b[x] + 1) / 2);
    }
}

}  // namespace

void InterpolateRow(const ChromaPlane& plane, int fields, const std::array<int, 2>& siting, int y,
                    BYTE* out) {
    constexpr int kEighths = 8;  // of the distance of two chroma rows, which is two lines
    const int field = y % fields;
    const int rows = (plane.height - field + fields - 1) / fields;
    const int place = 4 * (y / fields) - siting[static_cast<std::size_t>(field)];
    const int above = place < 0 ? -1 : place / kEighths;
    const int weight = place - above * kEighths;
    const auto row = [&](int index) {
        return plane.Row(std::clamp(index, 0, rows - 1) * fields + field);
    };
    const BYTE* first = row(above);
    const BYTE* second = row(above + 1);
    if (weight == 0 || first == second) {
        std::memcpy(out, first, static_cast<std::size_t>(plane.width));
        return;
    }
    if (weight == kEighths / 2) {
        Average(first, second, plane.width, out);
        return;
    }
    for (int x = 0; x < plane.width; ++x) {
        const int sum = first[x] * (kEighths - weight) + second[x] * weight;
        out[x] = static_cast<BYTE>((sum + kEighths / 2) / kEighths);
    }
}

void DoubleSamples(const BYTE* samples, int count, BYTE* out) {
    const int last = (count + 1) / 2 - 1;
    int x = 0;
    for (; x / 2 + kAtOnce <= last; x += 2 * kAtOnce) {
        const __m128i here = Load(samples + x / 2);
        const __m128i between = _mm_avg_epu8(here, Load(samples + x / 2 + 1));
        Store(out + x, _mm_unpacklo_epi8(here, between));
        Store(out + x + kAtOnce, _mm_unpackhi_epi8(here, between));
    }
    for (; x < count; ++x) {
        const BYTE left = samples[x / 2];
        const BYTE right = samples[std::min((x + 1) / 2, last)];
        out[x] = static_cast<BYTE>((left + right + 1) / 2);
    }
}

void Interleave(const BYTE* luma, const BYTE* cb, const BYTE* cr, int width, BYTE* out) {
    int x = 0;
    for (; x + kAtOnce <= width; x += kAtOnce) {
        const __m128i y = Load(luma + x);
        const __m128i c =
            _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(cb + x / 2)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(cr + x / 2)));
        Store(out + 2 * x, _mm_unpacklo_epi8(y, c));
        Store(out + 2 * x + kAtOnce, _mm_unpackhi_epi8(y, c));
    }
    for (; x < width; x += 2) {
        out[2 * x] = luma[x];
        out[2 * x + 1] = cb[x / 2];
        out[2 * x + 2] = luma[x + 1];
        out[2 * x + 3] = cr[x / 2];
    }
}

}  // namespace nyx::open
