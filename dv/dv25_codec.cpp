#include "dv/dv25_codec.h"

#include <cstdint>
#include <iterator>
#include <limits>
#include <new>

#include "codecs/fault_guard.h"
#include "dv/dv_engine.h"
#include "dv/resample.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QDVC");
constexpr LONG kRecordedWidth = 720;

constexpr DvPictureSize kSizes[] = {
    {720, 480, 120000}, {856, 480, 120000}, {720, 576, 144000}, {1024, 576, 144000}};

bool IsDv25Size(std::int64_t width, std::int64_t height) {
    return HasDvSize(kSizes, width, height);
}

constexpr DvVariant kVariant = {
    {kFourCC, &IsDv25Size, kOpaqueDecodePairs, kDvEncodePairs}, kSizes, std::size(kSizes)};

/// A picture of 720 pixels per row, for one call, walked in the direction of another one.
class RecordedPicture {
  public:
    RecordedPicture(LONG height, LONG bytesPerPixel, bool bottomUp)
        : stride_(kRecordedWidth * bytesPerPixel) {
        const std::int64_t size = std::int64_t{stride_} * height;
        if (height < 1 || size > std::numeric_limits<LONG>::max()) {
            return;
        }
        bytes_.reset(new (std::nothrow) BYTE[static_cast<std::size_t>(size)]());
        if (bytes_ && bottomUp) {
            first_row_ = stride_ * (height - 1);
            stride_ = -stride_;
        }
    }

    explicit operator bool() const { return bytes_ != nullptr; }
    BYTE* data() const { return bytes_.get() + first_row_; }
    LONG stride() const { return stride_; }

  private:
    LONG stride_;
    LONG first_row_ = 0;
    std::unique_ptr<BYTE[]> bytes_;
};

/// How rows are resampled: "YUY2" by macropixels of two pixels.
ResampleUnit UnitOf(LONG bytesPerPixel) {
    return bytesPerPixel == 3 ? ResampleUnit::kThreeBytes : ResampleUnit::kFourBytes;
}
LONG UnitsOf(LONG width, LONG bytesPerPixel) {
    return bytesPerPixel == 2 ? width / 2 : width;
}

}  // namespace

CDv25Codec::CDv25Codec()
    : CDvCodecBase(kVariant, ReadCodecSetting(kFourCC, L"color_space", 0)),
      wide_screen_(IsSettingOn(kFourCC, L"wide_screen")),
      dvcpro25_(IsSettingOn(kFourCC, L"dvcpro25")) {}

bool CDv25Codec::IsSupportedSize(LONG width, LONG height) {
    return IsDv25Size(width, height);
}

HRESULT CDv25Codec::ReadReferenceFrame(ByteSpan sample, std::unique_ptr<BYTE[]>* buffer,
                                       DWORD* length) {
    if (!sample.data()) {
        return E_FAIL;
    }
    return IsReferenceSample(sample) ? reference_.ReadFrame(sample, buffer, length) : S_FALSE;
}

HRESULT CDv25Codec::DecodeFrame(LONG width, LONG height, LONG flags, const void* frame,
                                BYTE* destination, LONG stride, LONG bytesPerPixel,
                                LONG outputCode) {
    if (width == kRecordedWidth) {
        return CallDecode(flags, frame, destination, stride, bytesPerPixel, outputCode);
    }
    const RecordedPicture recorded(height, bytesPerPixel, stride < 0);
    if (!recorded) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result =
        CallDecode(flags, frame, recorded.data(), recorded.stride(), bytesPerPixel, outputCode);
    if (FAILED(result) || bytesPerPixel == 4) {
        return result;
    }
    return GuardedResult([&] {
        return StretchRows(
            UnitOf(bytesPerPixel),
            {recorded.data(), recorded.stride(), UnitsOf(kRecordedWidth, bytesPerPixel)},
            {destination, stride, UnitsOf(width, bytesPerPixel)}, height);
    });
}

LONG CDv25Codec::EncodeFlags(const SurfaceFormat& source) const {
    const LONG variant = dvcpro25_ ? kEngineDvcPro25 : kEngineDv25;
    const auto aspect = [&](LONG wideWidth) {
        return wide_screen_ || source.width == wideWidth ? kEngineWide : 0;
    };
    switch (source.height) {
        case 480:
            return kEngineSystem60 | variant | aspect(856);
        case 576:
            return kEngineSystem50 | variant | aspect(1024);
        default:
            return 0;
    }
}

HRESULT CDv25Codec::EncodePicture(LONG flags, const SurfaceFormat& source, LONG inputCode,
                                  void* frame, LONG* length) {
    if (source.width == kRecordedWidth) {
        return CallEncode(flags, source, inputCode, frame, length);
    }
    const RecordedPicture recorded(source.height, source.bytesPerPixel, source.stride < 0);
    if (!recorded) {
        return E_OUTOFMEMORY;
    }
    const LONG bytesPerPixel = source.bytesPerPixel;
    const HRESULT result = SqueezeRows(
        UnitOf(bytesPerPixel), {source.data, source.stride, UnitsOf(source.width, bytesPerPixel)},
        {recorded.data(), recorded.stride(), UnitsOf(kRecordedWidth, bytesPerPixel)},
        source.height);
    if (FAILED(result)) {
        return result;
    }
    SurfaceFormat squeezed = source;
    squeezed.data = recorded.data();
    squeezed.stride = recorded.stride();
    squeezed.width = kRecordedWidth;
    return CallEncode(flags, squeezed, inputCode, frame, length);
}

}  // namespace nyx
