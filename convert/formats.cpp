#include "convert/formats.h"

#include "convert/convert.h"

namespace nyx {
namespace {

constexpr PixelFormat kFormats[] = {
    {kYuy2, FormatKind::kYuv422, 8, 2},   {kW210, FormatKind::kYuv422, 10, 4},
    {kBgr3, FormatKind::kRgb8, 8, 3},     {kRgb3, FormatKind::kRgb8, 8, 3},
    {kBgra, FormatKind::kRgb8, 8, 4},     {kRgba, FormatKind::kRgb8, 8, 4},
    {kArgb, FormatKind::kRgb8, 8, 4},     {k48rl, FormatKind::kDeepRgb, 16, 6},
    {k64al, FormatKind::kDeepRgb, 16, 8}, {kA46l, FormatKind::kDeepRgb, 16, 8},
    {kL64a, FormatKind::kDeepRgb, 16, 8}, {k30rl, FormatKind::kDeepRgb, 10, 4},
    {k40al, FormatKind::kDeepRgb, 10, 5}, {kA04l, FormatKind::kDeepRgb, 10, 5},
    {kL40a, FormatKind::kDeepRgb, 10, 5},
};

}  // namespace

const PixelFormat* FindPixelFormat(DWORD fourcc) {
    for (const PixelFormat& format : kFormats) {
        if (format.fourcc == fourcc) {
            return &format;
        }
    }
    return nullptr;
}

LONG BytesPerPixel(DWORD fourcc) {
    const PixelFormat* format = FindPixelFormat(fourcc);
    return format ? format->bytesPerPixel : 0;
}

}  // namespace nyx
