#include "codecs/lossless_codec.h"

#include <algorithm>
#include <cstring>

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "codecs/header_checks.h"
#include "codecs/matte.h"
#include "codecs/scratch_image.h"
#include "codecs/surface_conversion.h"
#include "convert/formats.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QLLC");
constexpr DWORD kSizeMargin = 2064;
constexpr std::size_t kEngine = 0;
constexpr std::size_t kKindAt = 1;
constexpr LONG kKindBytes[] = {2, 3, 4, 4};  // per pixel, by LosslessKind

/// The number of bytes that the engine may read past a frame's end.
constexpr std::size_t kOverRead = 64;

bool IsLosslessSize(std::int64_t width, std::int64_t height) {
    return width >= 2 && width <= 10000 && width % 2 == 0 && height >= 1 && height <= 10000;
}

constexpr CodecFormats kFormats = {kFourCC, &IsLosslessSize, kAlphaDecodePairs, kAlphaEncodePairs};

bool IsReadable(const void* address) {
    constexpr DWORD kReadable =
        PAGE_READONLY | PAGE_READWRITE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE;
    MEMORY_BASIC_INFORMATION page = {};
    return VirtualQuery(address, &page, sizeof(page)) != 0 && (page.Protect & kReadable) != 0;
}

/// The frame itself, or a copy, with readable memory behind it. Null without memory for a copy.
const BYTE* PaddedFrame(ByteSpan frame, ScratchMemory* scratch) {
    if (IsReadable(frame.data() + frame.size() + kOverRead - 1)) {
        return frame.data();
    }
    BYTE* const copy = scratch->Allocate(std::uint64_t{frame.size()} + kOverRead);
    if (copy) {
        std::memcpy(copy, frame.data(), frame.size());
    }
    return copy;
}

/// Copies the colours of each pixel; a fourth byte becomes opaque.
template <std::size_t kFrom, std::size_t kTo>
void CopyPixels(const SurfaceFormat& from, const SurfaceFormat& to) {
    for (LONG y = 0; y < to.height; ++y) {
        const BYTE* source = from.data + std::ptrdiff_t{y} * from.stride;
        BYTE* destination = to.data + std::ptrdiff_t{y} * to.stride;
        for (LONG x = 0; x < to.width; ++x, source += kFrom, destination += kTo) {
            std::memcpy(destination, source, 3);
            if (kTo == 4) {
                destination[3] = 0xFF;
            }
        }
    }
}

void CopyRgb(const SurfaceFormat& from, const SurfaceFormat& to) {
    if (from.bytesPerPixel == 3) {
        CopyPixels<3, 4>(from, to);
    } else if (to.bytesPerPixel == 3) {
        CopyPixels<4, 3>(from, to);
    } else {
        CopyPixels<4, 4>(from, to);
    }
}

/// Converts a stored picture into a destination of another kind.
HRESULT Convert(const ScratchImage& stored, LONG kind, const SurfaceFormat& destination,
                LONG colorSpace) {
    const ConversionFlags flags =
        ConversionFlagsFor(destination.width, destination.height, colorSpace);
    const bool toYuy2 = destination.index == kIndexYuy2;
    const ImagePlane to = PlaneOf(destination, destination.width);
    const ImagePlane from = stored.Plane();
    if (kind == kLosslessYuy2) {
        return ConvertFromYuv(&from, nullptr, kYuy2, flags.yuv, 0, &to, RgbFourCC(destination),
                              flags.rgb, 0, destination.width, destination.height);
    }
    const bool highDefinition = IsHighDefinition(destination.width, destination.height);
    const int index = kIndexArgb32 + (highDefinition ? 0 : 2) + (colorSpace != 0 ? 1 : 0);
    const SurfaceFormat source = stored.Surface(index);
    if (kind == kLosslessArgb32) {
        CleanMatte(source);
    }
    if (toYuy2) {
        return ConvertToYuv(&from, RgbFourCC(source), flags.rgb, nullptr, &to, nullptr, kYuy2,
                            flags.yuv, 0, destination.width, destination.height);
    }
    CopyRgb(source, destination);
    return S_OK;
}

}  // namespace

CLosslessCodec::CLosslessCodec()
    : CEngineCodec(kFormats, ReadCodecSetting(kFourCC, L"color_space", 0)),
      engines_(losslessEngines) {}

bool CLosslessCodec::IsEngineAvailable(LONG) {
    return losslessEngines.IsComplete();
}

DWORD CLosslessCodec::GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool) {
    if (!input) {
        return 0;
    }
    return static_cast<DWORD>(AbsoluteHeight(*input)) * ((input->biBitCount + 7u) / 8) *
               static_cast<DWORD>(input->biWidth) +
           kSizeMargin;
}

std::optional<bool> CLosslessCodec::Probe(ByteSpan frame, const BITMAPINFOHEADER& input) {
    if (frame.size() <= kKindAt || frame[kKindAt] > kLosslessArgb32) {
        return std::nullopt;
    }
    return input.biBitCount == 32;
}

HRESULT CLosslessCodec::DecodeStored(const DecodeJob& job, LONG kind,
                                     const SurfaceFormat& destination) {
    const BYTE* const frame = PaddedFrame(job.frame, job.scratch);
    if (!frame) {
        return E_OUTOFMEMORY;
    }
    LONG returned = 0;
    const HRESULT result =
        CallEngine(&returned, engines_[kEngine].Decode<LosslessDecodeEntry>(), kind, frame,
                   destination.data, destination.stride, destination.width, destination.height);
    // Unlike the other engines' results this one counts: negative, as an error code, a length or a
    // count, it can only mean failure.
    return SUCCEEDED(result) && returned < 0 ? E_FAIL : result;
}

HRESULT CLosslessCodec::DecodeFrame(const DecodeJob& job) {
    const LONG kind = job.frame[kKindAt];
    const LONG native = NativeLosslessKind(job.surface.index);
    if (native < 0 || kind > kLosslessArgb32) {  // the host may have changed the byte since Probe
        return E_FAIL;
    }
    if (kind == native) {
        return DecodeStored(job, kind, job.surface);
    }
    const ScratchImage stored(job.scratch, job.surface.width, job.surface.height, kKindBytes[kind]);
    if (!stored) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = DecodeStored(job, kind, stored.Surface(job.surface.index));
    if (FAILED(result)) {
        return result;
    }
    return SUCCEEDED(Convert(stored, kind, job.surface, GetColorSpace())) ? result : E_FAIL;
}

DWORD CLosslessCodec::OutputCapacity(const EncodeJob& job) {
    return GetMaxCompressedSize(job.input, job.alpha);
}

HRESULT CLosslessCodec::EncodeFrame(const EncodeJob& job, LONG* codedLength) {
    const SurfaceFormat& surface = job.surface;
    const LONG kind = NativeLosslessKind(surface.index);
    if (kind < 0) {
        return E_FAIL;
    }
    return CallEngine(codedLength, engines_[kEngine].Encode<LosslessEncodeEntry>(), kind,
                      job.output, surface.data, surface.stride, surface.width, surface.height);
}

}  // namespace nyx
