#include "dv/pack_search.h"

#include <array>
#include <cstdint>
#include <initializer_list>

#include "platform/byte_span.h"

namespace nyx {
namespace {

/// Sync block numbers of one sequence in the order in which they are tried.
struct SyncBlockList {
    constexpr SyncBlockList() = default;
    constexpr SyncBlockList(std::initializer_list<BYTE> list) {
        for (const BYTE syncBlock : list) {
            blocks[count++] = syncBlock;
        }
    }
    [[nodiscard]] constexpr const BYTE* begin() const { return blocks; }
    [[nodiscard]] constexpr const BYTE* end() const { return blocks + count; }

    BYTE blocks[kSyncBlocks] = {};
    std::size_t count = 0;
};

constexpr int kNoPlace = -1;

/// The places searched for one pack before the whole frame is: first those that are tried once,
/// then, sequence by sequence, one place in the audio or VAUX blocks and some sync blocks.
struct PackRoute {
    PackId id;
    int secondHalfSyncBlock = kNoPlace;  ///< in the first sequence of channel 0's second half
    int frameOffsets[2] = {kNoPlace, kNoPlace};  ///< from the start of the frame
    int evenOffset = kNoPlace;                   ///< in sequences of even number
    int oddOffset = kNoPlace;                    ///< in sequences of odd number
    SyncBlockList firstHalf = {};                ///< in sequences of a channel's first half
    SyncBlockList secondHalf = {};               ///< in sequences of a channel's second half
};

constexpr int Audio(std::size_t block) {
    return static_cast<int>(AudioPackOffset(block));
}
constexpr int Vaux(std::size_t index) {
    return static_cast<int>(VauxPackOffset(index));
}
constexpr int Subcode(std::size_t sequence, std::size_t syncBlock) {
    return static_cast<int>(sequence * kDifSequenceBytes + SubcodePackOffset(syncBlock));
}

/// The fixed place of the binary group in sequence 1 that existing recordings use: VAUX pack 6, not
/// a subcode pack.
constexpr int kBinaryGroupFrameOffset = 12273;

constexpr PackRoute kRoutes[] = {
    {.id = kTimecodePack,
     .frameOffsets = {Subcode(1, 3), kNoPlace},
     .firstHalf = {3, 4, 5, 9, 10, 11, 0, 1, 2, 6, 7, 8},
     .secondHalf = {3, 9, 0, 6}},
    {.id = kBinaryGroupPack,
     .frameOffsets = {Subcode(0, 4), kBinaryGroupFrameOffset},
     .firstHalf = {4, 10, 1, 7}},
    {.id = kAudioControlPack, .evenOffset = Audio(4), .oddOffset = Audio(1)},
    {.id = kAudioRecDatePack,
     .evenOffset = Audio(5),
     .oddOffset = Audio(2),
     .secondHalf = {4, 10, 1, 7}},
    {.id = kAudioRecTimePack,
     .evenOffset = Audio(6),
     .oddOffset = Audio(3),
     .firstHalf = {11},
     .secondHalf = {5, 11, 2, 8}},
    {.id = kVideoSourcePack, .evenOffset = Vaux(39), .oddOffset = Vaux(0)},
    {.id = kVideoControlPack, .evenOffset = Vaux(40), .oddOffset = Vaux(1)},
    {.id = kVideoRecDatePack,
     .secondHalfSyncBlock = 4,
     .evenOffset = Vaux(41),
     .oddOffset = Vaux(2),
     .secondHalf = {4, 10, 1, 7}},
    {.id = kVideoRecTimePack,
     .secondHalfSyncBlock = 5,
     .evenOffset = Vaux(42),
     .oddOffset = Vaux(3),
     .firstHalf = {11},
     .secondHalf = {5, 11, 2, 8}},
    {.id = kFrameRatePack, .evenOffset = Vaux(43), .oddOffset = Vaux(4)},
};

/// The pack at `offset` when it is inside the frame and has ID `id`, else null. The offset is
/// 64 bits wide because it may be computed from a channel number that the frame does not have.
const BYTE* PackIfThere(ByteSpan frame, std::uint64_t offset, BYTE id) {
    if (offset > frame.size() || !Holds(frame, static_cast<std::size_t>(offset), kPackBytes)) {
        return nullptr;
    }
    const BYTE* pack = frame.data() + offset;
    return pack[kPackId] == id ? pack : nullptr;
}

const BYTE* PackIfThere(ByteSpan frame, std::uint64_t sequence, std::size_t offset, BYTE id) {
    return PackIfThere(frame, sequence * kDifSequenceBytes + offset, id);
}

DWORD SequenceCount(ByteSpan frame) {
    return static_cast<DWORD>(frame.size() / kDifSequenceBytes);
}

const BYTE* FindOnce(ByteSpan frame, const PackRoute& route) {
    if (route.secondHalfSyncBlock != kNoPlace) {
        const auto syncBlock = static_cast<std::size_t>(route.secondHalfSyncBlock);
        const DWORD sequence = SequencesPerHalfChannel(SequenceCount(frame));
        if (auto* pack = PackIfThere(frame, sequence, SubcodePackOffset(syncBlock), route.id)) {
            return pack;
        }
    }
    for (const int offset : route.frameOffsets) {
        if (offset == kNoPlace) {
            break;
        }
        if (auto* pack = PackIfThere(frame, static_cast<std::uint64_t>(offset), route.id)) {
            return pack;
        }
    }
    return nullptr;
}

const BYTE* FindInSequence(ByteSpan frame, const PackRoute& route, DWORD sequence, bool inFirst) {
    const int offset = sequence % 2 == 0 ? route.evenOffset : route.oddOffset;
    if (offset != kNoPlace) {
        if (auto* pack = PackIfThere(frame, sequence, static_cast<std::size_t>(offset), route.id)) {
            return pack;
        }
    }
    for (const BYTE syncBlock : inFirst ? route.firstHalf : route.secondHalf) {
        if (auto* pack = PackIfThere(frame, sequence, SubcodePackOffset(syncBlock), route.id)) {
            return pack;
        }
    }
    return nullptr;
}

const BYTE* FindOnRoute(ByteSpan frame, const PackRoute& route) {
    if (auto* pack = FindOnce(frame, route)) {
        return pack;
    }
    const DWORD sequences = SequenceCount(frame);
    const DWORD half = SequencesPerHalfChannel(sequences);
    for (DWORD sequence = 0; sequence < sequences; ++sequence) {
        const bool inFirst = sequence / half % 2 == 0;
        if (auto* pack = FindInSequence(frame, route, sequence, inFirst)) {
            return pack;
        }
    }
    return nullptr;
}

/// Where a sequence has packs, in the order in which they are searched: audio, VAUX, subcode.
constexpr auto kPackOffsets = [] {
    std::array<std::size_t, kAudioBlocks + kVauxPacks + kSyncBlocks> offsets{};
    std::size_t at = 0;
    for (std::size_t block = 0; block < kAudioBlocks; ++block) {
        offsets[at++] = AudioPackOffset(block);
    }
    for (std::size_t index = 0; index < kVauxPacks; ++index) {
        offsets[at++] = VauxPackOffset(index);
    }
    for (std::size_t syncBlock = 0; syncBlock < kSyncBlocks; ++syncBlock) {
        offsets[at++] = SubcodePackOffset(syncBlock);
    }
    return offsets;
}();

/// The audio source pack travels in audio block 3 of even sequences and audio block 0 of odd ones.
std::size_t AudioSourceOffset(std::uint64_t sequence) {
    return AudioPackOffset(sequence % 2 == 0 ? 3 : 0);
}

}  // namespace

const BYTE* FindPack(const void* frame, std::size_t size, BYTE id) {
    const ByteSpan bytes = BytesAt(frame, size);
    for (DWORD sequence = 0; sequence < SequenceCount(bytes); ++sequence) {
        for (const std::size_t offset : kPackOffsets) {
            if (auto* pack = PackIfThere(bytes, sequence, offset, id)) {
                return pack;
            }
        }
    }
    return nullptr;
}

const BYTE* LocatePack(const void* frame, std::size_t size, PackId id) {
    for (const PackRoute& route : kRoutes) {
        if (route.id == id) {
            if (auto* pack = FindOnRoute(BytesAt(frame, size), route)) {
                return pack;
            }
        }
    }
    return FindPack(frame, size, id);
}

const BYTE* FindAudioSourcePack(const void* frame, std::size_t size, DWORD channel, DWORD half) {
    const ByteSpan bytes = BytesAt(frame, size);
    const DWORD halfSequences = SequencesPerHalfChannel(SequenceCount(bytes));
    const std::uint64_t first = (2 * std::uint64_t{channel} + half) * halfSequences;
    const std::size_t offset = AudioSourceOffset(first);
    for (const std::uint64_t sequence : {first, first + 2}) {
        if (auto* pack = PackIfThere(bytes, sequence, offset, kAudioSourcePack)) {
            return pack;
        }
    }
    for (std::uint64_t sequence = first; sequence < first + halfSequences; ++sequence) {
        if (auto* pack =
                PackIfThere(bytes, sequence, AudioSourceOffset(sequence), kAudioSourcePack)) {
            return pack;
        }
    }
    // Only the opening half channel, not the whole frame: the substitute is channel 0's audio.
    const ByteSpan opening = Slice(bytes, 0, halfSequences * kDifSequenceBytes);
    return FindPack(opening.data(), opening.size(), kAudioSourcePack);
}

const BYTE* FindTimecodePack(const void* frame, std::size_t size) {
    return LocatePack(frame, size, kTimecodePack);
}

const BYTE* SubcodePackAt(const void* frame, DWORD sequence, DWORD syncBlock) {
    return static_cast<const BYTE*>(frame) + sequence * kDifSequenceBytes +
           SubcodePackOffset(syncBlock);
}

}  // namespace nyx
