#pragma once

/// @file
/// The oldest accepted engines by the high word of the fixed file version: for the module, and for
/// programs that explain why an engine is refused.

#include <windows.h>

namespace nyx {

constexpr DWORD EngineVersion(WORD major, WORD minor) {
    return DWORD{major} << 16 | minor;
}

constexpr DWORD kOldestZetaCore = EngineVersion(1, 32);
constexpr DWORD kOldestZetaAlpha = EngineVersion(1, 20);
constexpr DWORD kOldestZeta2 = EngineVersion(1, 0);
constexpr DWORD kOldestLossless = EngineVersion(1, 21);
constexpr DWORD kOldestMpegIntra = 0;  // any
constexpr DWORD kOldestDv = EngineVersion(4, 31);

}  // namespace nyx
