#pragma once

/// @file
/// The DV signals (IEC 61834-2, SMPTE 314M, SMPTE 370M) and the flags by which the DV engine names
/// them.

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
    LONG width;       ///< pixels
    LONG height;      ///< lines of a frame
    LONG frameBytes;  ///< size of a compressed frame
    LONG rateNum;     ///< frames per second as a fraction
    LONG rateDen;
    BYTE signalType;     ///< STYPE, in the video source pack
    BYTE applicationId;  ///< APT, in the header block: 0 DV, 1 DVCPRO
};

constexpr DvSignal kDvSignals[] = {
    // variant, system, width, height, frame bytes, frame rate, STYPE, APT
    {kEngineDv25, kEngineSystem60, 720, 480, 120000, 30000, 1001, 0x00, 0},
    {kEngineDv25, kEngineSystem50, 720, 576, 144000, 25, 1, 0x00, 0},
    {kEngineDvcPro25, kEngineSystem60, 720, 480, 120000, 30000, 1001, 0x00, 1},
    {kEngineDvcPro25, kEngineSystem50, 720, 576, 144000, 25, 1, 0x00, 1},
    {kEngineDvcPro50, kEngineSystem60, 720, 480, 240000, 30000, 1001, 0x04, 1},
    {kEngineDvcPro50, kEngineSystem50, 720, 576, 288000, 25, 1, 0x04, 1},
    {kEngineDvcProHd1080, kEngineSystem60, 1280, 1080, 480000, 30000, 1001, 0x14, 1},
    {kEngineDvcProHd1080, kEngineSystem50, 1440, 1080, 576000, 25, 1, 0x14, 1},
    {kEngineDvcProHd720Decode, kEngineSystem60, 960, 720, 240000, 60000, 1001, 0x18, 1},
    {kEngineDvcProHd720Decode, kEngineSystem50, 960, 720, 288000, 50, 1, 0x18, 1},
};

/// The signal that an engine's flag word names, by either name of 720-line material; null for none.
constexpr const DvSignal* FindDvSignal(LONG flags) noexcept {
    const LONG system = flags & (kEngineSystem60 | kEngineSystem50);
    LONG variant = flags & ~(system | kEngineWide);
    if (variant == kEngineDvcProHd720Encode) {
        variant = kEngineDvcProHd720Decode;
    }
    for (const DvSignal& signal : kDvSignals) {
        if (signal.variant == variant && signal.system == system) {
            return &signal;
        }
    }
    return nullptr;
}

}  // namespace nyx
