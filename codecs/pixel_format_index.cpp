#include "codecs/pixel_format_index.h"

#include <limits>

#include "convert/convert.h"
#include "platform/fourcc.h"

namespace nyx {
namespace {

/// How a layout's index depends on the stream: index = base + the terms that apply.
struct LayoutRow {
    DWORD fourcc;
    int bitCount;  // 0: any
    LONG bytesPerPixel;
    int base;
    int studioRange;         // added when the codec's color_space is not 0
    int standardDefinition;  // added below high definition
    int streamAlpha;         // added when the stream carries alpha
    int alphaRequested;      // added when the caller asks for alpha
};

constexpr LayoutRow kLayouts[] = {
    // fourcc         bits bytes  base          studio  SD  stream alpha  asked alpha
    {FourCC("YUY2"), 0, 2, kIndexYuy2, 0, 0, 0, 0},
    {BI_RGB, 24, 3, kIndexRgb24, 1, 2, 0, 0},
    {BI_RGB, 32, 4, kIndexRgb32, 1, 2, 0, kIndexArgb32 - kIndexRgb32},
    {FourCC("v210"), 0, 2, kIndexV210, 0, 0, 0, 0},
    {FourCC("v408"), 0, 4, kIndexV408, 0, 0, 1, 0},
    {FourCC("r408"), 0, 4, kIndexR408, 0, 0, 1, 0},
    {FourCC("b64a"), 0, 8, kIndexB64a, 0, 1, 2, 0},
    {FourCC("r4fl"), 0, 16, kIndexR4fl, 0, 0, 1, 0},
    {FourCC("2vuy"), 0, 2, kIndex2vuy, 0, 0, 1, 0},
};

const LayoutRow* FindLayout(const BITMAPINFOHEADER& header) {
    for (const LayoutRow& row : kLayouts) {
        if (row.fourcc == header.biCompression &&
            (row.bitCount == 0 || row.bitCount == header.biBitCount)) {
            return &row;
        }
    }
    return nullptr;
}

std::int64_t Absolute(LONG value) {
    return value < 0 ? -std::int64_t{value} : value;
}

bool FitsLong(std::int64_t value) {
    return value >= std::numeric_limits<LONG>::min() && value <= std::numeric_limits<LONG>::max();
}

}  // namespace

bool IsHighDefinition(LONG width, LONG height) {
    return Absolute(width) >= 960 && Absolute(height) >= 720;
}

HRESULT DescribeSurface(const SurfaceRequest& request, SurfaceFormat* surface) {
    const BITMAPINFOHEADER& header = *request.uncompressed;
    const LayoutRow* layout = FindLayout(header);
    if (!layout || header.biWidth < 0) {
        return E_FAIL;
    }

    const std::int64_t height = Absolute(header.biHeight);
    const std::int64_t stride = request.stride != 0
                                    ? std::int64_t{request.stride}
                                    : std::int64_t{layout->bytesPerPixel} * header.biWidth;
    // Two 32-bit factors: their product fits 64 bits.
    if (!FitsLong(height) || !FitsLong(stride) || !FitsLong((height - 1) * stride)) {
        return E_FAIL;
    }

    const bool highDefinition = IsHighDefinition(request.compressedWidth, header.biHeight);
    surface->index = layout->base + (request.colorSpace != 0 ? layout->studioRange : 0) +
                     (highDefinition ? 0 : layout->standardDefinition) +
                     (request.streamAlpha ? layout->streamAlpha : 0) +
                     (request.alphaRequested ? layout->alphaRequested : 0);
    surface->bytesPerPixel = layout->bytesPerPixel;
    surface->data = static_cast<BYTE*>(request.data);
    surface->stride = static_cast<LONG>(stride);
    surface->width = header.biWidth;
    surface->height = static_cast<LONG>(height);

    const bool bottomUp =
        header.biCompression == BI_RGB && request.stride == 0 && header.biHeight > 0;
    if (bottomUp) {
        surface->data += (height - 1) * stride;
        surface->stride = -surface->stride;
    }
    return S_OK;
}

std::uint64_t SurfaceSize(const BITMAPINFOHEADER& uncompressed) {
    const LayoutRow* layout = FindLayout(uncompressed);
    if (!layout || uncompressed.biWidth < 0) {
        return 0;
    }
    // At most 2^31 * 2^31 * 16 would not fit: saturate, no buffer is that large.
    const std::uint64_t row = static_cast<std::uint64_t>(layout->bytesPerPixel) *
                              static_cast<std::uint64_t>(uncompressed.biWidth);
    const auto rows = static_cast<std::uint64_t>(Absolute(uncompressed.biHeight));
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    return row != 0 && rows > kMost / row ? kMost : row * rows;
}

ConversionFlags ConversionFlagsFor(LONG compressedWidth, LONG uncompressedHeight, LONG colorSpace) {
    const bool highDefinition = IsHighDefinition(compressedWidth, uncompressedHeight);
    const DWORD yuv = highDefinition ? kYuvBt709 : kYuvBt601;
    const DWORD range = colorSpace == 0 ? kRgbFullRange : kRgbStudioRange;
    return {yuv, yuv | range};
}

}  // namespace nyx
