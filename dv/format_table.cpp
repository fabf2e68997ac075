#include "dv/format_table.h"

#include "media/dv_signals.h"

namespace nyx {
namespace {

struct VideoType {
    BYTE signalType;  ///< of the row of kDvSignals that has its geometry
    LONG formatCode;
    LONG fieldOrder;
};
constexpr VideoType kVideoTypes[kDvVideoTypes] = {
    {0x00, kFormatDv25, 1},
    {0x04, kFormatDvcPro50, 1},
    {0x14, kFormatDvcProHd1080, 0},
    {0x14, kFormatDvcProHd1080Type15, 0},
    {0x18, kFormatDvcProHd720, kProgressiveOrder},
};

/// Display widths in square pixels of system, video type and aspect class, 0 for a combination that
/// no recorder writes. The 14:9 width completes the table: the parser refuses that aspect class.
constexpr LONG kDisplayWidths[2][kDvVideoTypes][kDvAspectClasses] = {
    {{648, 864, 0}, {648, 864, 0}, {0, 1920, 0}, {0, 1920, 0}, {1280, 1280, 0}},
    {{768, 1024, 896}, {768, 1024, 0}, {0, 1920, 0}, {0, 1920, 0}, {1280, 1280, 0}},
};

}  // namespace

FormatRecord FormatRow(std::size_t system, std::size_t type, std::size_t aspect) {
    const VideoType& video = kVideoTypes[type];
    const bool progressive = video.fieldOrder == kProgressiveOrder;
    const LONG frameStructure = progressive ? 0 : 1;
    const LONG displayWidth = kDisplayWidths[system][type][aspect];
    if (displayWidth == 0) {
        return {.codedWidth = -1,
                .codedHeight = -1,
                .fieldOrder = progressive ? kProgressiveOrder : 0,
                .frameStructure = frameStructure};
    }
    const LONG engineSystem = system == 0 ? kEngineSystem60 : kEngineSystem50;
    const DvSignal& signal = *FindDvSignalIf([&](const DvSignal& candidate) {
        return candidate.system == engineSystem && candidate.signalType == video.signalType;
    });
    return {.formatCode = video.formatCode,
            .systemRate = system == 0 ? 60 : 50,
            .frameBytes = signal.frameBytes,
            .fourCC = static_cast<LONG>(signal.fourcc),
            .frameRateNum = signal.rateNum,
            .frameRateDen = signal.rateDen,
            .pixelAspectX = displayWidth,
            .pixelAspectY = signal.width,
            .codedWidth = signal.width,
            .codedHeight = signal.height,
            .fieldOrder = video.fieldOrder,
            .frameStructure = frameStructure,
            .recordedRateNum = signal.rateNum,
            .recordedRateDen = signal.rateDen};
}

}  // namespace nyx
