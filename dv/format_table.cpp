#include "dv/format_table.h"

#include <array>

namespace nyx {
namespace {

struct Geometry {
    LONG width;
    LONG height;
    LONG fieldOrder;
};

struct Rate {
    LONG system;
    LONG num;
    LONG den;
};

struct PixelAspect {
    LONG x;
    LONG y;
};

struct ListedRow {
    std::size_t type;
    std::size_t aspect;
    LONG formatCode;
    LONG frameBytes;
    LONG fourCC;
    Rate rate;
    PixelAspect pixelAspect;
    Geometry geometry;
};

constexpr Rate kRate60Interlaced = {60, 30000, 1001};
constexpr Rate kRate60Progressive = {60, 60000, 1001};
constexpr Rate kRate50Interlaced = {50, 25, 1};
constexpr Rate kRate50Progressive = {50, 50, 1};

constexpr Geometry k480Lines = {720, 480, 1};
constexpr Geometry k576Lines = {720, 576, 1};
constexpr Geometry k1080Lines60 = {1280, 1080, 0};
constexpr Geometry k1080Lines50 = {1440, 1080, 0};
constexpr Geometry k720Lines = {960, 720, 2};

constexpr std::size_t kProgressiveType = 4;

constexpr ListedRow kRows525[] = {
    {0, 0, kFormatDv25, 120000, kFourCCDv25, kRate60Interlaced, {648, 720}, k480Lines},
    {0, 1, kFormatDv25, 120000, kFourCCDv25, kRate60Interlaced, {864, 720}, k480Lines},
    {1, 0, kFormatDvcPro50, 240000, kFourCCDv50, kRate60Interlaced, {648, 720}, k480Lines},
    {1, 1, kFormatDvcPro50, 240000, kFourCCDv50, kRate60Interlaced, {864, 720}, k480Lines},
    {2, 1, kFormatDvcProHd1080, 480000, kFourCCDvHd, kRate60Interlaced, {1920, 1280}, k1080Lines60},
    {3,
     1,
     kFormatDvcProHd1080Type15,
     480000,
     kFourCCDvHd,
     kRate60Interlaced,
     {1920, 1280},
     k1080Lines60},
    {4, 0, kFormatDvcProHd720, 240000, kFourCCDvHd, kRate60Progressive, {1280, 960}, k720Lines},
    {4, 1, kFormatDvcProHd720, 240000, kFourCCDvHd, kRate60Progressive, {1280, 960}, k720Lines},
};

// The 14:9 row is part of the table although the parser refuses that aspect class beforehand.
constexpr ListedRow kRows625[] = {
    {0, 0, kFormatDv25, 144000, kFourCCDv25, kRate50Interlaced, {768, 720}, k576Lines},
    {0, 1, kFormatDv25, 144000, kFourCCDv25, kRate50Interlaced, {1024, 720}, k576Lines},
    {0, 2, kFormatDv25, 144000, kFourCCDv25, kRate50Interlaced, {896, 720}, k576Lines},
    {1, 0, kFormatDvcPro50, 288000, kFourCCDv50, kRate50Interlaced, {768, 720}, k576Lines},
    {1, 1, kFormatDvcPro50, 288000, kFourCCDv50, kRate50Interlaced, {1024, 720}, k576Lines},
    {2, 1, kFormatDvcProHd1080, 576000, kFourCCDvHd, kRate50Interlaced, {1920, 1440}, k1080Lines50},
    {3,
     1,
     kFormatDvcProHd1080Type15,
     576000,
     kFourCCDvHd,
     kRate50Interlaced,
     {1920, 1440},
     k1080Lines50},
    {4, 0, kFormatDvcProHd720, 288000, kFourCCDvHd, kRate50Progressive, {1280, 960}, k720Lines},
    {4, 1, kFormatDvcProHd720, 288000, kFourCCDvHd, kRate50Progressive, {1280, 960}, k720Lines},
};

using FormatTable = std::array<FormatRecord, kDvSystems * kDvVideoTypes * kDvAspectClasses>;

constexpr std::size_t RowIndex(std::size_t system, std::size_t type, std::size_t aspect) {
    return (system * kDvVideoTypes + type) * kDvAspectClasses + aspect;
}

constexpr FormatRecord UnlistedRow(std::size_t type) {
    FormatRecord row;
    row.codedWidth = -1;
    row.codedHeight = -1;
    row.fieldOrder = type == kProgressiveType ? 2 : 0;
    row.frameStructure = type == kProgressiveType ? 0 : 1;
    return row;
}

constexpr FormatRecord FullRow(const ListedRow& listed) {
    FormatRecord row = UnlistedRow(listed.type);
    row.formatCode = listed.formatCode;
    row.systemRate = listed.rate.system;
    row.frameBytes = listed.frameBytes;
    row.fourCC = listed.fourCC;
    row.frameRateNum = row.recordedRateNum = listed.rate.num;
    row.frameRateDen = row.recordedRateDen = listed.rate.den;
    row.pixelAspectX = listed.pixelAspect.x;
    row.pixelAspectY = listed.pixelAspect.y;
    row.codedWidth = listed.geometry.width;
    row.codedHeight = listed.geometry.height;
    row.fieldOrder = listed.geometry.fieldOrder;
    return row;
}

template <std::size_t count>
constexpr void FillSystem(FormatTable& table, std::size_t system, const ListedRow (&rows)[count]) {
    for (std::size_t type = 0; type < kDvVideoTypes; ++type) {
        for (std::size_t aspect = 0; aspect < kDvAspectClasses; ++aspect) {
            table[RowIndex(system, type, aspect)] = UnlistedRow(type);
        }
    }
    for (const ListedRow& listed : rows) {
        table[RowIndex(system, listed.type, listed.aspect)] = FullRow(listed);
    }
}

constexpr FormatTable MakeTable() {
    FormatTable table{};
    FillSystem(table, 0, kRows525);
    FillSystem(table, 1, kRows625);
    return table;
}

constexpr FormatTable kTable = MakeTable();

}  // namespace

const FormatRecord& FormatRow(std::size_t system, std::size_t type, std::size_t aspect) {
    return kTable[RowIndex(system, type, aspect)];
}

}  // namespace nyx
