#pragma once

/// @file
/// A codec's formats as data: the uncompressed formats for each compressed bit count, and the
/// picture sizes. The queries of all such codecs are the two functions below.

#include <cstdint>
#include <span>

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

/// The caller's alpha flag for which a pair is allowed.
enum class AlphaFlag { kAny, kMustBeSet, kMustBeClear };

/// One allowed pair.
struct FormatPair {
    WORD streamBits;  ///< `biBitCount` of the compressed side
    DWORD fourcc;     ///< `biCompression` of the uncompressed side
    WORD bitCount;    ///< `biBitCount` of the uncompressed side
    AlphaFlag alpha;
};

/// One codec's formats. Borrows static arrays of pairs.
struct CodecFormats {
    DWORD fourcc;
    bool (*acceptsSize)(std::int64_t width, std::int64_t height);
    std::span<const FormatPair> decode;
    std::span<const FormatPair> encode;
};

/// The pairs of the codecs that carry alpha: 24-bit streams hold opaque pictures, 32-bit streams
/// pictures with alpha, which go to RGB 32-bit only.
constexpr FormatPair kAlphaDecodePairs[] = {
    {24, BI_RGB, 24, AlphaFlag::kAny},
    {24, BI_RGB, 32, AlphaFlag::kMustBeClear},
    {24, FourCC("YUY2"), 16, AlphaFlag::kAny},
    {32, BI_RGB, 32, AlphaFlag::kAny},
};
constexpr FormatPair kAlphaEncodePairs[] = {
    {24, BI_RGB, 24, AlphaFlag::kAny},
    {32, BI_RGB, 32, AlphaFlag::kMustBeSet},
    {24, FourCC("YUY2"), 16, AlphaFlag::kAny},
};

/// The pairs of the decoders without alpha.
constexpr FormatPair kOpaqueDecodePairs[] = {
    {24, BI_RGB, 24, AlphaFlag::kMustBeClear},
    {24, BI_RGB, 32, AlphaFlag::kMustBeClear},
    {24, FourCC("YUY2"), 16, AlphaFlag::kMustBeClear},
};

/// ICodec::DecompressQuery by these rules: the size is the input's as stored; an output must be at
/// least as wide as the input and of the same absolute height.
[[nodiscard]] HRESULT CheckDecodeFormats(const CodecFormats& formats, const BITMAPINFOHEADER* input,
                                         const BITMAPINFOHEADER* output, bool alphaOut);

/// ICodec::CompressQuery by these rules: the size is the input's width and absolute height; an
/// output must have exactly that size, its height positive.
[[nodiscard]] HRESULT CheckEncodeFormats(const CodecFormats& formats, const BITMAPINFOHEADER* input,
                                         bool alphaInput, const BITMAPINFOHEADER* output);

}  // namespace nyx
