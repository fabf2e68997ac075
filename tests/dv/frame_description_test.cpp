#include "dv/frame_description.h"

#include <gtest/gtest.h>

#include "tests/dv/dv_frames.h"

namespace nyx {
namespace {

using test::DvFrame;
using test::LoadFrame;

DvFrameDescription Describe(const DvFrame& frame) {
    return DescribeDvFrame(frame.data(), frame.size());
}

TEST(FrameDescription, ARealFrameReadsAsPeopleSayIt) {
    const DvFrameDescription told = Describe(LoadFrame("dvcpro50_625", 288000, 2));
    EXPECT_TRUE(told.recognised);
    EXPECT_EQ(told.variant, "DVCPRO50");
    EXPECT_EQ(told.system, "625/50");
    EXPECT_EQ(told.width, 720);
    EXPECT_EQ(told.height, 576);
    EXPECT_EQ(told.frameRate, "25");
    EXPECT_EQ(told.fieldOrder, "bottom field first");
    EXPECT_EQ(told.pixelAspect, "1024:720");
    EXPECT_EQ(told.pictureAspect, "16:9");
    EXPECT_EQ(told.audio, "4 channels, 48000 Hz, 16 bits, 1920 samples, unlocked");
    EXPECT_EQ(told.timecode, "01:02:03:06");
    EXPECT_EQ(told.recordingDate, "2004-05-06");
    EXPECT_EQ(told.recordingTime, "07:08:09");
}

TEST(FrameDescription, EveryVariantHasItsNameAndAspect) {
    struct Case {
        const char* clip;
        std::size_t frameBytes;
        const char* variant;
        const char* frameRate;
        const char* pictureAspect;
    };
    constexpr Case kCases[] = {
        {"dv25_525_4x3", 120000, "DVCPRO25", "30000/1001", "4:3"},
        {"dv25_525_16x9", 120000, "DVCPRO25", "30000/1001", "16:9"},
        {"dv25_625_4x3", 144000, "DV25", "25", "4:3"},
        {"dv25_625_16x9", 144000, "DV25", "25", "16:9"},
        {"dvcprohd_1080_60", 480000, "DVCPRO HD 1080i", "30000/1001", "16:9"},
        {"dvcprohd_1080_50", 576000, "DVCPRO HD 1080i", "25", "16:9"},
        {"dvcprohd_720_60", 240000, "DVCPRO HD 720p", "60000/1001", "16:9"},
        {"dvcprohd_720_50", 288000, "DVCPRO HD 720p", "50", "16:9"},
    };
    for (const Case& c : kCases) {
        const DvFrameDescription told = Describe(LoadFrame(c.clip, c.frameBytes));
        EXPECT_EQ(told.variant, c.variant);
        EXPECT_EQ(told.frameRate, c.frameRate) << c.clip;
        EXPECT_EQ(told.pictureAspect, c.pictureAspect) << c.clip;
    }
}

TEST(FrameDescription, APackThatStandsInForAnotherCountsOnce) {
    // Two channels of audio in a format with room for eight.
    EXPECT_EQ(Describe(LoadFrame("dvcprohd_1080_60", 480000)).audio,
              "2 channels, 48000 Hz, 16 bits, 1600 samples, unlocked");
}

TEST(FrameDescription, ChannelsRecordedDifferentlyAreToldApart) {
    DvFrame frame = LoadFrame("dv25_625_4x3", 144000);
    for (std::size_t sequence = 6; sequence < 12; ++sequence) {
        frame.Put(sequence * 12000 + test::AudioPackByte(sequence % 2 == 0 ? 3 : 0),
                  {0x50, 0x50, 0x20, 0xE0, 0x91});
    }
    EXPECT_EQ(Describe(frame).audio,
              "1 channel, 48000 Hz, 16 bits, 1920 samples, unlocked; "
              "2 channels, 32000 Hz, 12 bits, 1280 samples, locked");
}

TEST(FrameDescription, WhatAFrameDoesNotTellIsEmpty) {
    const DvFrameDescription told = Describe(DvFrame::Blank(144000));
    EXPECT_FALSE(told.recognised);
    EXPECT_EQ(told.variant + told.system + told.fieldOrder + told.pixelAspect, "");
    EXPECT_EQ(told.pictureAspect + told.audio + told.timecode + told.recordingDate, "");
    EXPECT_EQ(told.width, 0);
    EXPECT_EQ(Describe(LoadFrame("dv25_625_silent", 144000)).audio, "");
}

TEST(FrameDescription, DropFrameTimecodeHasASemicolon) {
    EXPECT_EQ(Describe(LoadFrame("dv25_525_4x3", 120000)).timecode, "01:02:03;04");
    EXPECT_EQ(TimecodeText(0x23595929), "23:59:59:29");
    EXPECT_EQ(TimecodeText(static_cast<LONG>(0xE3D9D969u)), "23:59:59;29") << "flags set";
}

TEST(FrameDescription, DigitsOfNoClockOrCalendarAreLeftOut) {
    for (const LONG payload : {LONG{-1}, LONG{0x24000000}, LONG{0x00600000}, LONG{0x00006000},
                               LONG{0x00000030}, LONG{0x0000000A}}) {
        EXPECT_EQ(TimecodeText(payload), "") << std::hex << payload;
    }
    EXPECT_EQ(RecordingTimeText(-1), "");
    EXPECT_EQ(RecordingTimeText(static_cast<LONG>(0xD2B4D6FFu)), "12:34:56") << "flags set";
    EXPECT_EQ(RecordingDateText(0x7512FFFF), "");
    EXPECT_EQ(RecordingDateText(0x7513C1FF), "");
    EXPECT_EQ(RecordingDateText(0x7512F1FF), "1975-12-31");
    EXPECT_EQ(RecordingDateText(0x74E1C1FF), "2074-01-01") << "weekday set";
}

}  // namespace
}  // namespace nyx
