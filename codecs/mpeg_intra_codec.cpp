#include "codecs/mpeg_intra_codec.h"

#include "codecs/engine_records.h"
#include "codecs/fault_guard.h"
#include "codecs/scratch_image.h"
#include "codecs/surface_conversion.h"
#include "media/mpeg2.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QMIC");
constexpr std::size_t kEngine = 0;
constexpr std::size_t kShortestFrame = 4;  // a start code

bool IsMpegIntraSize(std::int64_t width, std::int64_t height) {
    return width >= 2 && width % 2 == 0 && height >= 1;
}

constexpr CodecFormats kFormats = {kFourCC, &IsMpegIntraSize, kOpaqueDecodePairs, {}};

LONG LinesDropped(LONG width, LONG height, LONG codedHeight) noexcept {
    for (const Mpeg2Blanking& row : kMpeg2Blanking) {
        if (row.width == width && row.lines == height && row.codedLines == codedHeight) {
            return codedHeight - height;
        }
    }
    return 0;
}

/// The conversion writes three bytes per pixel for 32-bit outputs too; the row gap accounts for
/// that, so that every row starts at its place and none leaves the buffer.
HRESULT ConvertToRgb(const ScratchImage& picture, const SurfaceFormat& destination,
                     LONG colorSpace) {
    constexpr LONG kWrittenPerPixel = 3;
    const ConversionFlags flags =
        ConversionFlagsFor(destination.width, destination.height, colorSpace);
    const ImagePlane from = picture.Plane();
    const ImagePlane to = PlaneOf(destination, destination.width, kWrittenPerPixel);
    return ConvertFromYuv(&from, nullptr, kYuy2, flags.yuv, 0, &to, kBgr3, flags.rgb, 0,
                          destination.width, destination.height);
}

}  // namespace

CMpegIntraCodec::CMpegIntraCodec()
    : CEngineCodec(kFormats, ReadCodecSetting(kFourCC, L"color_space", 0)),
      engines_(mpegIntraEngines) {}

bool CMpegIntraCodec::IsEngineAvailable(LONG mode) {
    return mode == kEngineForDecoding && mpegIntraEngines.IsComplete();
}

DWORD CMpegIntraCodec::GetMaxCompressedSize(const BITMAPINFOHEADER*, bool) {
    return 0;
}

std::optional<bool> CMpegIntraCodec::Probe(ByteSpan frame, const BITMAPINFOHEADER&) {
    return frame.size() < kShortestFrame ? std::nullopt : std::optional<bool>(false);
}

HRESULT CMpegIntraCodec::ReadCodedHeight(ByteSpan frame, LONG* codedHeight) {
    MpegIntraState state = {};
    MpegIntraRecord record = {
        .state = &state, .frame = frame.data(), .frameLength = static_cast<DWORD>(frame.size())};
    LONG ignored;
    const HRESULT result =
        CallEngine(&ignored, engines_[kEngine].Decode<MpegIntraEntry>(), &record);
    *codedHeight = state.codedHeight;
    return result;
}

HRESULT CMpegIntraCodec::DecodePicture(ByteSpan frame, LONG linesDropped,
                                       const SurfaceFormat& destination) {
    MpegIntraState state = {};
    const MpegIntraCrop crop = {.linesDroppedAtTop = linesDropped};
    MpegIntraRecord record = {.state = &state,
                              .frame = frame.data(),
                              .frameLength = static_cast<DWORD>(frame.size()),
                              .destination = destination.data,
                              .stride = destination.stride,
                              .bytesPerPixel = destination.bytesPerPixel,
                              .width = destination.width,
                              .height = destination.height,
                              .crop = linesDropped > 0 ? &crop : nullptr};
    LONG ignored;
    const HRESULT result =
        CallEngine(&ignored, engines_[kEngine].Decode<MpegIntraEntry>(), &record);
    if (FAILED(result)) {
        FillBlack(destination);
    }
    return result;
}

HRESULT CMpegIntraCodec::DecodeFrame(const DecodeJob& job) {
    const SurfaceFormat& surface = job.surface;
    LONG codedHeight;
    if (surface.index >= kIndexV210 || FAILED(ReadCodedHeight(job.frame, &codedHeight))) {
        return E_FAIL;
    }
    const LONG linesDropped = LinesDropped(surface.width, surface.height, codedHeight);
    if (surface.index == kIndexYuy2) {
        return DecodePicture(job.frame, linesDropped, surface);
    }
    const ScratchImage picture(job.scratch, surface.width, surface.height, 2);
    if (!picture) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = DecodePicture(job.frame, linesDropped, picture.Surface(kIndexYuy2));
    return SUCCEEDED(ConvertToRgb(picture, surface, GetColorSpace())) ? result : E_FAIL;
}

}  // namespace nyx
