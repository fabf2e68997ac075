#include "codecs/zeta2_codec.h"

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "codecs/header_checks.h"
#include "media/v210.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QZT2");
constexpr std::size_t kEngine = 0;

bool IsZeta2Size(std::int64_t width, std::int64_t height) {
    return width >= 2 && width % 2 == 0 && height >= 1;
}

constexpr CodecFormats kFormats = {kFourCC, &IsZeta2Size, kAlphaDecodePairs, kAlphaEncodePairs};

/// The engine's budget for one frame, in 32-bit arithmetic that wraps like the engine's own: a
/// "v210" picture its own size, others a percentage of 2.5 bytes per pixel and layer.
DWORD CapacityFor(const BITMAPINFOHEADER& input, bool alpha, LONG maxStreamSize) {
    const auto height = static_cast<DWORD>(AbsoluteHeight(input));
    if (input.biCompression == FourCC("v210")) {
        return static_cast<DWORD>(V210Stride(input.biWidth)) * height;
    }
    const DWORD layer = static_cast<DWORD>(input.biWidth) * height * 20 >> 3;
    return layer * (alpha ? 2u : 1u) * static_cast<DWORD>(maxStreamSize) / 100;
}

/// "v210" is reported with 2 bytes per pixel but takes 8/3: a computed stride is too short for it.
bool RowsFit(const SurfaceFormat& surface) {
    return surface.index != kIndexV210 || V210RowFits(surface.width, surface.stride);
}

Zeta2Plane PlaneOf(const SurfaceFormat& surface) {
    return {surface.data, surface.stride, 0};
}

}  // namespace

CZeta2Codec::CZeta2Codec() : CZeta2Codec(ReadEncoderParameters(kFourCC, kZeta2Quality)) {}

CZeta2Codec::CZeta2Codec(const EncoderParameters& parameters)
    : CEngineCodec(kFormats, parameters.color_space),
      quality_{parameters.quant_scale, parameters.max_stream_size},
      preset_(parameters.preset),
      engines_(zeta2Engines) {}

bool CZeta2Codec::IsEngineAvailable(LONG) {
    return zeta2Engines.IsComplete();
}

DWORD CZeta2Codec::GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) {
    return input ? CapacityFor(*input, alpha, quality_.max_stream_size) + kChunkMargin : 0;
}

EncoderParameters CZeta2Codec::GetParameters() {
    return {GetColorSpace(), quality_.quant_scale, quality_.max_stream_size, preset_};
}

std::optional<bool> CZeta2Codec::Probe(ByteSpan frame, const BITMAPINFOHEADER&) {
    if (frame.empty()) {
        return std::nullopt;
    }
    Zeta2DecodeRecord record = {};
    record.frame = frame.data();
    LONG ignored;
    const HRESULT result = CallEngine(&ignored, engines_[kEngine].Decode<ZetaEntry>(), &record);
    // As for the Zeta engines, any length within the bytes at hand is accepted, 0 too.
    if (FAILED(result) || record.codedLength > frame.size()) {
        return std::nullopt;
    }
    return record.alphaKind >= kZeta2FirstAlphaKind && record.alphaKind <= kZeta2LastAlphaKind;
}

HRESULT CZeta2Codec::DecodeFrame(const DecodeJob& job) {
    if (!RowsFit(job.surface)) {
        return E_FAIL;
    }
    const Zeta2Plane plane = PlaneOf(job.surface);
    Zeta2DecodeRecord record = {
        .command = kCommandZeta2,
        .plane = &plane,
        .pixelFormat = Zeta2Code(job.surface.index, Direction::kDecode, job.alphaMode),
        .frame = job.frame.data(),
        .codedLength = static_cast<DWORD>(job.frame.size())};
    LONG ignored;
    const HRESULT result = CallEngine(&ignored, engines_[kEngine].Decode<ZetaEntry>(), &record);
    if (SUCCEEDED(result)) {
        CleanStraightMatte(job);
    }
    return result;
}

DWORD CZeta2Codec::OutputCapacity(const EncodeJob& job) {
    return CapacityFor(*job.input, job.alpha, quality_.max_stream_size);
}

HRESULT CZeta2Codec::EncodeFrame(const EncodeJob& job, LONG* codedLength) {
    const SurfaceFormat& surface = job.surface;
    if (!RowsFit(surface)) {
        return E_FAIL;
    }
    const Zeta2Plane plane = PlaneOf(surface);
    // The engine expects this divisor, the bytes per pixel.
    const DWORD pixels = static_cast<DWORD>(surface.height) * static_cast<DWORD>(surface.width);
    const LONG workSize = static_cast<LONG>(pixels) / surface.bytesPerPixel / 8;
    Zeta2EncodeRecord record = {
        .command = kCommandZeta2,
        .plane = &plane,
        .pixelFormat = Zeta2Code(surface.index, Direction::kEncode, job.alphaMode),
        .output = job.output,
        .outputCapacity = job.capacity,
        .workSize = workSize,
        .alpha = job.input->biBitCount == 32 ? kZeta2EncodeAlpha : 0,
        .width = surface.width,
        .height = surface.height,
        .quantScale = quality_.quant_scale,
        .encodeConstant = kZeta2EncodeConstant};
    return CallEngine(codedLength, engines_[kEngine].Encode<ZetaEntry>(), &record);
}

}  // namespace nyx
