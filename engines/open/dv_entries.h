#pragma once

/// @file
/// The entries of "rkdvh.dll", as dv/dv_engine.h describes them.

#include "dv/dv_engine.h"

extern "C" LONG __stdcall dv_decode(LONG flags, const void* frame, void* destination, LONG stride,
                                    LONG bytesPerPixel, LONG code);
extern "C" LONG __stdcall dv_encode(LONG flags, void* frame, const void* source, LONG stride,
                                    LONG bytesPerPixel, LONG code);
