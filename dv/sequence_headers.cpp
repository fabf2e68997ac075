#include "dv/sequence_headers.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "dv/dif_layout.h"
#include "dv/frame_format.h"

namespace nyx {
namespace {

constexpr BYTE kLastDecisiveId = 6;

using Votes = std::array<std::size_t, 8>;

/// APT, AP1, AP2 and AP3 in a header block.
constexpr std::size_t kHeaderIdOffsets[] = {4, 5, 6, 7};
/// Their repetition in the subcode: AP3 in the first ID of each block, APT in the last of all.
constexpr std::size_t kSubcodeIdOffsets[] = {SyncBlockOffset(0), SyncBlockOffset(6),
                                             SyncBlockOffset(11)};

constexpr std::size_t kVotesPerSequence =
    std::size(kHeaderIdOffsets) + std::size(kSubcodeIdOffsets);

void CountVotes(const BYTE* sequence, Votes* votes) {
    for (const std::size_t offset : kHeaderIdOffsets) {
        ++(*votes)[sequence[offset] & 7];
    }
    for (const std::size_t offset : kSubcodeIdOffsets) {
        ++(*votes)[sequence[offset] >> 4 & 7];
    }
}

BYTE MostFrequent(const Votes& votes) {
    return static_cast<BYTE>(std::max_element(votes.begin(), votes.end()) - votes.begin());
}

BYTE UndecidedId(const Votes& votes, const BYTE* videoSource) {
    const BYTE winner = MostFrequent(votes);
    if (votes[winner] != 0 && (winner == kApplicationDv || winner == kApplicationDvcPro)) {
        return winner;
    }
    const bool dvcProFamily = videoSource && SignalTypeOf(videoSource) >= 4;
    return dvcProFamily ? kApplicationDvcPro : kApplicationUnknown;
}

}  // namespace

BYTE VoteApplicationId(ByteSpan frame, const BYTE* videoSource) {
    Votes votes{};
    std::size_t threshold = kVotesPerSequence + 1;
    for (std::size_t rest = frame.size(); rest >= kDifSequenceBytes; rest -= kDifSequenceBytes) {
        CountVotes(frame.data() + (frame.size() - rest), &votes);
        for (BYTE id = 0; id <= kLastDecisiveId; ++id) {
            if (votes[id] >= threshold / 2) {
                return id;
            }
        }
        threshold += kVotesPerSequence;
    }
    return UndecidedId(votes, videoSource);
}

bool VoteAudioPresent(ByteSpan frame) {
    std::size_t valid = 0;
    std::size_t invalid = 0;
    for (std::size_t rest = frame.size(); rest >= kDifSequenceBytes; rest -= kDifSequenceBytes) {
        const BYTE* sequence = frame.data() + (frame.size() - rest);
        ++((sequence[5] & 0x80) ? invalid : valid);
    }
    return invalid <= valid;
}

}  // namespace nyx
