#pragma once

/// @file
/// What a file is refused with: DirectShow's own codes (vfwmsgs.h), under names that also exist
/// where that header does not.

#include "platform/win_types.h"

namespace nyx::source {

/// VFW_E_UNKNOWN_FILE_TYPE: none of the kinds of files that are read here.
constexpr HRESULT kUnknownFileType = static_cast<HRESULT>(0x80040240u);
/// VFW_E_INVALID_FILE_FORMAT: such a file, but damaged beyond reading.
constexpr HRESULT kInvalidFileFormat = static_cast<HRESULT>(0x8004022Fu);
/// VFW_E_UNSUPPORTED_STREAM: nothing in it that a pin could deliver.
constexpr HRESULT kUnsupportedStream = static_cast<HRESULT>(0x80040265u);
/// VFW_E_UNSUPPORTED_VIDEO: video of a format that is delivered here, but not in this variant.
constexpr HRESULT kUnsupportedVideo = static_cast<HRESULT>(0x8004025Du);

}  // namespace nyx::source
