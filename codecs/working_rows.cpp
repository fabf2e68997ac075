#include "codecs/working_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "convert/convert.h"

namespace nyx {
namespace {

using Word = std::uint16_t;

constexpr Word kOpaque = 1023;
constexpr LONG kStrip = kBlockSide;  // pixels that go through a block at a time

BYTE ToByte(Word sample) {
    return static_cast<BYTE>(std::min((sample + 2) >> 2, 255));
}

Word FromByte(BYTE sample) {
    return static_cast<Word>(sample << 2);
}

BYTE AlphaToByte(Word alpha) {
    return static_cast<BYTE>((std::min(alpha, kOpaque) * 255 + 511) / 1023);
}

Word AlphaFromByte(BYTE alpha) {
    return static_cast<Word>((alpha * 1023 + 127) / 255);
}

/// A run of whole pixel pairs of one row. `alpha` may be null.
struct Run {
    BYTE* picture;
    BYTE* working;
    BYTE* alpha;
    LONG width;
    LONG behind;  // pixels of the row behind the run
};

/// Words of a working or alpha row, at any alignment.
Word WordAt(const BYTE* row, LONG index) {
    Word word;
    std::memcpy(&word, row + std::ptrdiff_t{index} * 2, sizeof(word));
    return word;
}

void SetWord(BYTE* row, LONG index, Word word) {
    std::memcpy(row + std::ptrdiff_t{index} * 2, &word, sizeof(word));
}

Word AlphaAt(const Run& run, LONG x) {
    return run.alpha ? WordAt(run.alpha, x) : kOpaque;
}

constexpr bool IsAlphaIndex(int index) {
    return index == kIndexV408 + 1 || index == kIndexR408 + 1 || index == kIndexB64a + 2 ||
           index == kIndexB64a + 3 || index == kIndexR4fl + 1 || index == kIndex2vuy + 1;
}

constexpr bool IsBlockLayout(int index) {
    return (index >= kIndexV408 && index < kIndexB64a) || index >= kIndex2vuy;
}

constexpr PackedLayout BlockLayoutOf(int index) {
    return index >= kIndex2vuy ? PackedLayout::k2vuy
                               : (index >= kIndexR408 ? PackedLayout::kR408 : PackedLayout::kV408);
}

constexpr LONG BytesPerPixelOf(int index) {
    if (index >= kIndex2vuy) {
        return 2;
    }
    return index >= kIndexR4fl ? 16 : (index >= kIndexB64a ? 8 : 4);
}

/// Calls `body` for runs of at most kStrip pixels that make up the row.
template <int kIndex, typename Body>
void ForEachStrip(const Run& row, Body body) {
    for (LONG x = 0; x < row.width; x += kStrip) {
        const LONG width = std::min(kStrip, row.width - x);
        body(Run{row.picture + std::ptrdiff_t{x} * BytesPerPixelOf(kIndex),
                 row.working + std::ptrdiff_t{x} * 4,
                 row.alpha ? row.alpha + std::ptrdiff_t{x} * 2 : nullptr, width,
                 row.width - x - width});
    }
}

constexpr LONG kCrAt = 16;
constexpr LONG kCbAt = 24;
constexpr std::size_t kBlockBytes = kAlphaBlockOffset + kBlockRowBytes;

template <int kIndex, AlphaUse kAlpha>
void WriteByBlock(const Run& run) {
    BYTE block[kBlockBytes] = {};
    for (LONG x = 0; x < run.width; ++x) {
        block[x] = ToByte(WordAt(run.working, 2 * x));
        block[(x % 2 == 0 ? kCbAt : kCrAt) + x / 2] = ToByte(WordAt(run.working, 2 * x + 1));
        block[kAlphaBlockOffset + x] = AlphaToByte(AlphaAt(run, x));
    }
    // Read a vector at a time, hence whole rows of the block.
    constexpr PackedLayout kLayout = BlockLayoutOf(kIndex);
    if constexpr (IsAlphaIndex(kIndex)) {
        WriteAlphaBlock<kLayout, kAlpha>(run.picture, 0, 0, 0, block, run.width, 1);
    } else {
        WriteCoreBlock<kLayout>(run.picture, 0, block, run.width, 1);
    }
}

template <int kIndex, AlphaUse kAlpha>
void ReadByBlock(const Run& run) {
    BYTE block[kBlockBytes];
    std::memset(block + kAlphaBlockOffset, 0xFF, kBlockRowBytes);
    constexpr PackedLayout kLayout = BlockLayoutOf(kIndex);
    if constexpr (IsAlphaIndex(kIndex)) {
        ReadAlphaBlock<kLayout, kAlpha>(run.picture, 0, 0, 0, block, run.width, 1);
    } else {
        ReadCoreBlock<kLayout>(run.picture, 0, block, run.width, 1);
    }
    for (LONG x = 0; x < run.width; ++x) {
        SetWord(run.working, 2 * x, FromByte(block[x]));
        SetWord(run.working, 2 * x + 1, FromByte(block[(x % 2 == 0 ? kCbAt : kCrAt) + x / 2]));
        if (run.alpha) {
            SetWord(run.alpha, x, AlphaFromByte(block[kAlphaBlockOffset + x]));
        }
    }
}

constexpr float kUnit = 0.003921569f;  // 1/255
constexpr float kNeutral = 128 * kUnit;

float Clamp(float value, float low, float high) {
    return value > low ? std::min(value, high) : low;
}

template <int kIndex, AlphaUse kAlpha>
void WriteFloats(const Run& run) {
    constexpr bool kWeigh = IsAlphaIndex(kIndex) && kAlpha == AlphaUse::kPremultiplied;
    float evenAlpha = 1;
    for (LONG x = 0; x < run.width; ++x) {
        const LONG pair = x / 2 * 4;
        const float alpha = IsAlphaIndex(kIndex) ? AlphaAt(run, x) / 1023.0f : 1.0f;
        evenAlpha = x % 2 == 0 ? alpha : evenAlpha;
        const float luma = (WordAt(run.working, 2 * x) * 0.25f - 16) * kUnit;
        float pixel[4] = {alpha, Clamp(kWeigh ? luma * alpha : luma, -0.0627451f, 0.9372549f)};
        for (int c = 0; c < 2; ++c) {
            const float chroma = WordAt(run.working, pair + 1 + 2 * c) * 0.25f * kUnit;
            const float weighed = (chroma - kNeutral) * evenAlpha + kNeutral;
            pixel[2 + c] = Clamp(kWeigh ? weighed : chroma, 0, 1);
        }
        std::memcpy(run.picture + std::ptrdiff_t{x} * 16, pixel, sizeof(pixel));
    }
}

/// value * scale rounded into 0..1023; not a number counts as 0.
Word WordOf(float value) {
    return value > 0 ? static_cast<Word>(std::min(value, 1023.0f) + 0.5f) : Word{0};
}

template <int kIndex, AlphaUse kAlpha>
void ReadFloats(const Run& run) {
    for (LONG x = 0; x < run.width; ++x) {
        float pixel[4];
        std::memcpy(pixel, run.picture + std::ptrdiff_t{x} * 16, sizeof(pixel));
        const float alpha = IsAlphaIndex(kIndex) ? pixel[0] : 1.0f;
        const bool weighed = IsAlphaIndex(kIndex) && kAlpha == AlphaUse::kPremultiplied;
        // Where alpha is 0 nothing is left of a premultiplied pixel: black, neutral.
        const float gain = !weighed ? 1 : (alpha > 0 ? 1 / alpha : 0);
        SetWord(run.working, 2 * x, WordOf((pixel[1] * gain * 255 + 16) * 4));
        if (x % 2 == 0) {
            for (LONG c = 0; c < 2; ++c) {
                const float chroma = (pixel[2 + c] - kNeutral) * gain + kNeutral;
                SetWord(run.working, 2 * x + 1 + 2 * c, WordOf(chroma * 255 * 4));
            }
        }
        if (run.alpha) {
            SetWord(run.alpha, x, WordOf(alpha * 1023));
        }
    }
}

/// "b64a": the conversion library's little-endian A, R, G, B words, turned round.
constexpr DWORD kDeepArgb = FourCC("A46L");
constexpr DWORD kWorking = FourCC("W210");

template <int kIndex>
constexpr DWORD YuvFlagsOf() {
    return (kIndex - kIndexB64a) % 2 == 0 ? kYuvBt709 : kYuvBt601;
}

void SetBigEndian(BYTE* at, Word word) {
    at[0] = static_cast<BYTE>(word >> 8);
    at[1] = static_cast<BYTE>(word);
}

Word BigEndianAt(const BYTE* at) {
    return static_cast<Word>(at[0] << 8 | at[1]);
}

Word WidenAlpha(Word alpha) {
    return static_cast<Word>(std::min(alpha, kOpaque) * 65535u / kOpaque);
}

template <int kIndex, AlphaUse kAlpha>
void WriteDeepRgb(const Run& run) {
    // The conversion takes an odd pixel's chroma from both sides, so the next pair goes with it.
    const LONG width = run.width + std::min(LONG{2}, run.behind);
    alignas(16) Word pixels[(kStrip + 2) * 4];
    const ImagePlane source = {run.working, width * 4, 0};
    const ImagePlane destination = {reinterpret_cast<BYTE*>(pixels), width * 8, 0};
    if (FAILED(ConvertFromYuv(&source, nullptr, kWorking, YuvFlagsOf<kIndex>(), 0, &destination,
                              kDeepArgb, kRgbFullRange, 0, width, 1))) {
        return;
    }
    for (LONG x = 0; x < run.width; ++x) {
        const Word alpha = IsAlphaIndex(kIndex) ? WidenAlpha(AlphaAt(run, x)) : Word{0xFFFF};
        BYTE* pixel = run.picture + std::ptrdiff_t{x} * 8;
        SetBigEndian(pixel, alpha);
        for (LONG c = 1; c < 4; ++c) {
            DWORD colour = pixels[4 * x + c];
            if (kAlpha == AlphaUse::kPremultiplied) {
                colour = (colour * alpha + 32767) / 65535;
            }
            SetBigEndian(pixel + 2 * c, static_cast<Word>(colour));
        }
    }
}

template <int kIndex, AlphaUse kAlpha>
void ReadDeepRgb(const Run& run) {
    alignas(16) Word pixels[kStrip * 4];
    for (LONG x = 0; x < run.width; ++x) {
        const BYTE* pixel = run.picture + std::ptrdiff_t{x} * 8;
        const Word alpha = IsAlphaIndex(kIndex) ? BigEndianAt(pixel) : Word{0xFFFF};
        pixels[4 * x] = 0xFFFF;
        for (LONG c = 1; c < 4; ++c) {
            DWORD colour = BigEndianAt(pixel + 2 * c);
            if (kAlpha == AlphaUse::kPremultiplied) {
                colour = alpha == 0 ? 0 : (colour * 65535u + alpha / 2u) / alpha;
            }
            pixels[4 * x + c] = static_cast<Word>(std::min<DWORD>(colour, 65535));
        }
        if (run.alpha) {
            SetWord(run.alpha, x, static_cast<Word>((alpha * 1023u + 32767) / 65535));
        }
    }
    const ImagePlane source = {reinterpret_cast<BYTE*>(pixels), run.width * 8, 0};
    const ImagePlane destination = {run.working, run.width * 4, 0};
    ConvertToYuv(&source, kDeepArgb, kRgbFullRange, nullptr, &destination, nullptr, kWorking,
                 YuvFlagsOf<kIndex>(), 0, run.width, 1);
}

/// "v210": six pixels in four words of three samples, Cb Y Cr Y Cb Y ... from the lowest bits on.
constexpr LONG kGroupPixels = 6;
constexpr LONG kGroupBytes = 16;
constexpr int kGroupSamples = 12;

/// The working row has Y first where "v210" has chroma first.
constexpr LONG WorkingIndexOf(int sample) {
    return sample ^ 1;
}

void PackV210Row(const Run& run) {
    for (LONG x = 0; x < run.width; x += kGroupPixels) {
        const LONG samples = std::min(kGroupPixels, run.width - x) * 2;
        DWORD words[4] = {};
        for (int i = 0; i < samples; ++i) {
            const Word sample = WordAt(run.working, 2 * x + WorkingIndexOf(i));
            words[i / 3] |= DWORD{std::min(sample, kOpaque)} << (i % 3 * 10);
        }
        std::memcpy(run.picture + std::ptrdiff_t{x} / kGroupPixels * kGroupBytes, words,
                    sizeof(words));
    }
}

void UnpackV210Row(const Run& run) {
    for (LONG x = 0; x < run.width; x += kGroupPixels) {
        const LONG samples = std::min(kGroupPixels, run.width - x) * 2;
        DWORD words[4];
        std::memcpy(words, run.picture + std::ptrdiff_t{x} / kGroupPixels * kGroupBytes,
                    sizeof(words));
        for (int i = 0; i < samples; ++i) {
            SetWord(run.working, 2 * x + WorkingIndexOf(i),
                    static_cast<Word>(words[i / 3] >> (i % 3 * 10) & 0x3FF));
        }
    }
    for (LONG x = 0; run.alpha && x < run.width; ++x) {
        SetWord(run.alpha, x, kOpaque);
    }
}
static_assert(kGroupSamples == 2 * kGroupPixels);

bool V210RowFits(LONG width, LONG stride) {
    const std::int64_t bytes =
        (std::int64_t{width} + kGroupPixels - 1) / kGroupPixels * kGroupBytes;
    return bytes <= (stride < 0 ? -std::int64_t{stride} : std::int64_t{stride});
}

template <int kIndex, AlphaUse kAlpha>
void WriteRow(const Run& row) {
    if constexpr (kIndex == kIndexV210) {
        PackV210Row(row);
    } else {
        ForEachStrip<kIndex>(row, [](const Run& run) {
            if constexpr (IsBlockLayout(kIndex)) {
                WriteByBlock<kIndex, kAlpha>(run);
            } else if constexpr (kIndex >= kIndexR4fl) {
                WriteFloats<kIndex, kAlpha>(run);
            } else {
                WriteDeepRgb<kIndex, kAlpha>(run);
            }
        });
    }
}

template <int kIndex, AlphaUse kAlpha>
void ReadRow(const Run& row) {
    if constexpr (kIndex == kIndexV210) {
        UnpackV210Row(row);
    } else {
        ForEachStrip<kIndex>(row, [](const Run& run) {
            if constexpr (IsBlockLayout(kIndex)) {
                ReadByBlock<kIndex, kAlpha>(run);
            } else if constexpr (kIndex >= kIndexR4fl) {
                ReadFloats<kIndex, kAlpha>(run);
            } else {
                ReadDeepRgb<kIndex, kAlpha>(run);
            }
        });
    }
}

/// Runs `body` on each row's whole pairs.
template <int kIndex, typename Body>
void ForEachRow(BYTE* picture, LONG stride, BYTE* working, LONG workingStride, BYTE* alpha,
                LONG alphaStride, LONG width, LONG rows, Body body) {
    if (kIndex == kIndexV210 && !V210RowFits(width, stride)) {
        return;
    }
    for (LONG y = 0; y < rows; ++y) {
        body(Run{picture + std::ptrdiff_t{y} * stride, working + std::ptrdiff_t{y} * workingStride,
                 alpha ? alpha + std::ptrdiff_t{y} * alphaStride : nullptr, width / 2 * 2, 0});
    }
}

}  // namespace

template <int kIndex, AlphaUse kAlpha>
void WriteWorkingRows(BYTE* picture, LONG stride, const BYTE* workingRows, LONG workingStride,
                      const BYTE* alphaRows, LONG alphaStride, LONG width, LONG rows) {
    ForEachRow<kIndex>(picture, stride, const_cast<BYTE*>(workingRows), workingStride,
                       const_cast<BYTE*>(alphaRows), alphaStride, width, rows,
                       &WriteRow<kIndex, kAlpha>);
}

template <int kIndex, AlphaUse kAlpha>
void ReadWorkingRows(const BYTE* picture, LONG stride, BYTE* workingRows, LONG workingStride,
                     BYTE* alphaRows, LONG alphaStride, LONG width, LONG rows) {
    ForEachRow<kIndex>(const_cast<BYTE*>(picture), stride, workingRows, workingStride, alphaRows,
                       alphaStride, width, rows, &ReadRow<kIndex, kAlpha>);
}

#define NYX_INSTANTIATE(index)                                                    \
    template WorkingRowsWriter WriteWorkingRows<index, AlphaUse::kStraight>;      \
    template WorkingRowsWriter WriteWorkingRows<index, AlphaUse::kPremultiplied>; \
    template WorkingRowsReader ReadWorkingRows<index, AlphaUse::kStraight>;       \
    template WorkingRowsReader ReadWorkingRows<index, AlphaUse::kPremultiplied>;

NYX_INSTANTIATE(13)
NYX_INSTANTIATE(14)
NYX_INSTANTIATE(15)
NYX_INSTANTIATE(16)
NYX_INSTANTIATE(17)
NYX_INSTANTIATE(18)
NYX_INSTANTIATE(19)
NYX_INSTANTIATE(20)
NYX_INSTANTIATE(21)
NYX_INSTANTIATE(22)
NYX_INSTANTIATE(23)
NYX_INSTANTIATE(24)
NYX_INSTANTIATE(25)

}  // namespace nyx
