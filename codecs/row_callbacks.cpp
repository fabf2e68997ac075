#include "codecs/row_callbacks.h"

#include "codecs/packed_layouts.h"

namespace nyx {
namespace {

constexpr LONG kCrAt = 16;
constexpr LONG kCbAt = 24;

LONG PairsOf(LONG width) {
    return std::clamp(width / 2, LONG{0}, kBlockSide / 2);
}

/// A null alpha block means opaque pixels.
template <PackedLayout kLayout>
void WriteRows(BYTE* destination, LONG stride, const BYTE* block, const BYTE* alphaBlock,
               bool premultiplied, LONG width, LONG rows) {
    constexpr BYTE kOpaque[kBlockSide] = {255, 255, 255, 255, 255, 255, 255, 255,
                                          255, 255, 255, 255, 255, 255, 255, 255};
    const LONG pairs = PairsOf(width);
    for (LONG y = 0; y < rows; ++y) {
        const BYTE* row = block + y * kBlockRowBytes;
        const BYTE* alpha = alphaBlock ? alphaBlock + y * kBlockRowBytes : kOpaque;
        BYTE* to = destination + static_cast<std::ptrdiff_t>(y) * stride;
        for (LONG i = 0; i < pairs; ++i, to += kPackedRow<kLayout>.PairBytes()) {
            EncodePair<kLayout, 8>({row[2 * i], row[2 * i + 1], row[kCbAt + i], row[kCrAt + i],
                                    alpha[2 * i], alpha[2 * i + 1]},
                                   premultiplied, to);
        }
    }
}

template <PackedLayout kLayout>
void ReadRows(const BYTE* source, LONG stride, BYTE* block, BYTE* alphaBlock, bool premultiplied,
              LONG width, LONG rows) {
    const LONG pairs = PairsOf(width);
    for (LONG y = 0; y < rows; ++y) {
        const BYTE* from = source + static_cast<std::ptrdiff_t>(y) * stride;
        BYTE* row = block + y * kBlockRowBytes;
        for (LONG i = 0; i < pairs; ++i, from += kPackedRow<kLayout>.PairBytes()) {
            const PixelPair<int> pair = DecodePair<kLayout, 8>(from, premultiplied);
            row[2 * i] = static_cast<BYTE>(pair[kY0]);
            row[2 * i + 1] = static_cast<BYTE>(pair[kY1]);
            row[kCbAt + i] = static_cast<BYTE>(pair[kCb]);
            row[kCrAt + i] = static_cast<BYTE>(pair[kCr]);
            if (alphaBlock) {
                BYTE* alpha = alphaBlock + y * kBlockRowBytes + 2 * i;
                alpha[0] = static_cast<BYTE>(pair[kA0]);
                alpha[1] = static_cast<BYTE>(pair[kA1]);
            }
        }
    }
}

template <PackedLayout kLayout>
void WINAPI WriteCoreBlock(BYTE* destination, LONG stride, const BYTE* block, LONG width,
                           LONG rows) {
    WriteRows<kLayout>(destination, stride, block, nullptr, false, width, rows);
}

template <PackedLayout kLayout, AlphaUse kAlpha>
void WINAPI WriteAlphaBlock(BYTE* destination, LONG stride, DWORD, DWORD, const BYTE* block,
                            LONG width, LONG rows) {
    constexpr bool kPremultiplied =
        kAlpha == AlphaUse::kPremultiplied || kLayout == PackedLayout::k2vuy;
    WriteRows<kLayout>(destination, stride, block, block + kAlphaBlockOffset, kPremultiplied, width,
                       rows);
}

template <PackedLayout kLayout>
void WINAPI FillTransparent(BYTE* destination, LONG stride, DWORD, DWORD, LONG width, LONG rows) {
    constexpr PixelPair<int> kClear = {kBlackLuma,     kBlackLuma, kNeutralChroma,
                                       kNeutralChroma, 0,          0};
    const LONG pairs = width / 2;  // not bounded by a block, since none is read
    for (LONG y = 0; y < rows; ++y) {
        BYTE* to = destination + static_cast<std::ptrdiff_t>(y) * stride;
        for (LONG i = 0; i < pairs; ++i, to += kPackedRow<kLayout>.PairBytes()) {
            EncodePair<kLayout, 8>(kClear, false, to);
        }
    }
}

template <PackedLayout kLayout>
void WINAPI ReadCoreBlock(const BYTE* source, LONG stride, BYTE* block, LONG width, LONG rows) {
    ReadRows<kLayout>(source, stride, block, nullptr, false, width, rows);
}

template <PackedLayout kLayout, AlphaUse kAlpha>
void WINAPI ReadAlphaBlock(const BYTE* source, LONG stride, DWORD, DWORD, BYTE* block, LONG width,
                           LONG rows) {
    ReadRows<kLayout>(source, stride, block, block + kAlphaBlockOffset,
                      kAlpha == AlphaUse::kPremultiplied, width, rows);
}

template <PackedLayout kLayout>
constexpr RowCallbacks kCallbacks = {
    .coreDecode = &WriteCoreBlock<kLayout>,
    .coreEncode = &ReadCoreBlock<kLayout>,
    .alphaDecode = {{&FillTransparent<kLayout>, &WriteAlphaBlock<kLayout, AlphaUse::kStraight>},
                    {&FillTransparent<kLayout>,
                     &WriteAlphaBlock<kLayout, AlphaUse::kPremultiplied>}},
    .alphaEncode = {&ReadAlphaBlock<kLayout, AlphaUse::kStraight>,
                    &ReadAlphaBlock<kLayout, AlphaUse::kPremultiplied>}};

}  // namespace

constinit const RowCallbacks kRowCallbacks[] = {
    kCallbacks<PackedLayout::k2vuy>, kCallbacks<PackedLayout::kV408>,
    kCallbacks<PackedLayout::kR408>, kCallbacks<PackedLayout::kR4fl>};

}  // namespace nyx
