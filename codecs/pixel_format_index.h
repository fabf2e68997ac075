#pragma once

/// @file
/// Layout and geometry of uncompressed pictures, for all codecs.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

/// The number by which every codec names an uncompressed layout. Only the first index of each
/// layout has a name; kPixelFormats lists all of them.
enum PixelFormatIndex : int {
    kIndexYuy2 = 0,
    kIndexRgb24 = 1,   ///< 1 to 4
    kIndexRgb32 = 5,   ///< 5 to 8, alpha not asked for
    kIndexArgb32 = 9,  ///< 9 to 12, alpha asked for
    kIndexV210 = 13,
    kIndexV408 = 14,  ///< 15 when the stream carries alpha
    kIndexR408 = 16,  ///< 17 with alpha
    kIndexB64a = 18,  ///< 18 high, 19 standard definition; 20 and 21 with alpha
    kIndexR4fl = 22,  ///< 23 with alpha
    kIndex2vuy = 24,  ///< 25 with alpha
    kPixelFormatCount = 26,
};

/// The packed layouts that the row callbacks store and read.
enum class PackedLayout { k2vuy, kV408, kR408, kR4fl };
constexpr int kPackedLayouts = 4;

/// What a row of the table requires of one property of a frame.
enum class Condition : signed char { kNo, kYes, kAny };

/// The meaning of an index. A frame's index is the first row whose conditions it meets.
struct PixelFormatRow {
    DWORD fourcc;
    WORD bitCount;       ///< 0: any
    LONG bytesPerPixel;  ///< as reported to the engines
    Condition highDefinition;
    Condition studioRange;  ///< the codec's color_space is not 0
    Condition alphaAsked;   ///< by the caller
    Condition streamAlpha;  ///< the compressed stream carries alpha
    std::optional<PackedLayout> packed;
};

constexpr std::array<PixelFormatRow, kPixelFormatCount> kPixelFormats = [] {
    using Packed = PackedLayout;
    constexpr Condition no = Condition::kNo, yes = Condition::kYes, any = Condition::kAny;
    return std::array<PixelFormatRow, kPixelFormatCount>{{
        // fourcc, bits, bytes, HD, studio range, alpha asked, stream alpha, packed
        {FourCC("YUY2"), 0, 2, any, any, any, any, {}},
        {BI_RGB, 24, 3, yes, no, any, any, {}},
        {BI_RGB, 24, 3, yes, yes, any, any, {}},
        {BI_RGB, 24, 3, no, no, any, any, {}},
        {BI_RGB, 24, 3, no, yes, any, any, {}},
        {BI_RGB, 32, 4, yes, no, no, any, {}},
        {BI_RGB, 32, 4, yes, yes, no, any, {}},
        {BI_RGB, 32, 4, no, no, no, any, {}},
        {BI_RGB, 32, 4, no, yes, no, any, {}},
        {BI_RGB, 32, 4, yes, no, yes, any, {}},
        {BI_RGB, 32, 4, yes, yes, yes, any, {}},
        {BI_RGB, 32, 4, no, no, yes, any, {}},
        {BI_RGB, 32, 4, no, yes, yes, any, {}},
        {FourCC("v210"), 0, 2, any, any, any, any, {}},
        {FourCC("v408"), 0, 4, any, any, any, no, Packed::kV408},
        {FourCC("v408"), 0, 4, any, any, any, yes, Packed::kV408},
        {FourCC("r408"), 0, 4, any, any, any, no, Packed::kR408},
        {FourCC("r408"), 0, 4, any, any, any, yes, Packed::kR408},
        {FourCC("b64a"), 0, 8, yes, any, any, no, {}},
        {FourCC("b64a"), 0, 8, no, any, any, no, {}},
        {FourCC("b64a"), 0, 8, yes, any, any, yes, {}},
        {FourCC("b64a"), 0, 8, no, any, any, yes, {}},
        {FourCC("r4fl"), 0, 16, any, any, any, no, Packed::kR4fl},
        {FourCC("r4fl"), 0, 16, any, any, any, yes, Packed::kR4fl},
        {FourCC("2vuy"), 0, 2, any, any, any, no, Packed::k2vuy},
        {FourCC("2vuy"), 0, 2, any, any, any, yes, Packed::k2vuy},
    }};
}();

/// Whether the layout of an index has a channel that keeps the stream's alpha; "2vuy" has none.
constexpr bool KeepsAlpha(int index) {
    const PixelFormatRow& row = kPixelFormats[static_cast<std::size_t>(index)];
    return row.streamAlpha == Condition::kYes && row.packed != PackedLayout::k2vuy;
}

/// An uncompressed picture as a codec or an engine walks it.
struct SurfaceFormat {
    int index = 0;           ///< PixelFormatIndex
    LONG bytesPerPixel = 0;  ///< as reported to the engines
    BYTE* data = nullptr;    ///< first byte of the first row in processing order; not owned
    LONG stride = 0;         ///< bytes from row to row in processing order, negative for bottom-up
    LONG width = 0;          ///< pixels
    LONG height = 0;         ///< rows, positive
};

/// The input of DescribeSurface.
struct SurfaceRequest {
    const BITMAPINFOHEADER* uncompressed = nullptr;
    LONG compressedWidth = 0;     ///< with the uncompressed height: high or standard definition
    bool streamAlpha = false;     ///< the compressed stream carries alpha
    bool alphaRequested = false;  ///< the caller's alpha flag
    LONG colorSpace = 0;          ///< ICodec::GetColorSpace
    void* data = nullptr;         ///< start of the buffer, not owned
    LONG stride = 0;              ///< the caller's stride in bytes; 0: computed
};

/// Forms index and geometry. RGB with no caller stride is bottom-up for a positive height (the
/// start moves to the last row, the stride is negated) and top-down for a negative one; the FourCC
/// formats and a caller's stride are used unchanged. `E_FAIL` when the format has no index,
/// its width is negative or its sizes do not fit 32 bits.
[[nodiscard]] HRESULT DescribeSurface(const SurfaceRequest& request, SurfaceFormat* surface);

/// True when the header names a layout of the table, whatever its size.
bool HasPixelFormatIndex(const BITMAPINFOHEADER& uncompressed);

/// High definition: at least 960 by 720 in absolute values.
bool IsHighDefinition(LONG width, LONG height);

/// Bytes that a picture with this header takes in memory: rows of bytes per pixel times width with
/// no padding, as every buffer here is laid out; 0 for formats without an index.
std::uint64_t SurfaceSize(const BITMAPINFOHEADER& uncompressed);

/// The colour flags with which a picture of this size and codec setting is converted.
struct ConversionFlags {
    DWORD yuv;  ///< YuvColourFlags
    DWORD rgb;  ///< matrix code 0 to 3, whose bit 0 is RgbColourFlags
};
ConversionFlags ConversionFlagsFor(LONG compressedWidth, LONG uncompressedHeight, LONG colorSpace);

}  // namespace nyx
