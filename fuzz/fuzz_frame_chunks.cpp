/// The chunks in front of a frame: whatever their tags and sizes say, nothing outside the frame's
/// bytes is read, and what is found lies inside.

#include "codecs/frame_chunks.h"
#include "codecs/ten_bit_codec.h"
#include "fuzz/byte_source.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using nyx::fuzz::Require;
    const nyx::ByteSpan frame(data, size), coded = nyx::SkipInfoChunk(frame);
    const nyx::FrameChunks chunks(frame);
    const bool container = frame.Le32At(0) == nyx::FourCC("INFO");
    Require(coded.empty() || coded.data() + coded.size() == data + size);
    Require(coded.empty() || (container ? coded.data() >= data + 8 : coded.data() == data));

    // What the codecs' shared answer reports is what the chunks say.
    nyx::CTenBitCodec codec;
    const BITMAPINFOHEADER header = {40, 720, 576, 1, 0, 0, static_cast<DWORD>(size), 0, 0, 0, 0};
    nyx::FrameInfo info;
    const HRESULT result = codec.GetFrameInfo(&header, data, 400000, &info);
    const auto words = chunks.Info();
    const auto rdrt = chunks.Rdrt();
    Require(result == (words ? S_OK : S_FALSE));
    Require(info.fieldOrder >= nyx::kFieldOrderUnknown && info.fieldOrder <= nyx::kProgressive);
    Require(info.infoA == (words ? words->infoA : -1));
    Require(info.rdrtB == (rdrt ? rdrt->b : -1));
    return 0;
}
