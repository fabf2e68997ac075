#pragma once

/// @file
/// Majority votes over the header and subcode blocks of a frame's sequences: recorders repeat these
/// fields in every sequence so that a damaged one does no harm. Only whole sequences count.

#include "platform/byte_span.h"

namespace nyx {

/// The application ID (0..7) of the frame. 7, unknown, when neither the votes nor `videoSource`
/// (its video source pack or null) decide.
BYTE VoteApplicationId(ByteSpan frame, const BYTE* videoSource);

/// False when more sequences flag their audio area as not valid than valid (TF1 of the header).
bool VoteAudioPresent(ByteSpan frame);

}  // namespace nyx
