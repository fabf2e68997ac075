// Makes a thumbnail of any file in memory, as the shell does of files that nobody opens: whatever
// it is made of, the picture has the size asked for.

#include <cstring>

#include "fuzz/byte_source.h"
#include "shell/thumbnail_picture.h"
#include "tests/support/memory_source.h"

/// In place of the engines, which are Windows' libraries: pixels that show the frame's bytes.
static HRESULT Decode(const nyx::source::VideoFormat& format, nyx::ByteSpan frame, BYTE* pixels) {
    for (LONG i = 0; i < format.width * format.height * 3; ++i) {
        pixels[i] = frame.data()[static_cast<std::size_t>(i) % frame.size()];
    }
    return S_OK;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::uint16_t steering[2] = {};  // the size, in pixels; a place that cannot be read, in KiB
    const std::size_t steered = std::min(size, sizeof(steering));
    std::memcpy(steering, data + (size -= steered), steered);
    const LONG side = steering[0] % 400;
    nyx::shell::Picture picture;
    const bool made = SUCCEEDED(nyx::shell::MakeThumbnail(
        std::make_unique<nyx::test::MemorySource>(nyx::BytesAt(data, size), steering[1] * 1024 - 1),
        side, Decode, &picture));
    nyx::fuzz::Require(!made || std::max(picture.width, picture.height) == side);
    nyx::fuzz::Require(picture.pixels.size() ==
                       std::size_t{4} * static_cast<std::size_t>(picture.width * picture.height));
    return 0;
}
