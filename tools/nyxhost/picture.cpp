#include "picture.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "failure.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

void StoreRgbRow(const BYTE* row, UINT width, UINT from, UINT to, BYTE* out) {
    for (UINT x = 0; x < width; ++x) {
        std::copy_n(row + from * x, to, out + to * x);
    }
}

// Rows of 24-bit RGB are DWORD-aligned by convention, but some decoders pack them; the sample's
// size decides.
std::size_t StrideOf(const PictureFormat& format, UINT width, UINT height, std::size_t size) {
    const std::size_t packed = std::size_t{width} * format.bits / 8;
    const std::size_t aligned = (packed + 3) & ~std::size_t{3};
    if (size / height < packed) {
        throw Failure(ExitCode::kDecode, Format("a %ux%u %s picture has only %zu bytes", width,
                                                height, format.name, size));
    }
    return size / height >= aligned ? aligned : packed;
}

}  // namespace

Picture MakePicture(const MediaType& type, const BYTE* data, std::size_t size) {
    const PictureFormat* format = FindPictureFormat(type.subtype);
    if (format == nullptr || format->compression != BI_RGB || !type.HasPicture() ||
        type.Header().biWidth <= 0 || type.Header().biHeight == 0 ||
        type.Header().biHeight == LONG_MIN) {
        throw Failure(ExitCode::kPlatform, "the decoder delivers an unknown picture type");
    }
    Picture picture;
    picture.width = static_cast<UINT>(type.Header().biWidth);
    picture.height = static_cast<UINT>(std::abs(type.Header().biHeight));
    picture.hasAlpha = format->subtype == &MEDIASUBTYPE_ARGB32;
    const std::size_t stride = StrideOf(*format, picture.width, picture.height, size);
    const std::size_t outStride = std::size_t{picture.width} * picture.BytesPerPixel();
    picture.pixels.resize(outStride * picture.height);
    for (UINT y = 0; y < picture.height; ++y) {
        const UINT row = type.Header().biHeight > 0 ? picture.height - 1 - y : y;
        StoreRgbRow(data + stride * row, picture.width, format->bits / 8u, picture.BytesPerPixel(),
                    picture.pixels.data() + outStride * y);
    }
    return picture;
}

UINT SquareWidth(const MediaType& type) {
    constexpr std::uint64_t kMaxStretch = 8;  // beyond it the aspect is a mistake
    const auto coded = static_cast<UINT>(type.Header().biWidth);
    if (type.formattype != FORMAT_VideoInfo2 || type.Info2().dwPictAspectRatioY == 0) {
        return coded;
    }
    const auto height = static_cast<std::uint64_t>(std::abs(type.Header().biHeight));
    const std::uint64_t x = type.Info2().dwPictAspectRatioX;
    const std::uint64_t y = type.Info2().dwPictAspectRatioY;
    const std::uint64_t width = (x * height + y / 2) / y;
    return width == 0 || width > coded * kMaxStretch ? coded : static_cast<UINT>(width);
}

}  // namespace nyx::host
