/// The chunks in front of a frame: whatever their tags and sizes say, nothing outside the frame's
/// bytes is read, and what is found lies inside.

#include "codecs/frame_chunks.h"
#include "codecs/ten_bit_codec.h"
#include "fuzz/byte_source.h"
#include "platform/fourcc.h"

namespace {

using nyx::fuzz::Require;

/// A frame's coded part is its tail, and one with no container is coded from its first byte on.
void CheckSkip(nyx::ByteSpan frame) {
    const nyx::ByteSpan coded = nyx::SkipInfoChunk(frame);
    if (coded.empty()) {
        return;
    }
    Require(coded.data() >= frame.data() &&
            coded.data() + coded.size() == frame.data() + frame.size());
    const bool container = frame.Le32At(0) == nyx::FourCC("INFO");
    Require(container ? coded.data() >= frame.data() + 8 : coded.data() == frame.data());
}

/// What the codecs' shared answer reports is what the chunks say.
void CheckFrameInfo(nyx::ByteSpan frame, const nyx::FrameChunks& chunks) {
    static nyx::CTenBitCodec codec;
    BITMAPINFOHEADER header = {};
    header.biWidth = 720;
    header.biHeight = 576;
    header.biSizeImage = static_cast<DWORD>(frame.size());
    nyx::FrameInfo info;
    const HRESULT result = codec.GetFrameInfo(&header, frame.data(), 400000, &info);
    const auto words = chunks.Info();
    Require(result == (words ? S_OK : S_FALSE));
    Require(info.fieldOrder >= nyx::kFieldOrderUnknown && info.fieldOrder <= nyx::kProgressive);
    Require(info.infoA == (words ? words->infoA : -1));
    const auto rdrt = chunks.Rdrt();
    Require(info.rdrtB == (rdrt ? rdrt->b : -1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const nyx::ByteSpan frame(data, size);
    const nyx::FrameChunks chunks(frame);
    CheckSkip(frame);
    CheckFrameInfo(frame, chunks);
    return 0;
}
