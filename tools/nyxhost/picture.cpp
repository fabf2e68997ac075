#include "picture.h"

#include <algorithm>
#include <cstdlib>

#include "failure.h"
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

}  // namespace nyx::host
