#include "codecs/pixel_format_index.h"

#include <algorithm>
#include <limits>

#include "convert/convert.h"

namespace nyx {
namespace {

bool Matches(Condition term, bool is) {
    return term == Condition::kAny || (term == Condition::kYes) == is;
}

bool IsLayoutOf(const PixelFormatRow& row, const BITMAPINFOHEADER& header) {
    return row.fourcc == header.biCompression &&
           (row.bitCount == 0 || row.bitCount == header.biBitCount);
}

/// Any row of the header's layout, which all take the same bytes per pixel; null for none.
const PixelFormatRow* FindLayout(const BITMAPINFOHEADER& header) {
    const auto* row = std::find_if(kPixelFormats.begin(), kPixelFormats.end(),
                                   [&](const PixelFormatRow& r) { return IsLayoutOf(r, header); });
    return row == kPixelFormats.end() ? nullptr : row;
}

int IndexOf(const SurfaceRequest& request) {
    const BITMAPINFOHEADER& header = *request.uncompressed;
    const bool highDefinition = IsHighDefinition(request.compressedWidth, header.biHeight);
    const auto* row =
        std::find_if(kPixelFormats.begin(), kPixelFormats.end(), [&](const PixelFormatRow& r) {
            return IsLayoutOf(r, header) && Matches(r.highDefinition, highDefinition) &&
                   Matches(r.studioRange, request.colorSpace != 0) &&
                   Matches(r.alphaAsked, request.alphaRequested) &&
                   Matches(r.streamAlpha, request.streamAlpha);
        });
    return static_cast<int>(row - kPixelFormats.begin());
}

std::int64_t Absolute(LONG value) {
    return value < 0 ? -std::int64_t{value} : value;
}

bool FitsLong(std::int64_t value) {
    return value >= std::numeric_limits<LONG>::min() && value <= std::numeric_limits<LONG>::max();
}

}  // namespace

bool HasPixelFormatIndex(const BITMAPINFOHEADER& uncompressed) {
    return FindLayout(uncompressed) != nullptr;
}

bool IsHighDefinition(LONG width, LONG height) {
    return Absolute(width) >= 960 && Absolute(height) >= 720;
}

HRESULT DescribeSurface(const SurfaceRequest& request, SurfaceFormat* surface) {
    const BITMAPINFOHEADER& header = *request.uncompressed;
    const PixelFormatRow* layout = FindLayout(header);
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

    surface->index = IndexOf(request);
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
    const PixelFormatRow* layout = FindLayout(uncompressed);
    if (!layout || uncompressed.biWidth < 0) {
        return 0;
    }
    // At most 2^31 * 2^31 * 16 would not fit: saturate, no buffer is that large.
    const std::uint64_t row = static_cast<std::uint64_t>(layout->bytesPerPixel) *
                              static_cast<std::uint64_t>(uncompressed.biWidth);
    const auto rows = static_cast<std::uint64_t>(Absolute(uncompressed.biHeight));
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    return row != 0 && rows > kMax / row ? kMax : row * rows;
}

ConversionFlags ConversionFlagsFor(LONG compressedWidth, LONG uncompressedHeight, LONG colorSpace) {
    const bool highDefinition = IsHighDefinition(compressedWidth, uncompressedHeight);
    const DWORD yuv = highDefinition ? kYuvBt709 : kYuvBt601;
    const DWORD range = colorSpace == 0 ? kRgbFullRange : kRgbStudioRange;
    return {yuv, yuv | range};
}

}  // namespace nyx
