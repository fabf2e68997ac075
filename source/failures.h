#pragma once

/// @file
/// Why a file is not read: the platform's own codes, under names that exist without its headers
/// too.

#include "platform/win_types.h"

namespace nyx::source {

constexpr HRESULT kCancelled = static_cast<HRESULT>(0x80004004u);          ///< E_ABORT
constexpr HRESULT kUnknownFileType = static_cast<HRESULT>(0x80040240u);    ///< VFW_E_...
constexpr HRESULT kInvalidFileFormat = static_cast<HRESULT>(0x8004022Fu);  ///< a damaged container
constexpr HRESULT kUnsupportedStream = static_cast<HRESULT>(0x80040265u);  ///< nothing for a pin
constexpr HRESULT kUnsupportedVideo =
    static_cast<HRESULT>(0x8004025Du);  ///< a variant without a decoder
constexpr HRESULT kUnsupportedAudio = static_cast<HRESULT>(0x8004025Cu);  ///< compressed audio

}  // namespace nyx::source
