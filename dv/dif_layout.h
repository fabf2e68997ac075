#pragma once

/// @file
/// The layout of a compressed DV frame (IEC 61834-2, SMPTE 314M, SMPTE 370M). A frame is a
/// row of DIF sequences; a sequence is 150 blocks of 80 bytes: header, 2 subcode, 3 VAUX, then 9
/// audio blocks, each followed by 15 video blocks. Offsets are bytes from the start of a sequence
/// unless said otherwise.

#include <cstddef>

#include "platform/win_types.h"

namespace nyx {

constexpr std::size_t kDifBlockBytes = 80;
constexpr std::size_t kDifBlockIdBytes = 3;
constexpr std::size_t kDifSequenceBytes = 150 * kDifBlockBytes;
constexpr std::size_t kPackBytes = 5;

constexpr std::size_t kAudioBlocks = 9;  ///< per sequence, one AAUX pack each
constexpr std::size_t kVauxPacks = 45;   ///< per sequence, 15 in each VAUX block
constexpr std::size_t kSyncBlocks = 12;  ///< per sequence, 6 in each subcode block

/// The AAUX pack of audio block `block` (0..8).
constexpr std::size_t AudioPackOffset(std::size_t block) {
    return (6 + 16 * block) * kDifBlockBytes + kDifBlockIdBytes;
}

/// VAUX pack `index` (0..44).
constexpr std::size_t VauxPackOffset(std::size_t index) {
    return (3 + index / 15) * kDifBlockBytes + kDifBlockIdBytes + index % 15 * kPackBytes;
}

/// The first ID byte of subcode sync block `syncBlock` (0..11): 8 bytes, of which two are ID, one
/// is fixed and five are the pack.
constexpr std::size_t SyncBlockOffset(std::size_t syncBlock) {
    return (1 + syncBlock / 6) * kDifBlockBytes + kDifBlockIdBytes + syncBlock % 6 * 8;
}

/// The pack of subcode sync block `syncBlock` (0..11).
constexpr std::size_t SubcodePackOffset(std::size_t syncBlock) {
    return SyncBlockOffset(syncBlock) + 3;
}

/// DIF sequences of one channel in a frame of `frameBytes`: 10 in the 525/60 system, 12 in 625/50,
/// 0 when the size is of neither.
constexpr DWORD SequencesPerChannel(std::size_t frameBytes) {
    if (frameBytes % (10 * kDifSequenceBytes) == 0) {
        return 10;
    }
    return frameBytes % (12 * kDifSequenceBytes) == 0 ? 12 : 0;
}

/// Half of a channel's sequences, by the frame's count of them: each half carries its own
/// audio, and optional subcode and VAUX packs differ between halves.
constexpr DWORD SequencesPerHalfChannel(std::size_t sequenceCount) {
    return sequenceCount % 10 == 0 ? 5 : 6;
}

/// The five bytes of a pack: its ID, then four payload bytes that the standards call PC1 to PC4.
enum PackByte : std::size_t { kPackId, kPc1, kPc2, kPc3, kPc4 };

/// Pack IDs (IEC 61834-4).
enum PackId : BYTE {
    kTimecodePack = 0x13,
    kBinaryGroupPack = 0x14,
    kAudioSourcePack = 0x50,
    kAudioControlPack = 0x51,
    kAudioRecDatePack = 0x52,
    kAudioRecTimePack = 0x53,
    kVideoSourcePack = 0x60,
    kVideoControlPack = 0x61,
    kVideoRecDatePack = 0x62,
    kVideoRecTimePack = 0x63,
    kFrameRatePack = 0x64,
};

}  // namespace nyx
