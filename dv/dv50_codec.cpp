#include "dv/dv50_codec.h"

#include <iterator>

#include "dv/dv_engine.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QDV5");

constexpr DvPictureSize kSizes[] = {{720, 480, 240000}, {720, 576, 288000}};

bool IsDv50Size(std::int64_t width, std::int64_t height) {
    return HasDvSize(kSizes, width, height);
}

constexpr DvVariant kVariant = {
    {kFourCC, &IsDv50Size, kOpaqueDecodePairs, kDvEncodePairs}, kSizes, std::size(kSizes)};

}  // namespace

CDv50Codec::CDv50Codec()
    : CDvCodecBase(kVariant, ReadCodecSetting(kFourCC, L"color_space", 0)),
      wide_screen_(IsSettingOn(kFourCC, L"wide_screen")) {}

bool CDv50Codec::IsSupportedSize(LONG width, LONG height) {
    return IsDv50Size(width, height);
}

HRESULT CDv50Codec::DecodeFrame(LONG, LONG, LONG flags, const void* frame, BYTE* destination,
                                LONG stride, LONG bytesPerPixel, LONG outputCode) {
    return CallDecode(flags, frame, destination, stride, bytesPerPixel, outputCode);
}

LONG CDv50Codec::EncodeFlags(const SurfaceFormat& source) const {
    const LONG aspect = wide_screen_ ? kEngineWide : 0;
    switch (source.height) {
        case 480:
            return kEngineSystem60 | kEngineDvcPro50 | aspect;
        case 576:
            return kEngineSystem50 | kEngineDvcPro50 | aspect;
        default:
            return 0;
    }
}

}  // namespace nyx
