#pragma once

#include "platform/win_types.h"

namespace nyx {

/// Reads one setting of the codec with the given FourCC from the current user's store, as a signed
/// 32-bit integer; `defaultValue` when it is absent or unreadable. Builds without a registry always
/// answer the default.
LONG ReadCodecSetting(DWORD fourcc, const wchar_t* name, LONG defaultValue);

/// Writes one setting of the codec with the given FourCC. Returns a Win32 error code, 0 without
/// having stored anything in builds without a registry.
LONG WriteCodecSetting(DWORD fourcc, const wchar_t* name, LONG value);

}  // namespace nyx
