#include <gtest/gtest.h>

#include <array>

#include "dv/frame_format.h"
#include "dv/sequence_headers.h"
#include "tests/dv/dv_frames.h"

namespace nyx {
namespace {

using test::DvFrame;

constexpr std::size_t kHeaderVotes[] = {4, 5, 6, 7};
constexpr std::size_t kSubcodeVotes[] = {83, 163, 203};

/// Makes the seven votes of one sequence, in the order of the offsets above.
void Vote(DvFrame* frame, std::size_t sequence, const std::array<BYTE, 7>& votes) {
    std::size_t next = 0;
    for (const std::size_t at : kHeaderVotes) {
        (*frame)[sequence * 12000 + at] = static_cast<BYTE>(0xF8 | votes[next++]);
    }
    for (const std::size_t at : kSubcodeVotes) {
        (*frame)[sequence * 12000 + at] = static_cast<BYTE>(0x8F | votes[next++] << 4);
    }
}

BYTE Winner(const DvFrame& frame, const BYTE* videoSource = nullptr) {
    return VoteApplicationId(ByteSpan(frame.data(), frame.size()), videoSource);
}

TEST(ApplicationId, IsDecidedByThresholdThenByFrequencyThenByTheLowerId) {
    struct Case {
        const char* name;
        std::array<BYTE, 7> first, second, others;
        BYTE winner;
    };
    constexpr std::array<BYTE, 7> kBlank = {7, 7, 7, 7, 7, 7, 7};
    constexpr std::array<BYTE, 7> kTie = {0, 0, 1, 1, 2, 3, 7};
    const Case cases[] = {
        {"four of seven decide the first sequence", {1, 1, 7, 7, 7, 1, 1}, kBlank, kBlank, 1},
        {"whatever follows", {0, 0, 0, 7, 7, 7, 0}, {1, 1, 1, 1, 1, 1, 1}, kBlank, 0},
        {"an unusual one too", {5, 5, 5, 5, 5, 5, 5}, kBlank, kBlank, 5},
        {"7 of 14, not 6", {0, 0, 0, 1, 1, 1, 7}, {1, 1, 1, 1, 0, 0, 0}, kBlank, 1},
        {"the lower of two", kTie, kTie, kTie, 0},
        {"the most frequent", kTie, {0, 1, 1, 1, 2, 3, 7}, kTie, 1},
    };
    for (const Case& c : cases) {
        DvFrame frame = DvFrame::Blank(120000);
        for (std::size_t sequence = 0; sequence < 10; ++sequence) {
            Vote(&frame, sequence, sequence == 0 ? c.first : sequence == 1 ? c.second : c.others);
        }
        EXPECT_EQ(Winner(frame), c.winner) << c.name;
    }
}

TEST(ApplicationId, AnUnclearVoteFallsBackToTheSignalType) {
    DvFrame frame = DvFrame::Blank(120000);
    for (std::size_t sequence = 0; sequence < 10; ++sequence) {
        Vote(&frame, sequence, {2, 2, 2, 0, 1, 3, 7});
    }
    const BYTE dv25[] = {0x60, 0xFF, 0xFF, 0xE3, 0xFF};
    const BYTE dvcPro50[] = {0x60, 0xFF, 0xFF, 0xE4, 0xFF};
    EXPECT_EQ(Winner(frame), kApplicationUnknown);
    EXPECT_EQ(Winner(frame, dv25), kApplicationUnknown);
    EXPECT_EQ(Winner(frame, dvcPro50), kApplicationDvcPro);
    EXPECT_EQ(Winner(DvFrame::Blank(120000)), kApplicationUnknown);
    EXPECT_EQ(Winner(DvFrame::Blank(11999), dvcPro50), kApplicationDvcPro) << "no vote at all";
}

TEST(ApplicationId, AudioIsPresentUnlessMostHeadersDenyIt) {
    DvFrame frame = DvFrame::Blank(120000);
    const auto present = [&frame] { return VoteAudioPresent({frame.data(), frame.size()}); };
    EXPECT_FALSE(present());
    for (std::size_t sequence = 0; sequence < 4; ++sequence) {
        frame[sequence * 12000 + 5] = 0x79;
    }
    EXPECT_FALSE(present()) << "6 against 4";
    frame[9 * 12000 + 5] = 0x79;
    EXPECT_TRUE(present()) << "a tie";
    EXPECT_TRUE(VoteAudioPresent({})) << "no header at all";
}

}  // namespace
}  // namespace nyx
