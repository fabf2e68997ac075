// Makes a thumbnail of any file in memory, as the shell does of files that nobody opens: whatever
// it is made of, the picture has the size asked for.

#include <cstring>

#include "codecs/ten_bit_codec.h"
#include "fuzz/byte_source.h"
#include "shell/thumbnail_picture.h"
#include "tests/support/memory_source.h"

namespace {

/// Decodes 10-bit frames; the codecs that need an engine, which is a Windows library, are replaced
/// by pixels that show the frame's bytes.
HRESULT Decode(const nyx::source::VideoFormat& format, nyx::ByteSpan frame, BYTE* pixels) {
    const BITMAPINFOHEADER coded = {.biSize = 40,
                                    .biWidth = format.width,
                                    .biHeight = format.height,
                                    .biPlanes = 1,
                                    .biBitCount = format.bitCount,
                                    .biCompression = format.fourcc,
                                    .biSizeImage = static_cast<DWORD>(frame.size())};
    BITMAPINFOHEADER decoded = coded;
    decoded.biHeight = -format.height;
    decoded.biBitCount = 24;
    decoded.biCompression = BI_RGB;
    if (format.fourcc == nyx::FourCC("Q210")) {
        return nyx::CTenBitCodec().Decompress(&coded, frame.data(), &decoded, false, pixels, 0, 0);
    }
    const auto bytes =
        static_cast<std::size_t>(format.width) * static_cast<std::size_t>(format.height) * 3;
    for (std::size_t i = 0; i < bytes; ++i) {
        pixels[i] = frame.data()[i % frame.size()];
    }
    return S_OK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    struct {
        std::uint16_t side, bad;  // pixels; a place in KiB
    } steering{};
    const std::size_t steered = std::min(size, sizeof(steering));
    std::memcpy(&steering, data + (size -= steered), steered);
    const LONG side = steering.side % 400;
    nyx::shell::Picture picture;
    const HRESULT made =
        nyx::shell::MakeThumbnail(std::make_unique<nyx::test::MemorySource>(
                                      nyx::BytesAt(data, size), steering.bad * 1024 - 1),
                                  side, Decode, &picture);
    const auto bytes = std::int64_t{4} * picture.width * picture.height;
    nyx::fuzz::Require(FAILED(made) || std::max(picture.width, picture.height) == side);
    nyx::fuzz::Require(FAILED(made) || std::min(picture.width, picture.height) > 0);
    nyx::fuzz::Require(static_cast<std::int64_t>(picture.pixels.size()) == bytes);
    return 0;
}
