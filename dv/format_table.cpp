#include "dv/format_table.h"

namespace nyx {
namespace {

/// A signal that recorders write. The recorded rate is the frame rate unless a frame-rate pack
/// gives another.
struct ListedRow {
    std::size_t system, type, aspect;
    LONG formatCode, frameBytes, fourCC;
    LONG rateNum, rateDen;  // frames per second
    LONG aspectX, aspectY;  // of a pixel
    LONG width, height, fieldOrder;
};

// The 14:9 row completes the table, although the parser refuses that aspect class.
constexpr ListedRow kRows[] = {
    // system, type, aspect, format, frame bytes, FourCC, rate, pixel aspect, size, field order
    {0, 0, 0, kFormatDv25, 120000, kFourCCDv25, 30000, 1001, 648, 720, 720, 480, 1},
    {0, 0, 1, kFormatDv25, 120000, kFourCCDv25, 30000, 1001, 864, 720, 720, 480, 1},
    {0, 1, 0, kFormatDvcPro50, 240000, kFourCCDv50, 30000, 1001, 648, 720, 720, 480, 1},
    {0, 1, 1, kFormatDvcPro50, 240000, kFourCCDv50, 30000, 1001, 864, 720, 720, 480, 1},
    {0, 2, 1, kFormatDvcProHd1080, 480000, kFourCCDvHd, 30000, 1001, 1920, 1280, 1280, 1080, 0},
    {0, 3, 1, kFormatDvcProHd1080Type15, 480000, kFourCCDvHd, 30000, 1001, 1920, 1280, 1280, 1080,
     0},
    {0, 4, 0, kFormatDvcProHd720, 240000, kFourCCDvHd, 60000, 1001, 1280, 960, 960, 720, 2},
    {0, 4, 1, kFormatDvcProHd720, 240000, kFourCCDvHd, 60000, 1001, 1280, 960, 960, 720, 2},
    {1, 0, 0, kFormatDv25, 144000, kFourCCDv25, 25, 1, 768, 720, 720, 576, 1},
    {1, 0, 1, kFormatDv25, 144000, kFourCCDv25, 25, 1, 1024, 720, 720, 576, 1},
    {1, 0, 2, kFormatDv25, 144000, kFourCCDv25, 25, 1, 896, 720, 720, 576, 1},
    {1, 1, 0, kFormatDvcPro50, 288000, kFourCCDv50, 25, 1, 768, 720, 720, 576, 1},
    {1, 1, 1, kFormatDvcPro50, 288000, kFourCCDv50, 25, 1, 1024, 720, 720, 576, 1},
    {1, 2, 1, kFormatDvcProHd1080, 576000, kFourCCDvHd, 25, 1, 1920, 1440, 1440, 1080, 0},
    {1, 3, 1, kFormatDvcProHd1080Type15, 576000, kFourCCDvHd, 25, 1, 1920, 1440, 1440, 1080, 0},
    {1, 4, 0, kFormatDvcProHd720, 288000, kFourCCDvHd, 50, 1, 1280, 960, 960, 720, 2},
    {1, 4, 1, kFormatDvcProHd720, 288000, kFourCCDvHd, 50, 1, 1280, 960, 960, 720, 2},
};

constexpr std::size_t kProgressiveType = 4;

}  // namespace

FormatRecord FormatRow(std::size_t system, std::size_t type, std::size_t aspect) {
    FormatRecord record;
    record.codedWidth = -1;
    record.codedHeight = -1;
    record.fieldOrder = type == kProgressiveType ? 2 : 0;
    record.frameStructure = type == kProgressiveType ? 0 : 1;
    for (const ListedRow& row : kRows) {
        if (row.system == system && row.type == type && row.aspect == aspect) {
            record.formatCode = row.formatCode;
            record.systemRate = row.system == 0 ? 60 : 50;
            record.frameBytes = row.frameBytes;
            record.fourCC = row.fourCC;
            record.frameRateNum = record.recordedRateNum = row.rateNum;
            record.frameRateDen = record.recordedRateDen = row.rateDen;
            record.pixelAspectX = row.aspectX;
            record.pixelAspectY = row.aspectY;
            record.codedWidth = row.width;
            record.codedHeight = row.height;
            record.fieldOrder = row.fieldOrder;
        }
    }
    return record;
}

}  // namespace nyx
