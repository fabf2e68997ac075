#include <gtest/gtest.h>

#include <random>

#include "dv/dif_parser.h"
#include "tests/dv/dv_frames.h"

namespace nyx {
namespace {

using test::DvFrame;

/// Parses a copy of exactly `size` bytes, so that the sanitizer sees the first byte read past it,
/// and checks that every pack found lies inside with all its bytes.
void ParseCopy(const BYTE* bytes, std::size_t size) {
    const std::vector<BYTE> copy(bytes, bytes + size);
    CLvtDifParser parser;
    parser.Parse(copy.data(), size);
    const DifState& state = parser.State();
    std::vector<const BYTE*> packs = {state.videoSource,  state.videoControl, state.videoRecDate,
                                      state.videoRecTime, state.frameRate,    state.audioControl,
                                      state.audioRecDate, state.audioRecTime, state.timecode,
                                      state.binaryGroup};
    packs.insert(packs.end(), state.audioSource.begin(), state.audioSource.end());
    for (const BYTE* pack : packs) {
        if (pack) {
            ASSERT_GE(pack, copy.data());
            ASSERT_LE(pack + kPackBytes, copy.data() + size);
        }
    }
}

TEST(DifBounds, NoFrameAtAllIsNotRecognised) {
    CLvtDifParser parser;
    EXPECT_EQ(parser.Parse(nullptr, 0), E_FAIL);
    EXPECT_EQ(parser.Parse(nullptr, 144000), E_FAIL);
    EXPECT_EQ(parser.GetFieldOrder(), -1);
    EXPECT_EQ(FindPack(nullptr, 144000, 0x60), nullptr);
    EXPECT_EQ(FindTimecodePack(nullptr, 144000), nullptr);
    EXPECT_EQ(FindAudioSourcePack(nullptr, 144000, 0, 0), nullptr);
    EXPECT_EQ(LocatePack(nullptr, 144000, kVideoRecDatePack), nullptr);
}

TEST(DifBounds, EveryShortFrameParses) {
    const DvFrame frame = test::LoadFrame("dv25_525_4x3", 120000);
    for (std::size_t size = 0; size < 25000; size += size < 800 || size > 24000 ? 1 : 41) {
        ParseCopy(frame.data(), size);
    }
    // Cuts in the middle of packs of odd and even sequences.
    constexpr std::size_t kPlaces[] = {86, 110, 118, 243, 248, 273, 448, 453, 458, 463, 468, 483};
    for (const std::size_t place : kPlaces) {
        for (std::size_t cut = 0; cut < 6; ++cut) {
            ParseCopy(frame.data(), 12000 + place + cut);
            ParseCopy(frame.data(), 5 * 12000 + place + cut);
        }
    }
}

TEST(DifBounds, AFixedPlaceCountsOnlyWithAllItsBytes) {
    DvFrame frame = DvFrame::Blank(12115);
    frame.Put(12110, {0x13, 1, 2, 3, 4});
    EXPECT_EQ(frame.OffsetOf(FindTimecodePack(frame.data(), 12115)), 12110);
    EXPECT_EQ(FindTimecodePack(frame.data(), 12114), nullptr);
}

TEST(DifBounds, CutAndDamagedFramesOfEveryVariantParse) {
    std::mt19937 random(1);
    for (const test::Clip& clip : test::kClips) {
        DvFrame frame = test::LoadFrame(clip.name, clip.frameBytes);
        for (std::size_t size = 0; size <= frame.size(); size += 11999) {
            ParseCopy(frame.data(), size);
        }
        for (int round = 0; round < 20; ++round) {
            for (int edit = 0; edit < 2000; ++edit) {
                frame[random() % frame.size()] = static_cast<BYTE>(random());
            }
            ParseCopy(frame.data(), frame.size());
        }
    }
}

TEST(DifBounds, MoreChannelsThanAnyRecorderWritesDoNoHarm) {
    std::vector<BYTE> huge;
    const DvFrame frame = test::LoadFrame("dv25_525_4x3", 120000);
    for (int copies = 0; copies < 12; ++copies) {
        huge.insert(huge.end(), frame.data(), frame.data() + frame.size());
    }
    CLvtDifParser parser;
    EXPECT_EQ(parser.Parse(huge.data(), huge.size()), 1);
    EXPECT_EQ(parser.State().channelCount, 12u);
    EXPECT_EQ(parser.State().audioChannels, 8);
}

}  // namespace
}  // namespace nyx
