#include "codecs/working_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <tuple>

#include "codecs/packed_layouts.h"
#include "convert/convert.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "media/v210.h"

namespace nyx {
namespace {

using Word = std::uint16_t;

constexpr int kWorkingBits = 10;
constexpr int kOpaque = 1023;

/// One row of whole pixel pairs: bytes of the picture, words of the rest. `alpha` may be null.
template <typename Picture, typename Samples>
struct Row {
    Picture* picture;
    Samples* working;
    Samples* alpha;
    LONG width;
};
using WrittenRow = Row<BYTE, const BYTE>;
using ReadRow = Row<const BYTE, BYTE>;

/// Words of a working or alpha row, at any alignment.
int WordAt(const BYTE* row, LONG index) {
    Word word;
    std::memcpy(&word, row + std::ptrdiff_t{index} * 2, sizeof(word));
    return word;
}

void SetWord(BYTE* row, LONG index, int value) {
    const auto word = static_cast<Word>(value);
    std::memcpy(row + std::ptrdiff_t{index} * 2, &word, sizeof(word));
}

constexpr const PixelFormatRow& FormatOf(int index) {
    return kPixelFormats[static_cast<std::size_t>(index)];
}

constexpr bool HasStreamAlpha(int index) noexcept {
    return FormatOf(index).streamAlpha == Condition::kYes;
}

/// The alpha of a pixel: opaque for a layout without alpha, or without an alpha row.
template <int kIndex>
int AlphaAt(const BYTE* alpha, LONG x) {
    return HasStreamAlpha(kIndex) && alpha ? std::min(WordAt(alpha, x), kOpaque) : kOpaque;
}

/// "2vuy" has no alpha channel: pictures with alpha are put over black.
template <int kIndex, AlphaUse kAlpha>
constexpr bool kPremultipliesOnWriting = HasStreamAlpha(kIndex) &&
                                         (kAlpha == AlphaUse::kPremultiplied ||
                                          !KeepsAlpha(kIndex));

template <int kIndex, AlphaUse kAlpha>
void WritePairs(const WrittenRow& row) {
    constexpr PackedLayout kLayout = *FormatOf(kIndex).packed;
    BYTE* to = row.picture;
    for (LONG x = 0; x < row.width; x += 2, to += kPackedRow<kLayout>.PairBytes()) {
        EncodePair<kLayout, kWorkingBits>(
            {WordAt(row.working, 2 * x), WordAt(row.working, 2 * x + 2),
             WordAt(row.working, 2 * x + 1), WordAt(row.working, 2 * x + 3),
             AlphaAt<kIndex>(row.alpha, x), AlphaAt<kIndex>(row.alpha, x + 1)},
            kPremultipliesOnWriting<kIndex, kAlpha>, to);
    }
}

template <int kIndex, AlphaUse kAlpha>
void ReadPairs(const ReadRow& row) {
    constexpr PackedLayout kLayout = *FormatOf(kIndex).packed;
    constexpr bool kPremultiplied = KeepsAlpha(kIndex) && kAlpha == AlphaUse::kPremultiplied;
    const BYTE* from = row.picture;
    for (LONG x = 0; x < row.width; x += 2, from += kPackedRow<kLayout>.PairBytes()) {
        const PixelPair<int> pair = DecodePair<kLayout, kWorkingBits>(from, kPremultiplied);
        SetWord(row.working, 2 * x, pair[kY0]);
        SetWord(row.working, 2 * x + 1, pair[kCb]);
        SetWord(row.working, 2 * x + 2, pair[kY1]);
        SetWord(row.working, 2 * x + 3, pair[kCr]);
        if (row.alpha) {
            SetWord(row.alpha, x, KeepsAlpha(kIndex) ? pair[kA0] : kOpaque);
            SetWord(row.alpha, x + 1, KeepsAlpha(kIndex) ? pair[kA1] : kOpaque);
        }
    }
}

/// "b64a": the conversion library's little-endian A, R, G, B words, byte-swapped.
constexpr LONG kDeepPixelBytes = 8;

template <int kIndex>
constexpr DWORD kYuvFlags = FormatOf(kIndex).highDefinition == Condition::kYes ? kYuvBt709
                                                                               : kYuvBt601;

void SetBigEndian(BYTE* at, DWORD word) {
    at[0] = static_cast<BYTE>(word >> 8);
    at[1] = static_cast<BYTE>(word);
}

DWORD BigEndianAt(const BYTE* at) {
    return static_cast<DWORD>(at[0] << 8 | at[1]);
}

/// The conversion writes over the row, whose words are then byte-swapped in place. A row that
/// cannot be converted is cleared.
template <int kIndex, AlphaUse kAlpha>
void WriteDeepRgb(const Conversion& toRgb, const WrittenRow& row) {
    const ImagePlane source = {const_cast<BYTE*>(row.working), row.width * 4, 0};
    const ImagePlane destination = {row.picture, row.width * kDeepPixelBytes, 0};
    if (FAILED(RunConversion(GetCpuInfo(), toRgb, {&source, &destination}, row.width, 1))) {
        std::memset(row.picture, 0, static_cast<std::size_t>(row.width) * kDeepPixelBytes);
        return;
    }
    BYTE* pixel = row.picture;
    for (LONG x = 0; x < row.width; ++x, pixel += kDeepPixelBytes) {
        const DWORD alpha = static_cast<DWORD>(AlphaAt<kIndex>(row.alpha, x)) * 65535 / kOpaque;
        SetBigEndian(pixel, alpha);
        for (LONG c = 1; c < 4; ++c) {
            auto colour = static_cast<DWORD>(WordAt(pixel, c));
            if (kAlpha == AlphaUse::kPremultiplied) {
                colour = (colour * alpha + 32767) / 65535;
            }
            SetBigEndian(pixel + 2 * c, colour);
        }
    }
}

/// Chroma depends on the even pixel alone, so a row may be converted in strips of whole pairs.
template <int kIndex, AlphaUse kAlpha>
void ReadDeepRgb(const Conversion& toYuv, const ReadRow& row) {
    constexpr LONG kStrip = 64;
    BYTE strip[kStrip * kDeepPixelBytes];
    for (LONG x = 0; x < row.width; ++x) {
        const BYTE* pixel = row.picture + std::ptrdiff_t{x} * kDeepPixelBytes;
        const DWORD alpha = KeepsAlpha(kIndex) ? BigEndianAt(pixel) : 65535;
        BYTE* words = strip + x % kStrip * kDeepPixelBytes;
        SetWord(words, 0, 65535);
        for (LONG c = 1; c < 4; ++c) {
            DWORD colour = BigEndianAt(pixel + 2 * c);
            if (kAlpha == AlphaUse::kPremultiplied) {
                colour = alpha == 0 ? 0 : (colour * 65535 + alpha / 2) / alpha;
            }
            SetWord(words, c, static_cast<int>(std::min<DWORD>(colour, 65535)));
        }
        if (row.alpha) {
            SetWord(row.alpha, x, static_cast<int>((alpha * kOpaque + 32767) / 65535));
        }
        const LONG filled = x % kStrip + 1;
        if (filled == kStrip || x + 1 == row.width) {
            const ImagePlane source = {strip, filled * kDeepPixelBytes, 0};
            BYTE* working = row.working + std::ptrdiff_t{x + 1 - filled} * 4;
            const ImagePlane destination = {working, filled * 4, 0};
            std::ignore = RunConversion(GetCpuInfo(), toYuv, {&source, &destination}, filled, 1);
        }
    }
}

/// Calls `body` with each "v210" group's bytes, its first word in the working row and the number of
/// its samples.
template <typename Picture, typename Body>
void ForEachGroup(Picture* picture, LONG width, Body body) {
    for (LONG x = 0; x < width; x += kV210GroupPixels, picture += kV210GroupBytes) {
        body(picture, 2 * x, std::min(kV210GroupPixels, width - x) * 2);
    }
}

/// The working row has Y first where "v210" has chroma first.
constexpr LONG WorkingIndexOf(LONG sample) {
    return sample ^ 1;
}

void PackV210(const WrittenRow& row) {
    ForEachGroup(row.picture, row.width, [&](BYTE* group, LONG first, LONG count) {
        V210Samples samples{};
        for (LONG i = 0; i < count; ++i) {
            samples[static_cast<std::size_t>(i)] = static_cast<Word>(
                std::min(WordAt(row.working, first + WorkingIndexOf(i)), kOpaque));
        }
        PackV210Group(samples, group);
    });
}

void UnpackV210(const ReadRow& row) {
    ForEachGroup(row.picture, row.width, [&](const BYTE* group, LONG first, LONG count) {
        const V210Samples samples = UnpackV210Group(group);
        for (LONG i = 0; i < count; ++i) {
            SetWord(row.working, first + WorkingIndexOf(i), samples[static_cast<std::size_t>(i)]);
        }
    });
    for (LONG x = 0; row.alpha && x < row.width; ++x) {
        SetWord(row.alpha, x, kOpaque);
    }
}

/// Calls `body` with each row.
template <typename Picture, typename Samples, typename Body>
void ForEachRow(Row<Picture, Samples> row, LONG stride, LONG workingStride, LONG alphaStride,
                LONG rows, Body body) {
    row.width = row.width / 2 * 2;
    for (LONG y = 0; y < rows; ++y) {
        body(row);
        row.picture += stride;
        row.working += workingStride;
        row.alpha = row.alpha ? row.alpha + alphaStride : nullptr;
    }
}

template <int kIndex, AlphaUse kAlpha>
void WINAPI WriteWorkingRows(BYTE* picture, LONG stride, const BYTE* workingRows,
                             LONG workingStride, const BYTE* alphaRows, LONG alphaStride,
                             LONG width, LONG rows) {
    const auto forEach = [&](auto body) {
        ForEachRow(WrittenRow{picture, workingRows, alphaRows, width}, stride, workingStride,
                   alphaStride, rows, body);
    };
    if constexpr (FormatOf(kIndex).packed) {
        forEach(&WritePairs<kIndex, kAlpha>);
    } else if constexpr (kIndex == kIndexV210) {
        if (V210RowFits(width / 2 * 2, stride)) {
            forEach(&PackV210);
        }
    } else {
        Conversion toRgb;
        std::ignore = ChooseConversion({kW210, kA46l}, kYuvFlags<kIndex>, kRgbFullRange, &toRgb);
        forEach([&](const WrittenRow& row) { WriteDeepRgb<kIndex, kAlpha>(toRgb, row); });
    }
}

template <int kIndex, AlphaUse kAlpha>
void WINAPI ReadWorkingRows(const BYTE* picture, LONG stride, BYTE* workingRows, LONG workingStride,
                            BYTE* alphaRows, LONG alphaStride, LONG width, LONG rows) {
    const auto forEach = [&](auto body) {
        ForEachRow(ReadRow{picture, workingRows, alphaRows, width}, stride, workingStride,
                   alphaStride, rows, body);
    };
    if constexpr (FormatOf(kIndex).packed) {
        forEach(&ReadPairs<kIndex, kAlpha>);
    } else if constexpr (kIndex == kIndexV210) {
        if (V210RowFits(width / 2 * 2, stride)) {
            forEach(&UnpackV210);
        }
    } else {
        Conversion toYuv;
        std::ignore = ChooseConversion({kA46l, kW210}, kYuvFlags<kIndex>, kRgbFullRange, &toYuv);
        forEach([&](const ReadRow& row) { ReadDeepRgb<kIndex, kAlpha>(toYuv, row); });
    }
}

template <int kIndex>
constexpr std::array<WorkingRowsCallbacks, kAlphaUses> kCallbacks = {
    {{&WriteWorkingRows<kIndex, AlphaUse::kStraight>,
      &ReadWorkingRows<kIndex, AlphaUse::kStraight>},
     {&WriteWorkingRows<kIndex, AlphaUse::kPremultiplied>,
      &ReadWorkingRows<kIndex, AlphaUse::kPremultiplied>}}};

}  // namespace

constinit const std::array<WorkingRowsCallbacks, kAlphaUses> kWorkingRows[] = {
    kCallbacks<13>, kCallbacks<14>, kCallbacks<15>, kCallbacks<16>, kCallbacks<17>,
    kCallbacks<18>, kCallbacks<19>, kCallbacks<20>, kCallbacks<21>, kCallbacks<22>,
    kCallbacks<23>, kCallbacks<24>, kCallbacks<25>};

}  // namespace nyx
