#include "codecs/zeta2_codec.h"

#include <cstdlib>

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "codecs/header_checks.h"
#include "codecs/ten_bit_rows.h"

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
        const std::int64_t blocks = (std::int64_t{input.biWidth} + 47) / 48;  // of 48 pixels
        return static_cast<DWORD>(blocks) * height * 128;
    }
    const DWORD layer = static_cast<DWORD>(input.biWidth) * height * 20 >> 3;
    return layer * (alpha ? 2u : 1u) * static_cast<DWORD>(maxStreamSize) / 100;
}

/// "v210" is reported with 2 bytes per pixel but takes 8/3: a computed stride is too short for it.
bool RowsFit(const SurfaceFormat& surface) {
    return surface.index != kIndexV210 ||
           static_cast<std::int64_t>(TenBitRowLayoutFor(surface.width).filled) <=
               std::abs(std::int64_t{surface.stride});
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
      engines_(Zeta2Engines()) {}

bool CZeta2Codec::IsEngineAvailable(LONG) {
    return Zeta2Engines().IsComplete();
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
    const HRESULT result =
        CallEngine(&ignored, engines_[kEngine].Decode<Zeta2Entry>(), static_cast<void*>(&record));
    // As of the Zeta engines, any length within the bytes at hand will do, 0 too.
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
    Zeta2DecodeRecord record = {};
    record.command = kCommandZeta2;
    record.plane = &plane;
    record.pixelFormat = Zeta2Code(job.surface.index, Direction::kDecode, job.alphaMode);
    record.frame = job.frame.data();
    record.codedLength = static_cast<DWORD>(job.frame.size());
    LONG ignored;
    const HRESULT result =
        CallEngine(&ignored, engines_[kEngine].Decode<Zeta2Entry>(), static_cast<void*>(&record));
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
    Zeta2EncodeRecord record = {};
    record.command = kCommandZeta2;
    record.plane = &plane;
    record.pixelFormat = Zeta2Code(surface.index, Direction::kEncode, job.alphaMode);
    record.output = job.output;
    record.outputCapacity = job.capacity;
    // The divisor is the bytes per pixel, and so on purpose.
    const DWORD pixels = static_cast<DWORD>(surface.height) * static_cast<DWORD>(surface.width);
    record.workSize = static_cast<LONG>(pixels) / surface.bytesPerPixel / 8;
    record.alpha = job.input->biBitCount == 32 ? kZeta2EncodeAlpha : 0;
    record.width = surface.width;
    record.height = surface.height;
    record.quantScale = quality_.quant_scale;
    record.encodeConstant = kZeta2EncodeConstant;
    return CallEngine(codedLength, engines_[kEngine].Encode<Zeta2Entry>(),
                      static_cast<void*>(&record));
}

}  // namespace nyx
