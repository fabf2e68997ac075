#include "convert/formats.h"

#include "convert/convert.h"

namespace nyx {
namespace {

constexpr PixelFormat kFormats[] = {
    {kYuy2, FormatKind::kYuv422, 8, 2, "YUYV"},   {kW210, FormatKind::kYuv422, 10, 4, "YUYV"},
    {kBgr3, FormatKind::kRgb8, 8, 3, "BGR"},      {kRgb3, FormatKind::kRgb8, 8, 3, "RGB"},
    {kBgra, FormatKind::kRgb8, 8, 4, "BGRA"},     {kRgba, FormatKind::kRgb8, 8, 4, "RGBA"},
    {kArgb, FormatKind::kRgb8, 8, 4, "ARGB"},     {k48rl, FormatKind::kDeepRgb, 16, 6, "RGB"},
    {k64al, FormatKind::kDeepRgb, 16, 8, "RGBA"}, {kA46l, FormatKind::kDeepRgb, 16, 8, "ARGB"},
    {kL64a, FormatKind::kDeepRgb, 16, 8, "BGRA"}, {k30rl, FormatKind::kDeepRgb, 10, 4, "RGB"},
    {k40al, FormatKind::kDeepRgb, 10, 5, "RGBA"}, {kA04l, FormatKind::kDeepRgb, 10, 5, "ARGB"},
    {kL40a, FormatKind::kDeepRgb, 10, 5, "BGRA"},
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
