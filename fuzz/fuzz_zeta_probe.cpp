/// Zeta and Zeta2 frames against an engine that reports any length and kind, or faults: a frame
/// reaches the decoder only with a length that its bytes bear out, and nothing but the picture is
/// written.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "codecs/frame_chunks.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "fuzz/byte_source.h"
#include "fuzz/hostile_engine.h"
#include "platform/fourcc.h"

namespace {

using nyx::fuzz::ByteSource;
using nyx::fuzz::engineScript;
using nyx::fuzz::Require;

constexpr BYTE kUntouched = 0xA5;
constexpr std::uint64_t kMostBytes = 1 << 20;

constexpr DWORD kLayouts[] = {BI_RGB,
                              BI_RGB,
                              nyx::FourCC("YUY2"),
                              nyx::FourCC("v408"),
                              nyx::FourCC("b64a"),
                              nyx::FourCC("r4fl"),
                              nyx::FourCC("2vuy")};

BITMAPINFOHEADER PictureHeader(ByteSource& source) {
    BITMAPINFOHEADER header = nyx::fuzz::AnyHeader(source, kLayouts, std::size(kLayouts));
    if (source.ConsumeProbability<float>() < 0.9f) {
        header.biWidth = source.ConsumeIntegralInRange<LONG>(0, 64);
        header.biHeight = source.ConsumeIntegralInRange<LONG>(-16, 16);
        header.biBitCount = source.ConsumeBool() ? 24 : 32;
    }
    return header;
}

/// A header of the stream that mostly fits the picture.
BITMAPINFOHEADER StreamHeader(ByteSource& source, const BITMAPINFOHEADER& picture) {
    BITMAPINFOHEADER header = nyx::fuzz::AnyHeader(source, kLayouts, std::size(kLayouts));
    if (source.ConsumeProbability<float>() < 0.9f) {
        header.biWidth = picture.biWidth;
        header.biHeight = picture.biHeight == INT32_MIN ? 0 : std::abs(picture.biHeight);
    }
    return header;
}

/// A tag that the codecs know, or none.
void PutTag(ByteSource& source, std::vector<BYTE>& frame) {
    constexpr const char* kTags[] = {"", "ZCF", "ZTA1"};
    const char* tag = source.PickValueInArray(kTags);
    frame.insert(frame.begin(), tag, tag + std::strlen(tag));
}

template <class Codec>
void Decode(ByteSource& source) {
    const BITMAPINFOHEADER picture = PictureHeader(source);
    BITMAPINFOHEADER stream = StreamHeader(source, picture);
    const bool alpha = source.ConsumeBool();
    const auto alphaMode = source.ConsumeIntegralInRange<DWORD>(0, 2);
    engineScript = {};
    engineScript.codedLength = static_cast<DWORD>(nyx::fuzz::AnyLong(source));
    engineScript.alphaKind = source.ConsumeIntegralInRange<LONG>(-1, 4);
    engineScript.throwsInProbe = source.ConsumeProbability<float>() < 0.1f;
    engineScript.throwsInDecode = source.ConsumeProbability<float>() < 0.1f;
    engineScript.width = stream.biWidth;
    engineScript.height = stream.biHeight;

    std::vector<BYTE> bytes;
    const bool tagged = source.ConsumeBool();
    if (tagged) {
        PutTag(source, bytes);
    }
    const std::vector<BYTE> rest = source.ConsumeRemainingBytes<BYTE>();
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    bytes.shrink_to_fit();
    stream.biSizeImage = static_cast<DWORD>(bytes.size());
    engineScript.frame = nyx::SkipInfoChunk(nyx::ByteSpan(bytes.data(), bytes.size()));

    const std::uint64_t size = nyx::SurfaceSize(picture);
    if (size > kMostBytes) {
        return;
    }
    std::vector<BYTE> room(std::max<std::size_t>(static_cast<std::size_t>(size), 1), kUntouched);
    Codec codec;
    const HRESULT result = codec.Decompress(&stream, bytes.empty() ? nullptr : bytes.data(),
                                            &picture, alpha, room.data(), 0, alphaMode);
    const int calls = nyx::fuzz::TakeDecodeCalls();
    Require(calls <= 1);
    if (calls == 1) {
        Require(engineScript.codedLength <= engineScript.frame.size());
        Require(SUCCEEDED(result) == !engineScript.throwsInDecode);
    } else {
        Require(FAILED(result) &&
                std::all_of(room.begin(), room.end(), [](BYTE b) { return b == kUntouched; }));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource source(data, size);
    if (source.ConsumeBool()) {
        Decode<nyx::CZetaCodec>(source);
    } else {
        Decode<nyx::CZeta2Codec>(source);
    }
    return 0;
}
