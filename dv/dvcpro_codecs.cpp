#include "dv/dvcpro_codecs.h"

namespace nyx {

CDv50Codec::CDv50Codec()
    : CDvCodecBase(kDvFormats<kQdv5>), wide_screen_(IsSettingOn(kQdv5, L"wide_screen")) {}

LONG CDv50Codec::EncodeFlags(const SurfaceFormat& source) const {
    const DvSignal* signal = FindDvSignalIf([&](const DvSignal& candidate) {
        return candidate.variant == kEngineDvcPro50 && candidate.height == source.height;
    });
    return signal ? signal->system | kEngineDvcPro50 | (wide_screen_ ? kEngineWide : 0) : 0;
}

CDvHdCodec::CDvHdCodec()
    : CDvCodecBase(kDvFormats<kQdvh>), fifty_frames_(IsSettingOn(kQdvh, L"5060")) {}

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
