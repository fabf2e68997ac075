/// The 10-bit codec both ways, the chunks in front of a frame and the geometry of pictures, with
/// headers up to the 32-bit limits, strides and lengths that need not fit each other: nothing
/// outside the frame is read, only the described picture is written, and a refused frame leaves it
/// untouched.

#include <algorithm>
#include <vector>

#include "codecs/frame_chunks.h"
#include "codecs/pixel_format_index.h"
#include "codecs/ten_bit_codec.h"
#include "fuzz/byte_source.h"

namespace {

using nyx::FourCC;
using nyx::fuzz::ByteSource;
using nyx::fuzz::Require;

constexpr BYTE kUntouched = 0xA5;

/// A header whose fields come from the fuzzer, more often a valid one of a small picture.
BITMAPINFOHEADER AnyHeader(ByteSource& source) {
    constexpr std::pair<DWORD, WORD> kLayouts[] = {
        {FourCC("YUY2"), 16}, {BI_RGB, 24},         {BI_RGB, 32},         {FourCC("Q210"), 20},
        {FourCC("v210"), 20}, {FourCC("v408"), 32}, {FourCC("b64a"), 64}, {FourCC("r4fl"), 128}};
    const auto [compression, bits] = source.PickValueInArray(kLayouts);
    BITMAPINFOHEADER header = {40, 0, 0, 1, bits, compression, 0, 0, 0, 0, 0};
    header.biWidth = source.ConsumeIntegralInRange<LONG>(0, 200);
    header.biHeight = source.ConsumeIntegralInRange<LONG>(-20, 20);
    if (source.ConsumeProbability<float>() < 0.2f) {
        const std::vector<BYTE> any = source.ConsumeBytes<BYTE>(16);  // up to the bit count
        std::copy(any.begin(), any.end(), reinterpret_cast<BYTE*>(&header));
    }
    return header;
}

/// A surface without a caller's stride is inside the bytes of its picture.
void CheckGeometry(ByteSource& source, const BITMAPINFOHEADER& header) {
    static BYTE anywhere[1];  // no memory is touched
    const LONG stride = source.ConsumeBool() ? 0 : source.ConsumeIntegral<LONG>();
    nyx::SurfaceFormat surface = {};
    const HRESULT result = nyx::DescribeSurface({.uncompressed = &header,
                                                 .compressedWidth = source.ConsumeIntegral<LONG>(),
                                                 .streamAlpha = source.ConsumeBool(),
                                                 .alphaRequested = source.ConsumeBool(),
                                                 .colorSpace = source.ConsumeIntegral<LONG>(),
                                                 .data = anywhere,
                                                 .stride = stride},
                                                &surface);
    if (FAILED(result) || stride != 0 || surface.height == 0) {
        return;
    }
    Require(surface.index >= 0 && surface.index < nyx::kPixelFormatCount && surface.width >= 0);
    const auto size = static_cast<std::int64_t>(nyx::SurfaceSize(header));
    const std::int64_t first = surface.data - anywhere;
    const std::int64_t last = first + std::int64_t{surface.stride} * (surface.height - 1);
    const std::int64_t max = size - std::int64_t{surface.width} * surface.bytesPerPixel;
    Require(first >= 0 && first <= max && last >= 0 && last <= max);
}

/// The coded part of a frame ends with it, and the codec reports the values of the chunks.
void CheckChunks(nyx::CTenBitCodec& codec, const BITMAPINFOHEADER& header,
                 const std::vector<BYTE>& bytes) {
    const nyx::ByteSpan frame = bytes, coded = nyx::SkipInfoChunk(frame);
    Require(coded.empty() || coded.data() + coded.size() == frame.data() + frame.size());
    nyx::FrameInfo info;
    const bool hasChunk = codec.GetFrameInfo(&header, bytes.data(), 400000, &info) == S_OK;
    nyx::FrameInfo words;
    Require(hasChunk == nyx::ReadFrameChunks(frame, &words) && info.infoA == words.infoA);
    Require(info.fieldOrder >= nyx::kTopFieldFirst && info.fieldOrder <= nyx::kProgressive);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource source(data, size);
    nyx::CTenBitCodec codec;
    const BITMAPINFOHEADER picture = AnyHeader(source);
    BITMAPINFOHEADER stream = AnyHeader(source);
    CheckGeometry(source, picture);
    CheckGeometry(source, stream);
    if (source.ConsumeProbability<float>() < 0.9f) {
        stream.biBitCount = 20;
        stream.biCompression = FourCC("Q210");
        stream.biWidth =
            picture.biWidth - 2 * source.ConsumeIntegralInRange<LONG>(0, 3) * (picture.biWidth > 6);
        stream.biHeight =
            picture.biHeight > 0 ? picture.biHeight : LONG(0u - DWORD(picture.biHeight));
    }
    const DWORD most = codec.GetMaxCompressedSize(&picture, false);
    const std::uint64_t pictureSize = nyx::SurfaceSize(picture);
    if (pictureSize == 0 || pictureSize > 1 << 20) {
        return 0;
    }
    // Memory for exactly the picture, its rows a gap apart if the caller has a stride.
    const LONG height = picture.biHeight < 0 ? -picture.biHeight : picture.biHeight;
    const LONG row = static_cast<LONG>(pictureSize) / height;
    const bool decode = source.ConsumeBool(), bottomUp = source.ConsumeBool();
    const LONG gap =
        decode && source.ConsumeBool() ? source.ConsumeIntegralInRange<LONG>(1, 40) : 0;
    std::vector<BYTE> room(static_cast<std::size_t>((row + gap) * (height - 1) + row), kUntouched);
    const LONG apart = gap == 0 ? 0 : row + gap;
    const LONG stride = bottomUp ? -apart : apart;
    BYTE* start = room.data() + (stride < 0 ? (row + gap) * (height - 1) : 0);
    const bool alpha = source.ConsumeProbability<float>() < 0.1f;
    if (decode) {
        const std::vector<BYTE> frame = source.ConsumeRemainingBytes<BYTE>();
        stream.biSizeImage = static_cast<DWORD>(frame.size());
        CheckChunks(codec, stream, frame);
        const HRESULT result =
            codec.Decompress(&stream, frame.data(), &picture, alpha, start, stride, 0);
        Require(FAILED(result)
                    ? std::all_of(room.begin(), room.end(), [](BYTE b) { return b == kUntouched; })
                    : codec.DecompressQuery(&stream, &picture, alpha) == S_OK);
    } else {
        source.ConsumeData(room.data(), room.size());
        std::vector<BYTE> coded(most > 0 ? most - nyx::kChunkMargin : 1);
        const HRESULT result =
            codec.Compress(&picture, alpha, start, &stream, coded.data(), 0, 0, 0);
        // What was packed is a whole frame: it decodes again.
        stream = {sizeof(stream), picture.biWidth, height, 1, 20, FourCC("Q210"), 0, 0, 0, 0, 0};
        stream.biSizeImage = static_cast<DWORD>(coded.size());
        Require(FAILED(result) || codec.DecompressQuery(&stream, &picture, false) != S_OK ||
                codec.Decompress(&stream, coded.data(), &picture, false, start, 0, 0) == S_OK);
    }
    return 0;
}
