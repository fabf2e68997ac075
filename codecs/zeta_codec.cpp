#include "codecs/zeta_codec.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <mutex>

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "codecs/frame_size_tables.h"
#include "codecs/header_checks.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QZTA");

constexpr CodecFormats kFormats = {kFourCC, &IsUsualSize, kAlphaDecodePairs, kAlphaEncodePairs};

constexpr WORD kAlphaBits = 32;
constexpr std::size_t kShortestFrame = 4;  // an alpha frame's tag

/// Blocks of 16 by 16 pixels, those at the edges counted whole.
DWORD BlocksOf(DWORD width, DWORD height) {
    return ((width + 15) / 16) * ((height + 15) / 16);
}

/// The minimum of bytes that an engine needs for one frame.
DWORD FloorFor(DWORD width, DWORD height, bool alpha) {
    return BlocksOf(width, height) * 16 * (alpha ? 2 : 1);
}

/// The engine's budget for one frame. 32-bit arithmetic, wrapping like the engine's own.
DWORD CapacityFor(DWORD width, DWORD height, bool alpha, LONG maxStreamSize) {
    const DWORD pixels = width * height;
    const DWORD budget = alpha ? pixels * 48 / 10  // 4.8 bytes per pixel
                               : pixels * 2 * static_cast<DWORD>(maxStreamSize) / 100;
    return std::max(budget, FloorFor(width, height, alpha));
}

bool StartsWith(ByteSpan frame, const char* tag, std::size_t length) {
    return frame.size() >= length && std::memcmp(frame.data(), tag, length) == 0;
}

/// Lets an engine store the frame's coded length in the record. True when the call returned and the
/// length is within the bytes at hand.
template <typename Record>
bool CodedLengthFits(ZetaEntry entry, Record* record, ByteSpan frame) {
    record->command = kCommandProbe;
    record->frame = frame.data();
    LONG ignored;
    return SUCCEEDED(CallEngine(&ignored, entry, record)) && record->codedLength <= frame.size();
}

template <typename Record>
Record AllOnes() {
    std::array<BYTE, sizeof(Record)> bytes;
    bytes.fill(0xFF);
    return std::bit_cast<Record>(bytes);
}

}  // namespace

CZetaCodec::CZetaCodec() : CZetaCodec(ReadEncoderParameters(kFourCC)) {}

CZetaCodec::CZetaCodec(const EncoderParameters& parameters)
    : CEngineCodec(kFormats, parameters.color_space),
      settings_(parameters),
      engines_(zetaEngines) {}

bool CZetaCodec::IsEngineAvailable(LONG) {
    return zetaEngines.IsComplete();
}

DWORD CZetaCodec::GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) {
    if (!input) {
        return 0;
    }
    return CapacityFor(static_cast<DWORD>(input->biWidth),
                       static_cast<DWORD>(AbsoluteHeight(*input)), alpha,
                       CurrentSettings().max_stream_size) +
           kChunkMargin;
}

EncoderParameters CZetaCodec::GetParameters(bool fromRegistry) {
    return fromRegistry ? ReadEncoderParameters(kFourCC) : CurrentSettings();
}

EncoderParameters CZetaCodec::CurrentSettings() {
    const std::lock_guard<SpinLock> lock(settingsLock_);
    return settings_;
}

void CZetaCodec::SetParameters(const EncoderParameters& parameters, bool persist) {
    {
        const std::lock_guard<SpinLock> lock(settingsLock_);
        settings_ = parameters;
    }
    if (persist) {
        // The colour space is never stored from here.
        WriteCodecSetting(kFourCC, L"quant_scale", parameters.quant_scale);
        WriteCodecSetting(kFourCC, L"max_stream_size", parameters.max_stream_size);
        WriteCodecSetting(kFourCC, L"preset", parameters.preset);
    }
}

std::optional<bool> CZetaCodec::Probe(ByteSpan frame, const BITMAPINFOHEADER&) {
    if (frame.size() < kShortestFrame) {
        return std::nullopt;
    }
    if (StartsWith(frame, "ZTA1", 4)) {
        auto record = AllOnes<ZetaAlphaDecodeRecord>();
        const auto entry = engines_[kZetaAlphaEngine].Decode<ZetaEntry>();
        return CodedLengthFits(entry, &record, frame) ? std::optional<bool>(true) : std::nullopt;
    }
    if (StartsWith(frame, "ZCF", 3)) {
        auto record = AllOnes<ZetaCoreDecodeRecord>();
        const auto entry = engines_[kZetaCoreEngine].Decode<ZetaEntry>();
        return CodedLengthFits(entry, &record, frame) ? std::optional<bool>(false) : std::nullopt;
    }
    return std::nullopt;
}

