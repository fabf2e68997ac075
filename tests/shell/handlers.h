#pragma once

#include <propsys.h>
#include <shlwapi.h>
#include <thumbcache.h>

#include <initguid.h>
#include <propkey.h>

#include <string>

#include "platform/com.h"

namespace nyx::test {

/// A thumbnail and how it came about.
struct Shown {
    HRESULT result = E_FAIL;
    LONG width = 0, height = 0;
    std::string pixels{};  ///< rows from the top, 32 bits each
};

inline Shown Take(const ComPtr<IThumbnailProvider>& provider, UINT size) {
    Shown shown;
    HBITMAP bitmap = nullptr;
    WTS_ALPHATYPE alpha = WTSAT_UNKNOWN;
    shown.result = provider->GetThumbnail(size, &bitmap, &alpha);
    DIBSECTION section{};
    if (bitmap && alpha == WTSAT_RGB && GetObjectW(bitmap, sizeof(section), &section)) {
        shown.width = section.dsBm.bmWidth;
        shown.height = section.dsBm.bmHeight;
        shown.pixels.resize(std::size_t(shown.width) * std::size_t(shown.height) * 4);
        BITMAPINFO format{{40, shown.width, -shown.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
        const HDC screen = GetDC(nullptr);
        GetDIBits(screen, bitmap, 0, UINT(shown.height), shown.pixels.data(), &format, 0);
        ReleaseDC(nullptr, screen);
    }
    DeleteObject(bitmap);
    return shown;
}

inline PROPVARIANT Value(const ComPtr<IPropertyStore>& store, const PROPERTYKEY& key) {
    PROPVARIANT value{};  // text stays allocated: the programs are short
    store->GetValue(key, &value);
    return value;
}

}  // namespace nyx::test
