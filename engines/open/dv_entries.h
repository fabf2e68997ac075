#pragma once

/// @file
/// The entries of "rkdvh.dll", as codecs/engine_records.h describes them.

#include "codecs/engine_records.h"
#include "media/dv_signals.h"

extern "C" LONG __stdcall dv_decode(LONG flags, const void* frame, void* destination, LONG stride,
                                    LONG bytesPerPixel, LONG code);
extern "C" LONG __stdcall dv_encode(LONG flags, void* frame, const void* source, LONG stride,
                                    LONG bytesPerPixel, LONG code);
