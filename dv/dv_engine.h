#pragma once

/// @file
/// The DV engine's two entries, of six arguments each, by standard call.

#include <windows.h>

#include "media/dv_signals.h"

namespace nyx {

/// Decodes one whole frame. `destination` is the first row in processing order, `stride` the bytes
/// from row to row, negative for bottom-up. The result, a status, is ignored.
using DvDecodeEntry = LONG(__stdcall*)(LONG flags, const void* frame, void* destination,
                                       LONG stride, LONG bytesPerPixel, LONG outputCode);

/// Encodes one picture of the variant's own size; returns the frame's length in bytes.
using DvEncodeEntry = LONG(__stdcall*)(LONG flags, void* frame, const void* source, LONG stride,
                                       LONG bytesPerPixel, LONG inputCode);

}  // namespace nyx
