#pragma once

/// @file
/// Finds packs in a DV frame. Every search is bounded by the frame's size: places outside are
/// skipped. Results point at a pack's ID byte inside the frame, with all five bytes readable, and
/// live as long as the frame.

#include <cstddef>

#include "dv/dif_layout.h"

namespace nyx {

/// The first pack with ID `id`, looking in each whole sequence at its audio, VAUX and subcode packs
/// in this order. Null when there is none.
const BYTE* FindPack(const void* frame, std::size_t size, BYTE id);

/// The pack `id` where recorders write it, else the first one that FindPack finds. Null when the
/// frame has none. `id` is any PackId but the audio source, which belongs to one half of a channel.
const BYTE* LocatePack(const void* frame, std::size_t size, PackId id);

/// The audio source pack of one half (0 or 1) of a channel (0..3). When that half carries none, the
/// first one in the frame's opening half channel takes its place. Null when that has none either.
const BYTE* FindAudioSourcePack(const void* frame, std::size_t size, DWORD channel, DWORD half);

/// The SMPTE timecode pack: where recorders write it, else the first one anywhere. Null when the
/// frame has none.
const BYTE* FindTimecodePack(const void* frame, std::size_t size);

/// The pack of sync block `syncBlock` (0..11) of sequence `sequence`, whatever its ID is. The
/// caller ensures that the whole sequence is inside the frame.
const BYTE* SubcodePackAt(const void* frame, DWORD sequence, DWORD syncBlock);

}  // namespace nyx
