#pragma once

/// @file
/// The DV signals (IEC 61834-2, SMPTE 314M, SMPTE 370M) and the flags by which the DV engine names
/// them.

#include <algorithm>
#include <iterator>

#include "platform/fourcc.h"
#include "platform/win_types.h"

namespace nyx {

/// The flag word of both engine entries: one variant, one system, and the aspect where specified.
/// The engine names 720-line material differently in the two directions.
constexpr LONG kEngineDv25 = 0x11;
constexpr LONG kEngineDvcPro25 = 0x12;
constexpr LONG kEngineDvcPro50 = 0x20;
constexpr LONG kEngineDvcProHd1080 = 0x32;
constexpr LONG kEngineDvcProHd720Decode = 0x34;
constexpr LONG kEngineDvcProHd720Encode = 0x35;
constexpr LONG kEngineSystem60 = 0x40;
constexpr LONG kEngineSystem50 = 0x80;
constexpr LONG kEngineWide = 0x400;  ///< 16:9; DV25 and DVCPRO50 frames state it when decoded

/// One signal. 720-line ones have the decoder's variant.
struct DvSignal {
    LONG variant;
    LONG system;
    DWORD fourcc;     ///< of the codec
    LONG width;       ///< pixels
    LONG height;      ///< lines of a frame
    LONG wideWidth;   ///< of a 16:9 picture that is stretched to square pixels, 0 where none is
    LONG frameBytes;  ///< size of a compressed frame
    LONG rateNum;     ///< frames per second as a fraction
    LONG rateDen;
    BYTE signalType;     ///< STYPE, in the video source pack
    BYTE applicationId;  ///< APT, in the header block: 0 DV, 1 DVCPRO
};

constexpr DWORD kQdvc = FourCC("QDVC"), kQdv5 = FourCC("QDV5"), kQdvh = FourCC("QDVH");

constexpr DvSignal kDvSignals[] = {
    // variant, system, codec, width, height, wide width, frame bytes, frame rate, STYPE, APT
    {kEngineDv25, kEngineSystem60, kQdvc, 720, 480, 856, 120000, 30000, 1001, 0x00, 0},
    {kEngineDv25, kEngineSystem50, kQdvc, 720, 576, 1024, 144000, 25, 1, 0x00, 0},
    {kEngineDvcPro25, kEngineSystem60, kQdvc, 720, 480, 856, 120000, 30000, 1001, 0x00, 1},
    {kEngineDvcPro25, kEngineSystem50, kQdvc, 720, 576, 1024, 144000, 25, 1, 0x00, 1},
    {kEngineDvcPro50, kEngineSystem60, kQdv5, 720, 480, 0, 240000, 30000, 1001, 0x04, 1},
    {kEngineDvcPro50, kEngineSystem50, kQdv5, 720, 576, 0, 288000, 25, 1, 0x04, 1},
    {kEngineDvcProHd1080, kEngineSystem60, kQdvh, 1280, 1080, 0, 480000, 30000, 1001, 0x14, 1},
    {kEngineDvcProHd1080, kEngineSystem50, kQdvh, 1440, 1080, 0, 576000, 25, 1, 0x14, 1},
    {kEngineDvcProHd720Decode, kEngineSystem60, kQdvh, 960, 720, 0, 240000, 60000, 1001, 0x18, 1},
    {kEngineDvcProHd720Decode, kEngineSystem50, kQdvh, 960, 720, 0, 288000, 50, 1, 0x18, 1},
};

/// The first signal that fulfils the condition, null for none.
template <typename Condition>
constexpr const DvSignal* FindDvSignalIf(Condition condition) {
    const auto* found = std::find_if(std::begin(kDvSignals), std::end(kDvSignals), condition);
    return found == std::end(kDvSignals) ? nullptr : found;
}

/// The signal that an engine's flag word names, by either name of 720-line material; null for none.
constexpr const DvSignal* FindDvSignal(LONG flags) noexcept {
    const LONG system = flags & (kEngineSystem60 | kEngineSystem50);
    LONG variant = flags & ~(system | kEngineWide);
    if (variant == kEngineDvcProHd720Encode) {
        variant = kEngineDvcProHd720Decode;
    }
    return FindDvSignalIf([&](const DvSignal& signal) {
        return signal.variant == variant && signal.system == system;
    });
}

}  // namespace nyx