HRESULT CZetaCodec::DecodeFrame(const DecodeJob& job) {
    const SurfaceFormat& surface = job.surface;
    LONG ignored;  // the engine's result
    if (!job.streamAlpha) {
        ZetaCoreDecodeRecord record = {
            .command = kCommandDecode,
            .destination = surface.data,
            .stride = surface.stride,
            .bytesPerPixel = surface.bytesPerPixel,
            .pixelFormat = ZetaCoreCode(surface.index, Direction::kDecode),
            .frame = job.frame.data(),
            .codedLength = static_cast<DWORD>(job.frame.size()),
            .coreConstant = kCoreConstant};
        return CallEngine(&ignored, engines_[kZetaCoreEngine].Decode<ZetaEntry>(), &record);
    }
    ZetaAlphaDecodeRecord record = {
        .command = kCommandDecode,
        .destination = surface.data,
        .stride = surface.stride,
        .bytesPerPixel = surface.bytesPerPixel,
        .pixelFormat = ZetaAlphaCode(surface.index, Direction::kDecode, job.alphaMode),
        .frame = job.frame.data()};
    const HRESULT result =
        CallEngine(&ignored, engines_[kZetaAlphaEngine].Decode<ZetaEntry>(), &record);
    if (SUCCEEDED(result)) {
        CleanStraightMatte(job);
    }
    return result;
}

DWORD CZetaCodec::OutputCapacity(const EncodeJob& job) {
    const DWORD budget =
        CapacityFor(static_cast<DWORD>(job.surface.width), static_cast<DWORD>(job.surface.height),
                    job.input->biBitCount == kAlphaBits, job.settings.max_stream_size);
    // The budget may be set to anything at any time, beyond the buffer too.
    return job.room == 0 ? budget : std::min(job.room, budget);
}

HRESULT CZetaCodec::EncodeFrame(const EncodeJob& job, LONG* codedLength) {
    const auto width = static_cast<DWORD>(job.surface.width);
    const auto height = static_cast<DWORD>(job.surface.height);
    switch (job.input->biBitCount) {
        case 16:
        case 24:
            return job.capacity < FloorFor(width, height, false) ? E_FAIL
                                                                 : EncodeCore(job, codedLength);
        case kAlphaBits:
            // This engine gets no capacity and may use all of its budget.
            return job.capacity < CapacityFor(width, height, true, 0)
                       ? E_FAIL
                       : EncodeAlpha(job, codedLength);
        default:
            return E_FAIL;
    }
}

HRESULT CZetaCodec::EncodeCore(const EncodeJob& job, LONG* codedLength) {
    const SurfaceFormat& surface = job.surface;
    const DWORD blocks =
        BlocksOf(static_cast<DWORD>(surface.width), static_cast<DWORD>(surface.height));
    ZetaCoreEncodeRecord record = {.command = kCommandCoreEncode,
                                   .source = surface.data,
                                   .stride = surface.stride,
                                   .bytesPerPixel = surface.bytesPerPixel,
                                   .pixelFormat = ZetaCoreCode(surface.index, Direction::kEncode),
                                   .output = job.output,
                                   .outputCapacity = job.capacity,
                                   .workSize = static_cast<LONG>(blocks * 4096),
                                   .coreConstant = kCoreConstant,
                                   .width = surface.width,
                                   .height = surface.height,
                                   .quantScale = job.settings.quant_scale,
                                   .encodeConstant = kZetaEncodeConstant};
    return CallEngine(codedLength, engines_[kZetaCoreEngine].Encode<ZetaEntry>(), &record);
}

HRESULT CZetaCodec::EncodeAlpha(const EncodeJob& job, LONG* codedLength) {
    const SurfaceFormat& surface = job.surface;
    ZetaAlphaEncodeRecord record = {
        .command = kCommandAlphaEncode,
        .source = surface.data,
        .stride = surface.stride,
        .bytesPerPixel = surface.bytesPerPixel,
        .pixelFormat = ZetaAlphaCode(surface.index, Direction::kEncode, job.alphaMode),
        .output = job.output,
        .width = surface.width,
        .height = surface.height,
        .quantScale = job.settings.quant_scale,
        .encodeConstant = kZetaEncodeConstant};
    return CallEngine(codedLength, engines_[kZetaAlphaEngine].Encode<ZetaEntry>(), &record);
}

}  // namespace nyx
