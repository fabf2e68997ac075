#include "dv/frame_format.h"

#include "dv/audio_source.h"
#include "dv/dif_layout.h"
#include "media/dv_signals.h"

namespace nyx {
namespace {

constexpr std::size_t kUnknownType = kDvVideoTypes;
constexpr std::size_t kUnknownAspect = kDvAspectClasses;
constexpr std::size_t kFirstHdType = 2;
constexpr std::size_t kLetterboxAspect = 2;

constexpr FormatRecord kAllUnknown = {
    .codedWidth = -1, .codedHeight = -1, .fieldOrder = -1, .rateCode = -1};

constexpr LONG kProgressiveStructure = 0;
constexpr LONG kInterlacedStructure = 1;

std::size_t VideoTypeOf(const BYTE* videoSource) {
    switch (SignalTypeOf(videoSource)) {
        case 0x00:
            return 0;
        case 0x04:
            return 1;
        case 0x14:
            return 2;
        case 0x15:
            return 3;
        case 0x18:
            return 4;
        default:
            return kUnknownType;
    }
}

/// Aspect class by BCSYS and DISP. BCSYS 0 is type 0 of IEC 61834 (DISP 0, 1: 4:3; 2: 16:9; 7: the
/// full 16:9 of high definition), 1 its wide-screen signalling, others carry a plain 16:9 flag.
std::size_t AspectClassOf(const BYTE* videoControl, std::size_t type) {
    const int broadcastSystem = videoControl[kPc3] & 3;
    const int display = videoControl[kPc2] & 7;
    switch (broadcastSystem) {
        case 0:
            switch (display) {
                case 0:
                case 1:
                    return 0;
                case 2:
                    return 1;
                case 7:
                    return type >= kFirstHdType ? 1 : 0;
                default:
                    return kUnknownAspect;
            }
        case 1:
            if (display == 6) {
                return kLetterboxAspect;
            }
            return display == 7 ? 1 : 0;
        default:
            return display != 0 ? 1 : 0;
    }
}

bool IsDv25(const FormatRecord& format) {
    return format.fourCC == static_cast<LONG>(kQdvc);
}

bool IsFrameRatePackValid(const BYTE* pack) {
    const auto sum = static_cast<BYTE>(pack[kPc1] + pack[kPc2] + pack[kPc3]);
    return (sum ^ 0x55) == pack[kPc4];
}

void SetRecordedRate(const BYTE* pack, FormatRecord* format) {
    const bool integral = (pack[kPc1] & 0x20) != 0;
    const bool halved = (pack[kPc1] & 0x80) == 0;
    const LONG rate = (pack[kPc2] >> 4) * 10 + (pack[kPc2] & 15);
    const LONG num = integral ? rate : rate * 1000;
    format->recordedRateNum = halved ? num / 2 : num;
    format->recordedRateDen = integral ? 1 : 1001;
}

void SetFrameStructure(const BYTE* pack, FormatRecord* format) {
    if ((pack[kPc1] & 0x80) == 0) {
        format->frameStructure = kInterlacedStructure;
    } else if (format->recordedRateNum == format->frameRateNum) {
        format->fieldOrder = kProgressiveOrder;
        format->frameStructure = kProgressiveStructure;
    } else if (2 * format->recordedRateNum == format->frameRateNum) {
        format->fieldOrder = kProgressiveOrder;
        format->frameStructure = 6;
    } else {
        format->frameStructure = 2 + (pack[kPc1] >> 6 & 1);
    }
}

}  // namespace

BYTE SignalTypeOf(const BYTE* videoSource) {
    return videoSource[kPc3] & 31;
}

bool LookUpFormat(const BYTE* videoSource, const BYTE* videoControl, FormatRecord* format) {
    const std::size_t type = videoSource ? VideoTypeOf(videoSource) : kUnknownType;
    const std::size_t aspect = videoControl ? AspectClassOf(videoControl, type) : kUnknownAspect;
    if (type == kUnknownType || aspect >= kLetterboxAspect) {
        *format = kAllUnknown;
        return false;
    }
    *format = FormatRow(videoSource[kPc3] >> 5 & 1, type, aspect);
    if (IsDv25(*format) && (videoControl[kPc3] & 8) == 0) {
        format->fieldOrder = kProgressiveOrder;
        format->frameStructure = kProgressiveStructure;
    }
    return format->fourCC != -1;
}

void RefineFormatCode(BYTE applicationId, const AudioTraits& audio, FormatRecord* format) {
    if (!IsDv25(*format)) {
        return;
    }
    if (applicationId == kApplicationDvcPro) {
        format->formatCode = kFormatDvcPro25;
    } else if (applicationId == kApplicationDv && audio.locked &&
               (audio.sampling == kSampling48000 || audio.sampling == kSampling32000)) {
        format->formatCode = kFormatDv25Locked;
    }
}

void ApplyFrameRatePack(const BYTE* frameRate, FormatRecord* format) {
    if (!frameRate) {
        format->frameStructure =
            format->fieldOrder == kProgressiveOrder ? kProgressiveStructure : kInterlacedStructure;
        return;
    }
    if (!IsFrameRatePackValid(frameRate)) {
        return;
    }
    SetRecordedRate(frameRate, format);
    SetFrameStructure(frameRate, format);
    format->rateCode = frameRate[kPc3] & 15;
}

}  // namespace nyx
