#include "convert/formats.h"

#include "convert/convert.h"

namespace nyx {
namespace {

constexpr PixelFormat kFormats[] = {
    // fourcc, kind, bits per channel, bytes per pixel, alpha's byte, alpha's first bit
    {kYuy2, FormatKind::kYuv422, 8, 2, -1, 0},  {kW210, FormatKind::kYuv422, 10, 4, -1, 0},
    {kBgr3, FormatKind::kRgb8, 8, 3, -1, 0},    {kRgb3, FormatKind::kRgb8, 8, 3, -1, 0},
    {kBgra, FormatKind::kRgb8, 8, 4, 3, 0},     {kRgba, FormatKind::kRgb8, 8, 4, 3, 0},
    {kArgb, FormatKind::kRgb8, 8, 4, 0, 0},     {k48rl, FormatKind::kDeepRgb, 16, 6, -1, 0},
    {k64al, FormatKind::kDeepRgb, 16, 8, 7, 0}, {kA46l, FormatKind::kDeepRgb, 16, 8, 1, 0},
    {kL64a, FormatKind::kDeepRgb, 16, 8, 7, 0}, {k30rl, FormatKind::kDeepRgb, 10, 4, -1, 0},
    {k40al, FormatKind::kDeepRgb, 10, 5, 4, 0}, {kA04l, FormatKind::kDeepRgb, 10, 5, 0, 2},
    {kL40a, FormatKind::kDeepRgb, 10, 5, 4, 0},
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
