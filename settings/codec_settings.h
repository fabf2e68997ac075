#pragma once

#include "platform/win_types.h"

namespace nyx {

/// Reads one setting of the codec with the given FourCC from the current user's store, as a signed
/// 32-bit integer; `defaultValue` when it is absent or unreadable, and always in builds without a
/// registry.
LONG ReadCodecSetting(DWORD fourcc, const wchar_t* name, LONG defaultValue) noexcept;

/// Writes one setting of the codec with the given FourCC. Returns a Win32 error code; builds
/// without a registry store nothing and return 0.
LONG WriteCodecSetting(DWORD fourcc, const wchar_t* name, LONG value) noexcept;

/// Removes one setting, so that its default applies again. Returns a Win32 error code; 0 also where
/// nothing was stored. Only with a registry.
LONG ResetCodecSetting(DWORD fourcc, const wchar_t* name) noexcept;

}  // namespace nyx
