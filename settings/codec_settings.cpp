#include "settings/codec_settings.h"

#include "settings/settings.h"

namespace nyx {
namespace {

/// The codec's key under HKEY_CURRENT_USER: the family's root and the FourCC's four characters.
struct CodecKey {
    wchar_t path[32] = L"Software\\Veltro\\Codec\\";

    explicit CodecKey(DWORD fourcc) {
        wchar_t* end = path;
        while (*end) {
            ++end;
        }
        for (int i = 0; i < 4; ++i) {
            *end++ = static_cast<wchar_t>(fourcc >> (8 * i) & 0xFF);
        }
    }
};

}  // namespace

LONG ReadCodecSetting(DWORD fourcc, const wchar_t* name, LONG defaultValue) noexcept {
    return static_cast<LONG>(ReadSettingDword(HKEY_CURRENT_USER, CodecKey(fourcc).path, name,
                                              static_cast<DWORD>(defaultValue)));
}

LONG WriteCodecSetting(DWORD fourcc, const wchar_t* name, LONG value) noexcept {
    return WriteSettingDword(HKEY_CURRENT_USER, CodecKey(fourcc).path, name,
                             static_cast<DWORD>(value));
}

LONG ResetCodecSetting(DWORD fourcc, const wchar_t* name) noexcept {
    const LONG error = RegDeleteKeyValueW(HKEY_CURRENT_USER, CodecKey(fourcc).path, name);
    return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
}

}  // namespace nyx
