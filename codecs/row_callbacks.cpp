#include "codecs/row_callbacks.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace nyx {
namespace {

constexpr LONG kChromaAt = 16;  // Cr, then 8 bytes on Cb
constexpr int kPairsInBlock = kBlockSide / 2;

constexpr float kUnit = 0.003921569f;  // 1/255
constexpr float kNeutral = 128 * kUnit;
constexpr float kLowestLuma = -0.0627451f;  // (0 - 16) / 255
constexpr float kHighestLuma = 0.9372549f;  // (255 - 16) / 255

constexpr LONG BytesPerPair(PackedLayout layout) {
    switch (layout) {
        case PackedLayout::k2vuy:
            return 4;
        case PackedLayout::kV408:
        case PackedLayout::kR408:
            return 8;
        case PackedLayout::kR4fl:
            return 32;
    }
    return 0;
}

constexpr LONG kMostBytesPerPair = 32;

int PairsOf(LONG width) {
    return std::clamp(static_cast<int>(width / 2), 0, kPairsInBlock);
}

/// One row of a block: 16 luma samples, 8 of each chroma in the low half, 16 alpha samples.
struct SampleRow {
    __m128i y;
    __m128i cb;
    __m128i cr;
    __m128i alpha;
};

__m128i Load(const BYTE* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

void Store(BYTE* to, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

SampleRow LoadRow(const BYTE* row, __m128i alpha) {
    const __m128i chroma = Load(row + kChromaAt);
    return {Load(row), _mm_srli_si128(chroma, 8), chroma, alpha};
}

__m128i LowWords(__m128i bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

__m128i HighWords(__m128i bytes) {
    return _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
}

/// x / 255 for unsigned words, exact: 0x8081 is 2^23 / 255 rounded up.
__m128i DivideBy255(__m128i words) {
    return _mm_srli_epi16(_mm_mulhi_epu16(words, _mm_set1_epi16(static_cast<short>(0x8081))), 7);
}

/// ((sample - zero) * alpha + bias) / 255 on eight words. The sum is never negative and below 2^16.
__m128i Weigh(__m128i samples, __m128i alpha, short zero, unsigned short bias) {
    const __m128i product = _mm_mullo_epi16(_mm_sub_epi16(samples, _mm_set1_epi16(zero)), alpha);
    return DivideBy255(_mm_add_epi16(product, _mm_set1_epi16(static_cast<short>(bias))));
}

__m128i WeighBytes(__m128i samples, __m128i alpha, short zero, unsigned short bias) {
    return _mm_packus_epi16(Weigh(LowWords(samples), LowWords(alpha), zero, bias),
                            Weigh(HighWords(samples), HighWords(alpha), zero, bias));
}

/// Eight chroma samples weighed by the alpha of their even pixels.
__m128i WeighChroma(__m128i chroma, __m128i alpha) {
    const __m128i even = _mm_and_si128(alpha, _mm_set1_epi16(0xFF));
    const __m128i words = Weigh(LowWords(chroma), even, 128, 128 * 255 + 127);
    return _mm_packus_epi16(words, words);
}

/// Luma re-based to black at 0.
__m128i RebaseLuma(__m128i y) {
    return _mm_subs_epu8(y, _mm_set1_epi8(16));
}

SampleRow Premultiply(SampleRow row, PackedLayout layout) {
    row.y = layout == PackedLayout::kR408 ? WeighBytes(RebaseLuma(row.y), row.alpha, 0, 127)
                                          : WeighBytes(row.y, row.alpha, 16, 16 * 255 + 127);
    row.cb = WeighChroma(row.cb, row.alpha);
    row.cr = WeighChroma(row.cr, row.alpha);
    return row;
}

/// Alpha mapped into 16..235.
__m128i StudioAlpha(__m128i alpha) {
    const __m128i scale = _mm_set1_epi16(219);
    const __m128i half = _mm_set1_epi16(127);
    const __m128i low = _mm_add_epi16(_mm_mullo_epi16(LowWords(alpha), scale), half);
    const __m128i high = _mm_add_epi16(_mm_mullo_epi16(HighWords(alpha), scale), half);
    return _mm_add_epi8(_mm_packus_epi16(DivideBy255(low), DivideBy255(high)), _mm_set1_epi8(16));
}

/// Sixteen pixels of four bytes, one from each argument.
void StoreInterleaved(BYTE* to, __m128i first, __m128i second, __m128i third, __m128i fourth) {
    const __m128i front[] = {_mm_unpacklo_epi8(first, second), _mm_unpackhi_epi8(first, second)};
    const __m128i back[] = {_mm_unpacklo_epi8(third, fourth), _mm_unpackhi_epi8(third, fourth)};
    for (int half = 0; half < 2; ++half) {
        Store(to + half * 32, _mm_unpacklo_epi16(front[half], back[half]));
        Store(to + half * 32 + 16, _mm_unpackhi_epi16(front[half], back[half]));
    }
}

/// Each of eight chroma samples twice: one per pixel.
__m128i PerPixel(__m128i chroma) {
    return _mm_unpacklo_epi8(chroma, chroma);
}

void Store2vuy(BYTE* to, const SampleRow& row) {
    const __m128i chroma = _mm_unpacklo_epi8(row.cb, row.cr);
    Store(to, _mm_unpacklo_epi8(chroma, row.y));
    Store(to + 16, _mm_unpackhi_epi8(chroma, row.y));
}

/// Samples `at` to `at` + 3 of sixteen bytes as floats.
__m128 Floats(__m128i bytes, int at) {
    const __m128i words = at < 8 ? LowWords(bytes) : HighWords(bytes);
    const __m128i zero = _mm_setzero_si128();
    return _mm_cvtepi32_ps(at % 8 == 0 ? _mm_unpacklo_epi16(words, zero)
                                       : _mm_unpackhi_epi16(words, zero));
}

__m128 Clamp(__m128 value, float low, float high) {
    return _mm_min_ps(_mm_max_ps(value, _mm_set1_ps(low)), _mm_set1_ps(high));
}

/// (sample - zero) / 255, weighed by alpha unless that is null, plus zero / 255 for chroma.
__m128 ScaleLuma(__m128 y, const __m128* alpha) {
    __m128 value = _mm_mul_ps(_mm_sub_ps(y, _mm_set1_ps(16)), _mm_set1_ps(kUnit));
    value = alpha ? _mm_mul_ps(value, *alpha) : value;
    return Clamp(value, kLowestLuma, kHighestLuma);
}

__m128 ScaleChroma(__m128 chroma, const __m128* evenAlpha) {
    const __m128 unit = _mm_set1_ps(kUnit);
    if (!evenAlpha) {
        return Clamp(_mm_mul_ps(chroma, unit), 0, 1);
    }
    const __m128 offset = _mm_mul_ps(_mm_sub_ps(chroma, _mm_set1_ps(128)), unit);
    return Clamp(_mm_add_ps(_mm_mul_ps(offset, *evenAlpha), _mm_set1_ps(kNeutral)), 0, 1);
}

/// An opaque row comes with alpha 255, which scales to 1.0.
void StoreR4fl(BYTE* to, const SampleRow& row, bool premultiplied) {
    const __m128i cb = PerPixel(row.cb);
    const __m128i cr = PerPixel(row.cr);
    for (int at = 0; at < kBlockSide; at += 4) {
        const __m128 alpha = Clamp(_mm_mul_ps(Floats(row.alpha, at), _mm_set1_ps(kUnit)), 0, 1);
        const __m128 evenAlpha = _mm_shuffle_ps(alpha, alpha, _MM_SHUFFLE(2, 2, 0, 0));
        __m128 a = alpha;
        __m128 y = ScaleLuma(Floats(row.y, at), premultiplied ? &alpha : nullptr);
        __m128 b = ScaleChroma(Floats(cb, at), premultiplied ? &evenAlpha : nullptr);
        __m128 r = ScaleChroma(Floats(cr, at), premultiplied ? &evenAlpha : nullptr);
        _MM_TRANSPOSE4_PS(a, y, b, r);
        auto* pixels = reinterpret_cast<float*>(to) + at * 4;
        _mm_storeu_ps(pixels, a);
        _mm_storeu_ps(pixels + 4, y);
        _mm_storeu_ps(pixels + 8, b);
        _mm_storeu_ps(pixels + 12, r);
    }
}

/// Stores all 16 pixels of a row.
template <PackedLayout kLayout>
void StoreRow(BYTE* to, SampleRow row, bool premultiplied) {
    if constexpr (kLayout == PackedLayout::kR4fl) {
        StoreR4fl(to, row, premultiplied);
        return;
    }
    if (premultiplied) {
        row = Premultiply(row, kLayout);
    } else if (kLayout == PackedLayout::kR408) {
        row.y = RebaseLuma(row.y);
    }
    if constexpr (kLayout == PackedLayout::k2vuy) {
        Store2vuy(to, row);
    } else if constexpr (kLayout == PackedLayout::kV408) {
        StoreInterleaved(to, PerPixel(row.cb), row.y, PerPixel(row.cr), StudioAlpha(row.alpha));
    } else if constexpr (kLayout == PackedLayout::kR408) {
        StoreInterleaved(to, row.alpha, row.y, PerPixel(row.cb), PerPixel(row.cr));
    }
}

/// Rows go through a full-width image of one row, so that only the asked pairs are written.
template <PackedLayout kLayout>
void WriteRows(BYTE* destination, LONG stride, const BYTE* block, const BYTE* alphaBlock,
               bool premultiplied, LONG width, LONG rows) {
    const auto bytes =
        static_cast<std::size_t>(PairsOf(width)) * static_cast<std::size_t>(BytesPerPair(kLayout));
    for (LONG y = 0; y < rows; ++y) {
        const __m128i alpha = alphaBlock ? Load(alphaBlock + y * kBlockRowBytes)
                                         : _mm_set1_epi8(static_cast<char>(0xFF));
        alignas(16) BYTE pixels[kPairsInBlock * kMostBytesPerPair];
        StoreRow<kLayout>(pixels, LoadRow(block + y * kBlockRowBytes, alpha), premultiplied);
        std::memcpy(destination + static_cast<std::ptrdiff_t>(y) * stride, pixels, bytes);
    }
}

/// A transparent pixel pair.
template <PackedLayout kLayout>
void FillPair(BYTE* pair) {
    constexpr BYTE kStudioBlack[] = {0x80, 0x10, 0x80, 0x10};
    constexpr BYTE kRebasedBlack[] = {0x00, 0x00, 0x80, 0x80};
    constexpr float kFloatBlack[] = {0, 0, kNeutral, kNeutral};
    const void* unit = kLayout == PackedLayout::kR4fl
                           ? static_cast<const void*>(kFloatBlack)
                           : (kLayout == PackedLayout::kR408 ? kRebasedBlack : kStudioBlack);
    constexpr LONG kUnitBytes = kLayout == PackedLayout::kR4fl ? 16 : 4;
    for (LONG at = 0; at < BytesPerPair(kLayout); at += kUnitBytes) {
        std::memcpy(pair + at, unit, static_cast<std::size_t>(kUnitBytes));
    }
}

/// Two pixels as a reader sees them: luma and alpha each, chroma of the even one.
struct PairSamples {
    BYTE y[2];
    BYTE cb;
    BYTE cr;
    BYTE alpha[2];
};

BYTE ClampByte(int value) {
    return static_cast<BYTE>(std::clamp(value, 0, 255));
}

/// (A * 219 + 127) / 255 + 16 turned round.
BYTE FullAlpha(BYTE studio) {
    return static_cast<BYTE>((std::clamp(studio - 16, 0, 219) * 255 + 109) / 219);
}

/// Turns ((sample - zero) * alpha) / 255 + zero round; `offset` is the weighed sample less its
/// zero.
BYTE Unweigh(int offset, int zero, BYTE alpha) {
    if (alpha == 0) {
        return static_cast<BYTE>(zero);
    }
    const int sum = offset * 255 + zero * alpha + alpha / 2;
    return ClampByte(std::max(sum, 0) / alpha);
}

template <PackedLayout kLayout>
PairSamples ReadBytePair(const BYTE* pair, bool premultiplied) {
    PairSamples samples = {};
    int luma[2];  // less its black
    for (int i = 0; i < 2; ++i) {
        if constexpr (kLayout == PackedLayout::k2vuy) {
            luma[i] = pair[1 + 2 * i] - 16;
            samples.alpha[i] = 255;
        } else if constexpr (kLayout == PackedLayout::kV408) {
            luma[i] = pair[4 * i + 1] - 16;
            samples.alpha[i] = FullAlpha(pair[4 * i + 3]);
        } else {
            luma[i] = pair[4 * i + 1];
            samples.alpha[i] = pair[4 * i];
        }
    }
    samples.cb = pair[kLayout == PackedLayout::kR408 ? 2 : 0];
    samples.cr = pair[kLayout == PackedLayout::kR408 ? 3 : 2];

    const BYTE opaque = 255;
    for (int i = 0; i < 2; ++i) {
        samples.y[i] = Unweigh(luma[i], 16, premultiplied ? samples.alpha[i] : opaque);
    }
    if (premultiplied) {
        samples.cb = Unweigh(samples.cb - 128, 128, samples.alpha[0]);
        samples.cr = Unweigh(samples.cr - 128, 128, samples.alpha[0]);
    }
    return samples;
}

/// 0..255, rounded; not a number counts as 0.
BYTE ByteOf(float value) {
    if (!(value > 0)) {
        return 0;
    }
    return static_cast<BYTE>(std::min(value, 255.0f) + 0.5f);
}

PairSamples ReadFloatPair(const BYTE* pair, bool premultiplied) {
    float pixels[2][4];
    std::memcpy(pixels, pair, sizeof(pixels));
    PairSamples samples = {};
    for (int i = 0; i < 2; ++i) {
        const float alpha = pixels[i][0];
        const bool divide = premultiplied && alpha > 0;
        const bool clear = premultiplied && !divide;
        const float luma = clear ? 0 : (divide ? pixels[i][1] / alpha : pixels[i][1]);
        samples.y[i] = ByteOf(luma * 255 + 16);
        samples.alpha[i] = ByteOf(alpha * 255);
        if (i == 0) {
            BYTE* chroma[] = {&samples.cb, &samples.cr};
            for (int c = 0; c < 2; ++c) {
                const float offset = pixels[0][2 + c] - kNeutral;
                const float value = clear ? 0 : (divide ? offset / alpha : offset);
                *chroma[c] = ByteOf((value + kNeutral) * 255);
            }
        }
    }
    return samples;
}

template <PackedLayout kLayout>
PairSamples ReadPair(const BYTE* pair, bool premultiplied) {
    if constexpr (kLayout == PackedLayout::kR4fl) {
        return ReadFloatPair(pair, premultiplied);
    } else {
        return ReadBytePair<kLayout>(pair, premultiplied);
    }
}

template <PackedLayout kLayout>
void ReadRows(const BYTE* source, LONG stride, BYTE* block, BYTE* alphaBlock, bool premultiplied,
              LONG width, LONG rows) {
    const int pairs = PairsOf(width);
    for (LONG y = 0; y < rows; ++y) {
        const BYTE* pair = source + static_cast<std::ptrdiff_t>(y) * stride;
        BYTE* row = block + y * kBlockRowBytes;
        for (int i = 0; i < pairs; ++i, pair += BytesPerPair(kLayout)) {
            const PairSamples samples = ReadPair<kLayout>(pair, premultiplied);
            row[2 * i] = samples.y[0];
            row[2 * i + 1] = samples.y[1];
            row[kChromaAt + i] = samples.cr;
            row[kChromaAt + 8 + i] = samples.cb;
            if (alphaBlock) {
                std::memcpy(alphaBlock + y * kBlockRowBytes + 2 * i, samples.alpha, 2);
            }
        }
    }
}

}  // namespace

template <PackedLayout kLayout>
void WriteCoreBlock(BYTE* destination, LONG stride, const BYTE* block, LONG width, LONG rows) {
    WriteRows<kLayout>(destination, stride, block, nullptr, false, width, rows);
}

template <PackedLayout kLayout, AlphaUse kAlpha>
void WriteAlphaBlock(BYTE* destination, LONG stride, DWORD, DWORD, const BYTE* block, LONG width,
                     LONG rows) {
    constexpr bool kPremultiplied =
        kAlpha == AlphaUse::kPremultiplied || kLayout == PackedLayout::k2vuy;
    WriteRows<kLayout>(destination, stride, block, block + kAlphaBlockOffset, kPremultiplied, width,
                       rows);
}

template <PackedLayout kLayout>
void FillTransparent(BYTE* destination, LONG stride, DWORD, DWORD, LONG width, LONG rows) {
    const LONG pairs = width / 2;  // no block is read here, so its size is no bound
    for (LONG y = 0; y < rows; ++y) {
        BYTE* pair = destination + static_cast<std::ptrdiff_t>(y) * stride;
        for (LONG i = 0; i < pairs; ++i, pair += BytesPerPair(kLayout)) {
            FillPair<kLayout>(pair);
        }
    }
}

template <PackedLayout kLayout>
void ReadCoreBlock(const BYTE* source, LONG stride, BYTE* block, LONG width, LONG rows) {
    ReadRows<kLayout>(source, stride, block, nullptr, false, width, rows);
}

template <PackedLayout kLayout, AlphaUse kAlpha>
void ReadAlphaBlock(const BYTE* source, LONG stride, DWORD, DWORD, BYTE* block, LONG width,
                    LONG rows) {
    ReadRows<kLayout>(source, stride, block, block + kAlphaBlockOffset,
                      kAlpha == AlphaUse::kPremultiplied, width, rows);
}

#define NYX_INSTANTIATE_ALPHA(layout, alpha)                                                   \
    template void WriteAlphaBlock<layout, alpha>(BYTE*, LONG, DWORD, DWORD, const BYTE*, LONG, \
                                                 LONG);                                        \
    template void ReadAlphaBlock<layout, alpha>(const BYTE*, LONG, DWORD, DWORD, BYTE*, LONG, LONG);

#define NYX_INSTANTIATE(layout)                                                   \
    template void WriteCoreBlock<layout>(BYTE*, LONG, const BYTE*, LONG, LONG);   \
    template void ReadCoreBlock<layout>(const BYTE*, LONG, BYTE*, LONG, LONG);    \
    template void FillTransparent<layout>(BYTE*, LONG, DWORD, DWORD, LONG, LONG); \
    NYX_INSTANTIATE_ALPHA(layout, AlphaUse::kStraight)                            \
    NYX_INSTANTIATE_ALPHA(layout, AlphaUse::kPremultiplied)

NYX_INSTANTIATE(PackedLayout::k2vuy)
NYX_INSTANTIATE(PackedLayout::kV408)
NYX_INSTANTIATE(PackedLayout::kR408)
NYX_INSTANTIATE(PackedLayout::kR4fl)

}  // namespace nyx
