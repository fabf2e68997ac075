/// Sizes and geometry for any header up to the 32-bit limits: no overflow, and a surface that is
/// described lies inside the bytes that its picture takes.

#include <cstdint>

#include "codecs/frame_size_tables.h"
#include "codecs/header_checks.h"
#include "codecs/pixel_format_index.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/ten_bit_rows.h"
#include "fuzz/byte_source.h"
#include "platform/fourcc.h"

namespace {

using nyx::fuzz::ByteSource;
using nyx::fuzz::Require;

constexpr DWORD kLayouts[] = {BI_RGB,
                              nyx::FourCC("YUY2"),
                              nyx::FourCC("v210"),
                              nyx::FourCC("v408"),
                              nyx::FourCC("r408"),
                              nyx::FourCC("b64a"),
                              nyx::FourCC("r4fl"),
                              nyx::FourCC("2vuy"),
                              nyx::FourCC("Q210")};

/// Every row of a surface inside the picture's bytes, in 64 bits and without the memory itself.
void CheckInside(const nyx::SurfaceFormat& surface, const BITMAPINFOHEADER& header, BYTE* base) {
    const auto size = static_cast<std::int64_t>(nyx::SurfaceSize(header));
    const std::int64_t first = surface.data - base;
    const std::int64_t last = first + std::int64_t{surface.stride} * (surface.height - 1);
    const std::int64_t row = std::int64_t{surface.width} * surface.bytesPerPixel;
    Require(first >= 0 && first + row <= size);
    Require(last >= 0 && last + row <= size);
}

void Describe(ByteSource& source, const BITMAPINFOHEADER& header) {
    // No memory is touched: in 32 bits too, the address leaves room for any distance that fits.
    static BYTE anywhere[1];
    const nyx::SurfaceRequest request = {&header,
                                         nyx::fuzz::AnyLong(source),
                                         source.ConsumeBool(),
                                         source.ConsumeBool(),
                                         source.ConsumeIntegral<LONG>(),
                                         anywhere,
                                         source.ConsumeBool() ? 0 : nyx::fuzz::AnyLong(source)};
    nyx::SurfaceFormat surface = {};
    if (FAILED(nyx::DescribeSurface(request, &surface))) {
        return;
    }
    Require(surface.index >= 0 && surface.index < nyx::kPixelFormatCount && surface.height >= 0);
    Require(surface.width >= 0);
    if (request.stride == 0 && surface.height > 0) {
        CheckInside(surface, header, anywhere);
    }
}

void AskCodec(const BITMAPINFOHEADER& input, const BITMAPINFOHEADER& output, bool alpha) {
    nyx::CTenBitCodec codec;
    if (codec.DecompressQuery(&input, &output, alpha) == S_OK) {
        Require(input.biWidth > 0 && input.biWidth <= output.biWidth && input.biHeight > 0);
    }
    codec.CompressQuery(&input, alpha, &output);
    const DWORD most = codec.GetMaxCompressedSize(&input, alpha);
    if (most != 0) {
        const nyx::TenBitRowLayout layout = nyx::TenBitRowLayoutFor(input.biWidth);
        const std::int64_t frame =
            static_cast<std::int64_t>(layout.stride) * nyx::AbsoluteHeight(input);
        Require(most == frame + nyx::kChunkMargin && frame < std::int64_t{1} << 31);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource source(data, size);
    const BITMAPINFOHEADER input = nyx::fuzz::AnyHeader(source, kLayouts, std::size(kLayouts));
    const BITMAPINFOHEADER output = nyx::fuzz::AnyHeader(source, kLayouts, std::size(kLayouts));
    Describe(source, input);
    Describe(source, output);
    AskCodec(input, output, source.ConsumeBool());
    nyx::ConversionFlagsFor(input.biWidth, output.biHeight, 0);
    nyx::DefaultFieldOrder(input.biWidth, input.biHeight, source.ConsumeIntegral<REFERENCE_TIME>());
    nyx::DefaultPixelAspect(input.biWidth, input.biHeight);
    return 0;
}
