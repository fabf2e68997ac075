#include "settings/codec_settings.h"

namespace nyx {

LONG ReadCodecSetting(DWORD, const wchar_t*, LONG defaultValue) noexcept {
    return defaultValue;
}

LONG WriteCodecSetting(DWORD, const wchar_t*, LONG) noexcept {
    return 0;
}

}  // namespace nyx
