#include "dv/dvhd_codec.h"

#include "dv/dv_engine.h"
#include "settings/codec_settings.h"

namespace nyx {
namespace {

constexpr DWORD kFourCC = FourCC("QDVH");

// 720 lines are listed with the smaller frame of the two systems.
constexpr DvPictureSize kSizes[] = {
    {1280, 1080, 480000}, {1440, 1080, 576000}, {960, 720, 240000}, {960, 720, 240000}};

constexpr DvVariant kVariant = MakeDvVariant<kSizes>(kFourCC);

}  // namespace

CDvHdCodec::CDvHdCodec()
    : CDvCodecBase(kVariant, ReadCodecSetting(kFourCC, L"color_space", 0)),
      fifty_frames_(IsSettingOn(kFourCC, L"5060")) {}

LONG CDvHdCodec::EncodeFlags(const SurfaceFormat& source) const {
    switch (source.width) {
        case 1280:
            return kEngineWide | kEngineSystem60 | kEngineDvcProHd1080;
        case 1440:
            return kEngineWide | kEngineSystem50 | kEngineDvcProHd1080;
        case 960:
            return kEngineWide | (fifty_frames_ ? kEngineSystem50 : kEngineSystem60) |
                   kEngineDvcProHd720Encode;
        default:
            return 0;
    }
}

}  // namespace nyx
