#pragma once

/// @file
/// The picture format of each combination of DV variant, system and aspect (IEC 61834-2,
/// SMPTE 314M, SMPTE 370M).

#include <cstddef>

#include "platform/win_types.h"

namespace nyx {

/// Values of FormatRecord::formatCode.
enum DvFormatCode : LONG {
    kFormatDv25 = 0,
    kFormatDv25Locked = 1,  ///< DV25 with its audio clock locked to the video
    kFormatDvcPro25 = 2,
    kFormatDvcPro50 = 3,
    kFormatDvcProHd1080 = 4,
    kFormatDvcProHd1080Type15 = 5,  ///< the second 1080-line signal type, STYPE 0x15
    kFormatDvcProHd720 = 6,
};

/// A frame's picture format. -1 is unknown; the initial values are those of a parser that has read
/// no frame.
struct FormatRecord {
    LONG formatCode = -1;    ///< DvFormatCode
    LONG systemRate = -1;    ///< fields per second, 60 or 50
    LONG frameBytes = -1;    ///< size of a compressed frame
    LONG fourCC = -1;        ///< little-endian, as in biCompression
    LONG frameRateNum = -1;  ///< frames per second as a fraction
    LONG frameRateDen = -1;
    LONG pixelAspectX = -1;  ///< pixel aspect ratio as a fraction
    LONG pixelAspectY = -1;
    LONG codedWidth = 0;        ///< pixels
    LONG codedHeight = 0;       ///< lines of a frame
    LONG fieldOrder = 0;        ///< 0 top field first, 1 bottom field first, 2 progressive
    LONG frameStructure = -1;   ///< 0 progressive, 1 interlaced, others from the frame-rate pack
    LONG recordedRateNum = -1;  ///< frames per second that the camera recorded, as a fraction
    LONG recordedRateDen = -1;
    LONG rateCode = 15;  ///< low nibble of the frame-rate pack's PC3, 15 without one
};
static_assert(sizeof(FormatRecord) == 15 * sizeof(LONG));

/// FormatRecord::fieldOrder of progressive pictures.
constexpr LONG kProgressiveOrder = 2;

constexpr std::size_t kDvVideoTypes = 5;     ///< by STYPE: 0x00, 0x04, 0x14, 0x15, 0x18
constexpr std::size_t kDvAspectClasses = 3;  ///< 0 is 4:3, 1 is 16:9, 2 is letterboxed 14:9

/// The format of a system (0 is 525/60, 1 is 625/50), video type and aspect class. A combination
/// that no recorder writes has -1 for its FourCC.
FormatRecord FormatRow(std::size_t system, std::size_t type, std::size_t aspect);

}  // namespace nyx
