#pragma once

/// @file
/// The uncompressed side of a frame, formed in one place: codecs ask, none recomputes.

#include <cstdint>

#include "platform/win_types.h"

namespace nyx {

/// The one number by which every codec names an uncompressed layout. Where several numbers name one
/// layout they differ by matrix and range: see the table in pixel_format_index.cpp.
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

/// An uncompressed picture as a codec or an engine walks it.
struct SurfaceFormat {
    int index;           ///< PixelFormatIndex
    LONG bytesPerPixel;  ///< as reported to the engines
    BYTE* data;          ///< first byte of the first row in processing order; not owned
    LONG stride;         ///< bytes from row to row in processing order, negative for bottom-up
    LONG width;          ///< pixels
    LONG height;         ///< rows, positive
};

/// What decides index and geometry beside the uncompressed header.
struct SurfaceRequest {
    const BITMAPINFOHEADER* uncompressed;
    LONG compressedWidth;  ///< decides, with the uncompressed height, high or standard definition
    bool streamAlpha;      ///< the compressed stream carries alpha
    bool alphaRequested;   ///< the caller's alpha flag
    LONG colorSpace;       ///< ICodec::GetColorSpace
    void* data;            ///< start of the buffer, not owned
    LONG stride;           ///< the caller's stride in bytes, 0 to have it computed
};

/// Forms index and geometry. RGB with no caller stride is bottom-up for a positive height (the
/// start moves to the last row, the stride is negated) and top-down for a negative one; the FourCC
/// formats and a caller's stride are taken as they stand. `E_FAIL` when the format has no index,
/// its width is negative or its sizes do not fit 32 bits.
HRESULT DescribeSurface(const SurfaceRequest& request, SurfaceFormat* surface);

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
