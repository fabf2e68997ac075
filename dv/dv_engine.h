#pragma once

/// @file
/// The DV engine's two entries, of six arguments each, by standard call.

#include <windows.h>

namespace nyx {

/// The flag word of both entries: one variant, one system, and the aspect where specified. The
/// engine names 720-line material differently in the two directions.
constexpr LONG kEngineDv25 = 0x11;
constexpr LONG kEngineDvcPro25 = 0x12;
constexpr LONG kEngineDvcPro50 = 0x20;
constexpr LONG kEngineDvcProHd1080 = 0x32;
constexpr LONG kEngineDvcProHd720Decode = 0x34;
constexpr LONG kEngineDvcProHd720Encode = 0x35;
constexpr LONG kEngineSystem60 = 0x40;
constexpr LONG kEngineSystem50 = 0x80;
constexpr LONG kEngineWide = 0x400;  ///< 16:9; decodes of DV25 and DVCPRO50 have it in the frame

/// Decodes one whole frame. `destination` is the first row in processing order, `stride` the bytes
/// from row to row, negative for bottom-up. The result, a status, is ignored.
using DvDecodeEntry = LONG(__stdcall*)(LONG flags, const void* frame, void* destination,
                                       LONG stride, LONG bytesPerPixel, LONG outputCode);

/// Encodes one picture of the variant's own size; returns the frame's length in bytes.
using DvEncodeEntry = LONG(__stdcall*)(LONG flags, void* frame, const void* source, LONG stride,
                                       LONG bytesPerPixel, LONG inputCode);

}  // namespace nyx
