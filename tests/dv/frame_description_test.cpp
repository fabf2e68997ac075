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
