#pragma once

/// @file
/// The marks by which a DV frame states its signal, and its planes in libavcodec's terms.

#include "media/dv_signals.h"
#include "media/libav.h"

namespace nyx::open {

/// DV25 is 4:1:1, except in 625/50, where only DVCPRO25 is; the others are 4:2:2.
AVPixelFormat PlanesOf(const DvSignal& signal);

/// Writes the signal's marks where the decoder reads them (first header block, first VAUX block):
/// the caller may have found them elsewhere in the frame, as the standards permit.
void MarkFrame(const DvSignal& signal, BYTE* frame);

/// Writes the application ID into every header and subcode block of a frame.
void SetApplicationId(const DvSignal& signal, BYTE* frame);

}  // namespace nyx::open
