#include "dv/frame_format.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "dv/audio_source.h"

namespace nyx {
namespace {

using Pack = std::array<BYTE, 5>;

Pack Source(bool is625, BYTE signalType) {
    return {0x60, 0xFF, 0xFF, static_cast<BYTE>(0xC0 | (is625 ? 0x20 : 0) | signalType), 0xFF};
}

Pack Control(BYTE display, BYTE broadcastSystem) {
    return {0x61, 0x3F, static_cast<BYTE>(0xC8 | display),
            static_cast<BYTE>(0xFC | broadcastSystem), 0xFF};
}

FormatRecord LookUp(const Pack& source, const Pack& control, bool expected = true) {
    FormatRecord format;
    EXPECT_EQ(LookUpFormat(source.data(), control.data(), &format), expected);
    return format;
}

/// What every row of a signal type and system has in common.
struct Row {
    bool is625;
    BYTE signalType;
    LONG formatCode, frameBytes, fourCC, rateNum, rateDen;
    LONG aspectX, wideAspectX, aspectY;  // aspectX -1: a combination that no recorder writes
    LONG height, fieldOrder;
};

constexpr Row kRows[] = {
    {false, 0x00, 0, 120000, kFourCCDv25, 30000, 1001, 648, 864, 720, 480, 1},
    {false, 0x04, 3, 240000, kFourCCDv50, 30000, 1001, 648, 864, 720, 480, 1},
    {false, 0x14, 4, 480000, kFourCCDvHd, 30000, 1001, -1, 1920, 1280, 1080, 0},
    {false, 0x15, 5, 480000, kFourCCDvHd, 30000, 1001, -1, 1920, 1280, 1080, 0},
    {false, 0x18, 6, 240000, kFourCCDvHd, 60000, 1001, 1280, 1280, 960, 720, 2},
    {true, 0x00, 0, 144000, kFourCCDv25, 25, 1, 768, 1024, 720, 576, 1},
    {true, 0x04, 3, 288000, kFourCCDv50, 25, 1, 768, 1024, 720, 576, 1},
    {true, 0x14, 4, 576000, kFourCCDvHd, 25, 1, -1, 1920, 1440, 1080, 0},
    {true, 0x15, 5, 576000, kFourCCDvHd, 25, 1, -1, 1920, 1440, 1080, 0},
    {true, 0x18, 6, 288000, kFourCCDvHd, 50, 1, 1280, 1280, 960, 720, 2},
};

bool operator==(const FormatRecord& a, const FormatRecord& b) {
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

TEST(FrameFormat, EverySignalTypeAndAspectHasItsRow) {
    const FormatRecord unwritten = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 1, -1, -1, 15};
    for (const Row& row : kRows) {
        for (const bool wide : {false, true}) {
            SCOPED_TRACE(testing::Message() << (row.is625 ? 625 : 525) << ", signal type "
                                            << +row.signalType << ", wide " << wide);
            const LONG aspectX = wide ? row.wideAspectX : row.aspectX;
            // The aspect's second number is the coded width.
            const FormatRecord written = {row.formatCode, row.is625 ? 50 : 60, row.frameBytes,
                                          row.fourCC,     row.rateNum,         row.rateDen,
                                          aspectX,        row.aspectY,         row.aspectY,
                                          row.height,     row.fieldOrder,      row.fieldOrder != 2,
                                          row.rateNum,    row.rateDen,         15};
            EXPECT_TRUE(LookUp(Source(row.is625, row.signalType), Control(wide ? 2 : 0, 0),
                               aspectX != -1) == (aspectX != -1 ? written : unwritten));
        }
    }
}

TEST(FrameFormat, WithoutSystemTypeOrAspectEverythingIsUnknown) {
    const FormatRecord unknown = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    const Pack source = Source(true, 0);
    const Pack control = Control(0, 0);
    FormatRecord format;
    EXPECT_FALSE(LookUpFormat(nullptr, control.data(), &format));
    EXPECT_TRUE(format == unknown);
    format = {};
    EXPECT_FALSE(LookUpFormat(source.data(), nullptr, &format));
    EXPECT_TRUE(format == unknown);
    constexpr BYTE kUnknownTypes[] = {1, 2, 3, 5, 0x13, 0x16, 0x19, 0x1F};
    for (const BYTE signalType : kUnknownTypes) {
        EXPECT_TRUE(LookUp(Source(true, signalType), control, false) == unknown) << +signalType;
    }
}

TEST(FrameFormat, AspectFollowsDisplayAndBroadcastSystem) {
    constexpr LONG kRefused = -1;
    // Rows BCSYS 0 to 3, columns DISP 0 to 7, in pixels of 720 that the picture is wide.
    constexpr LONG kDv25[4][8] = {
        {768, 768, 1024, kRefused, kRefused, kRefused, kRefused, 768},
        {768, 768, 768, 768, 768, 768, kRefused, 1024},
        {768, 1024, 1024, 1024, 1024, 1024, 1024, 1024},
        {768, 1024, 1024, 1024, 1024, 1024, 1024, 1024},
    };
    for (BYTE broadcastSystem = 0; broadcastSystem < 4; ++broadcastSystem) {
        for (BYTE display = 0; display < 8; ++display) {
            const LONG expected = kDv25[broadcastSystem][display];
            const FormatRecord format =
                LookUp(Source(true, 0), Control(display, broadcastSystem), expected != kRefused);
            EXPECT_EQ(format.pixelAspectX, expected)
                << "BCSYS " << +broadcastSystem << ", DISP " << +display;
        }
    }
    EXPECT_EQ(LookUp(Source(true, 0x14), Control(7, 0)).pixelAspectX, 1920);
}

TEST(FrameFormat, OnlyDv25TakesProgressiveFromTheControlPack) {
    Pack control = Control(2, 0);
    control[3] &= 0xF7;
    const FormatRecord dv25 = LookUp(Source(true, 0), control);
    EXPECT_EQ(dv25.fieldOrder, 2);
    EXPECT_EQ(dv25.frameStructure, 0);
    EXPECT_EQ(LookUp(Source(true, 4), control).fieldOrder, 1);
    EXPECT_EQ(LookUp(Source(true, 0x14), control).fieldOrder, 0);
}

TEST(FrameFormat, ApplicationIdAndAudioTellTheDv25VariantsApart) {
    struct Case {
        BYTE applicationId;
        AudioTraits audio;
        LONG expected;
    };
    const Case kCases[] = {
        {1, {kSampling48000, true}, kFormatDvcPro25},
        {1, {std::nullopt, false}, kFormatDvcPro25},
        {0, {kSampling48000, true}, kFormatDv25Locked},
        {0, {kSampling48000, false}, kFormatDv25},
        {0, {kSampling32000, true}, kFormatDv25Locked},
        {0, {kSampling44100, true}, kFormatDv25},
        {0, {BYTE{3}, true}, kFormatDv25},
        {0, {std::nullopt, false}, kFormatDv25},
        {2, {kSampling48000, true}, kFormatDv25},
        {6, {kSampling48000, true}, kFormatDv25},
        {kApplicationUnknown, {kSampling48000, true}, kFormatDv25},
    };
    for (const Case& c : kCases) {
        FormatRecord format = LookUp(Source(true, 0), Control(0, 0));
        RefineFormatCode(c.applicationId, c.audio, &format);
        EXPECT_EQ(format.formatCode, c.expected) << "application " << +c.applicationId;
    }
    FormatRecord dvcPro50 = LookUp(Source(true, 4), Control(0, 0));
    RefineFormatCode(kApplicationDvcPro, {}, &dvcPro50);
    EXPECT_EQ(dvcPro50.formatCode, kFormatDvcPro50);
}

Pack FrameRate(BYTE pc1, BYTE pc2, BYTE pc3) {
    return {0x64, pc1, pc2, pc3, static_cast<BYTE>((pc1 + pc2 + pc3) ^ 0x55)};
}

TEST(FrameFormat, TheFrameRatePackTellsWhatTheCameraRecorded) {
    struct Case {
        BYTE signalType;
        bool is625;
        Pack pack;
        LONG num;
        LONG den;
        LONG fieldOrder;
        LONG structure;
    };
    const Case kCases[] = {
        // PC1: 0x80 whole frames, 0x40 second pattern, 0x20 an integral rate; PC2: rate in BCD.
        {0x18, false, FrameRate(0x80, 0x60, 0), 60000, 1001, 2, 0},
        {0x18, false, FrameRate(0x80, 0x30, 0), 30000, 1001, 2, 6},
        {0x18, false, FrameRate(0x80, 0x24, 0), 24000, 1001, 2, 2},
        {0x18, false, FrameRate(0xC0, 0x24, 0), 24000, 1001, 2, 3},
        {0x18, true, FrameRate(0xA0, 0x50, 0), 50, 1, 2, 0},
        {0x18, true, FrameRate(0xA0, 0x25, 0), 25, 1, 2, 6},
        {0x14, false, FrameRate(0x80, 0x30, 0), 30000, 1001, 2, 0},
        {0x14, false, FrameRate(0x80, 0x15, 0), 15000, 1001, 2, 6},
        {0x14, false, FrameRate(0x80, 0x24, 0), 24000, 1001, 0, 2},
        {0x14, false, FrameRate(0x00, 0x60, 0), 30000, 1001, 0, 1},
        {0x14, true, FrameRate(0x20, 0x25, 0), 12, 1, 0, 1},
        {0x14, true, FrameRate(0xE0, 0x24, 0), 24, 1, 0, 3},
        {0x14, true, FrameRate(0xA0, 0xFF, 0), 165, 1, 0, 2},
    };
    for (const Case& c : kCases) {
        FormatRecord format = LookUp(Source(c.is625, c.signalType), Control(2, 0));
        ApplyFrameRatePack(c.pack.data(), &format);
        SCOPED_TRACE(testing::Message() << "PC1 " << +c.pack[1] << ", PC2 " << +c.pack[2]);
        EXPECT_EQ(format.recordedRateNum, c.num);
        EXPECT_EQ(format.recordedRateDen, c.den);
        EXPECT_EQ(format.fieldOrder, c.fieldOrder);
        EXPECT_EQ(format.frameStructure, c.structure);
        EXPECT_EQ(format.rateCode, 0);
    }
    FormatRecord format = LookUp(Source(false, 0x18), Control(2, 0));
    ApplyFrameRatePack(FrameRate(0x80, 0x60, 0xA7).data(), &format);
    EXPECT_EQ(format.rateCode, 7);
}

TEST(FrameFormat, AFrameRatePackWithAWrongCheckByteChangesNothing) {
    const FormatRecord before = LookUp(Source(false, 0x14), Control(2, 0));
    FormatRecord format = before;
    Pack pack = FrameRate(0x80, 0x30, 4);
    pack[4] ^= 1;
    ApplyFrameRatePack(pack.data(), &format);
    EXPECT_TRUE(format == before);
}

TEST(FrameFormat, WithoutAFrameRatePackTheStructureFollowsTheFieldOrder) {
    FormatRecord interlaced = LookUp(Source(false, 0x14), Control(2, 0));
    const FormatRecord before = interlaced;
    ApplyFrameRatePack(nullptr, &interlaced);
    EXPECT_TRUE(interlaced == before);
    FormatRecord progressive = LookUp(Source(false, 0x18), Control(2, 0));
    ApplyFrameRatePack(nullptr, &progressive);
    EXPECT_EQ(progressive.frameStructure, 0);
}

}  // namespace
}  // namespace nyx
