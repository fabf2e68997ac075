#include "dv/dv50_codec.h"

#include "dv/dv_engine.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QDV5");

constexpr DvPictureSize kSizes[] = {{720, 480, 240000}, {720, 576, 288000}};

constexpr DvVariant kVariant = MakeDvVariant<kSizes>(kFourCC);

}  // namespace

CDv50Codec::CDv50Codec()
    : CDvCodecBase(kVariant, ReadCodecSetting(kFourCC, L"color_space", 0)),
      wide_screen_(IsSettingOn(kFourCC, L"wide_screen")) {}

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
