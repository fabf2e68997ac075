#pragma once

/// @file
/// The source filter's settings, under HKEY_CURRENT_USER beside those of the codecs.

#include "settings/settings.h"

namespace nyx {

constexpr wchar_t kSourceKey[] = L"Software\\Veltro\\Source";

/// Whether two mono tracks that follow each other get one stereo pin; not so without the setting.
inline bool ReadPairMono() noexcept {
    return ReadSettingDword(HKEY_CURRENT_USER, kSourceKey, L"pair_mono", 0) != 0;
}

}  // namespace nyx
