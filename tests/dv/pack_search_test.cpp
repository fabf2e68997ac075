#include "dv/pack_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/dv/dv_frames.h"

namespace nyx {
namespace {

using test::DvFrame;

/// The places of one pack in the order in which they are tried, in bytes.
struct Places {
    PackId id;
    int secondHalfSyncBlock;             // in the first sequence of the second half, -1 none
    std::vector<std::size_t> once;       // from the start of the frame
    std::vector<std::size_t> even;       // of each even sequence
    std::vector<std::size_t> odd;        // of each odd sequence
    std::vector<std::size_t> firstHalf;  // sync blocks
    std::vector<std::size_t> secondHalf;
};

const Places kPlaces[] = {
    {kTimecodePack, -1, {12110}, {}, {}, {3, 4, 5, 9, 10, 11, 0, 1, 2, 6, 7, 8}, {3, 9, 0, 6}},
    {kBinaryGroupPack, -1, {118, 12273}, {}, {}, {4, 10, 1, 7}, {}},
    {kAudioControlPack, -1, {}, {5603}, {1763}, {}, {}},
    {kAudioRecDatePack, -1, {}, {6883}, {3043}, {}, {4, 10, 1, 7}},
    {kAudioRecTimePack, -1, {}, {8163}, {4323}, {11}, {5, 11, 2, 8}},
    {kVideoSourcePack, -1, {448}, {448}, {243}, {}, {}},
    {kVideoControlPack, -1, {453}, {453}, {248}, {}, {}},
    {kVideoRecDatePack, 4, {458}, {458}, {253}, {}, {4, 10, 1, 7}},
    {kVideoRecTimePack, 5, {463}, {463}, {258}, {11}, {5, 11, 2, 8}},
    {kFrameRatePack, -1, {468}, {468}, {263}, {}, {}},
};

/// All places of a frame, each once, best first.
std::vector<std::size_t> InOrder(const Places& places, std::size_t sequences, std::size_t half) {
    std::vector<std::size_t> all;
    const auto add = [&all](std::size_t place) {
        if (std::find(all.begin(), all.end(), place) == all.end()) {
            all.push_back(place);
        }
    };
    if (places.secondHalfSyncBlock >= 0) {
        add(half * 12000 +
            test::SubcodePackByte(static_cast<std::size_t>(places.secondHalfSyncBlock)));
    }
    std::for_each(places.once.begin(), places.once.end(), add);
    for (std::size_t sequence = 0; sequence < sequences; ++sequence) {
        for (const std::size_t place : sequence % 2 == 0 ? places.even : places.odd) {
            add(sequence * 12000 + place);
        }
        for (const std::size_t syncBlock :
             sequence / half % 2 == 0 ? places.firstHalf : places.secondHalf) {
            add(sequence * 12000 + test::SubcodePackByte(syncBlock));
        }
    }
    return all;
}

struct FrameShape {
    std::size_t bytes;
    std::size_t halfSequences;
};
constexpr FrameShape kShapes[] = {
    {120000, 5}, {144000, 6}, {240000, 5}, {288000, 6}, {480000, 5}, {576000, 6}, {84000, 6},
};

TEST(PackSearch, TheBestOfSeveralPlacesWins) {
    for (const FrameShape& shape : kShapes) {
        for (const Places& places : kPlaces) {
            DvFrame frame = DvFrame::Blank(shape.bytes);
            std::vector<std::size_t> order =
                InOrder(places, frame.Sequences(), shape.halfSequences);
            std::reverse(order.begin(), order.end());
            for (const std::size_t place : order) {
                frame[place] = places.id;
                EXPECT_EQ(frame.OffsetOf(LocatePack(frame.data(), frame.size(), places.id)),
                          static_cast<std::ptrdiff_t>(place))
                    << "pack " << std::hex << +places.id << std::dec << ", frame of "
                    << shape.bytes;
            }
        }
    }
}

TEST(PackSearch, APackOffItsPlacesIsStillFound) {
    // Audio block 8 of the last sequence is no pack's own place.
    const std::size_t place = 9 * 12000 + 483 + 1280 * 8;
    for (const Places& places : kPlaces) {
        DvFrame frame = DvFrame::Blank(120000);
        EXPECT_EQ(LocatePack(frame.data(), frame.size(), places.id), nullptr);
        frame[place] = places.id;
        EXPECT_EQ(LocatePack(frame.data(), frame.size(), places.id), frame.data() + place);
    }
}

TEST(PackSearch, TheWholeFrameIsSearchedAudioThenVauxThenSubcode) {
    DvFrame frame = DvFrame::Blank(144000);
    std::vector<std::size_t> order;
    for (std::size_t sequence = 0; sequence < 12; ++sequence) {
        for (std::size_t block = 0; block < 9; ++block) {
            order.push_back(sequence * 12000 + test::AudioPackByte(block));
        }
        for (std::size_t index = 0; index < 45; ++index) {
            order.push_back(sequence * 12000 + test::VauxPackByte(index));
        }
        for (std::size_t syncBlock = 0; syncBlock < 12; ++syncBlock) {
            order.push_back(sequence * 12000 + test::SubcodePackByte(syncBlock));
        }
    }
    EXPECT_EQ(FindPack(frame.data(), frame.size(), 0x42), nullptr);
    std::reverse(order.begin(), order.end());
    for (const std::size_t place : order) {
        frame[place] = 0x42;
        ASSERT_EQ(frame.OffsetOf(FindPack(frame.data(), frame.size(), 0x42)),
                  static_cast<std::ptrdiff_t>(place));
    }
    EXPECT_EQ(FindPack(frame.data(), 11999, 0x42), nullptr);
}

std::vector<std::size_t> AudioSourceOrder(std::size_t first, std::size_t half) {
    const std::size_t opening = first % 2 == 0 ? 4323 : 483;
    std::vector<std::size_t> order = {first * 12000 + opening, (first + 2) * 12000 + opening};
    for (std::size_t sequence = first; sequence < first + half; ++sequence) {
        const std::size_t place = sequence * 12000 + (sequence % 2 == 0 ? 4323 : 483);
        if (std::find(order.begin(), order.end(), place) == order.end()) {
            order.push_back(place);
        }
    }
    return order;
}

TEST(PackSearch, EachHalfOfAChannelHasItsAudioSource) {
    for (const FrameShape& shape : kShapes) {
        const std::size_t halves = shape.bytes / 12000 / shape.halfSequences;
        for (std::size_t slot = 0; slot < halves; ++slot) {
            DvFrame frame = DvFrame::Blank(shape.bytes);
            std::vector<std::size_t> order =
                AudioSourceOrder(slot * shape.halfSequences, shape.halfSequences);
            std::reverse(order.begin(), order.end());
            for (const std::size_t place : order) {
                frame[place] = kAudioSourcePack;
                const BYTE* found =
                    FindAudioSourcePack(frame.data(), frame.size(), static_cast<DWORD>(slot / 2),
                                        static_cast<DWORD>(slot % 2));
                EXPECT_EQ(frame.OffsetOf(found), static_cast<std::ptrdiff_t>(place))
                    << "half channel " << slot << ", frame of " << shape.bytes;
            }
        }
    }
}

TEST(PackSearch, OnlyTheOpeningHalfChannelStandsInForAMissingAudioSource) {
    DvFrame frame = DvFrame::Blank(240000);
    const std::size_t outside = 5 * 12000 + test::AudioPackByte(7);
    frame[outside] = kAudioSourcePack;
    EXPECT_EQ(FindAudioSourcePack(frame.data(), frame.size(), 1, 0), nullptr);
    const std::size_t inside = 4 * 12000 + test::AudioPackByte(7);
    frame[inside] = kAudioSourcePack;
    EXPECT_EQ(FindAudioSourcePack(frame.data(), frame.size(), 1, 0), frame.data() + inside);
}

TEST(PackSearch, ChannelsThatNoFrameHasAreNotThere) {
    const DvFrame frame = DvFrame::Blank(120000);
    for (const DWORD channel : {4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        for (const DWORD half : {0u, 1u, 0xFFFFFFFFu}) {
            EXPECT_EQ(FindAudioSourcePack(frame.data(), frame.size(), channel, half), nullptr);
        }
    }
}

TEST(PackSearch, RealFramesCarryTheirTimecodeInEveryLayout) {
    for (const test::Clip& clip : test::kClips) {
        DvFrame frame = test::LoadFrame(clip.name, clip.frameBytes);
        EXPECT_EQ(FindTimecodePack(frame.data(), frame.size()), frame.data() + 12110) << clip.name;
        frame.Put(12110, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
        EXPECT_EQ(FindTimecodePack(frame.data(), frame.size()), frame.data() + 110) << clip.name;
    }
}

}  // namespace
}  // namespace nyx
