#include "engines/open/picture_reader.h"

#include <algorithm>
#include <vector>

#include "convert/convert.h"
#include "engines/open/chroma_siting.h"
#include "media/libav.h"

namespace nyx::open {
namespace {

/// A half-band filter around the kept sample: 1 2 1.
BYTE Smooth(int before, int kept, int after) {
    return static_cast<BYTE>((before + 2 * kept + after + 2) / 4);
}

/// One component of a "YUY2" picture, whose samples are `step` bytes apart.
struct Component {
    const Surface& yuy2;
    int first;
    int step;
    int width;

    int At(int x, int y) const { return yuy2.Row(y)[first + step * std::clamp(x, 0, width - 1)]; }
};

struct Plane {
    BYTE* data;
    int stride;

    BYTE* Row(int y) const { return data + std::ptrdiff_t{y} * stride; }
};

void Copy(const Component& from, const Plane& to) {
    for (int y = 0; y < from.yuy2.height; ++y) {
        BYTE* row = to.Row(y);
        for (int x = 0; x < from.width; ++x) {
            row[x] = static_cast<BYTE>(from.At(x, y));
        }
    }
}

void HalveWidth(const Component& from, const Plane& to) {
    for (int y = 0; y < from.yuy2.height; ++y) {
        BYTE* row = to.Row(y);
        for (int x = 0; x < from.width; x += 2) {
            row[x / 2] = Smooth(from.At(x - 1, y), from.At(x, y), from.At(x + 1, y));
        }
    }
}

/// Every second line of each field is kept, from field line `firstLine` on.
void HalveHeight(const Component& from, int firstLine, const Plane& to) {
    constexpr int kFields = 2;
    const int lines = from.yuy2.height / kFields;
    for (int y = 0; y < from.yuy2.height / 2; ++y) {
        const int field = y % kFields;
        const int kept = 2 * (y / kFields) + firstLine;
        const auto line = [&](int index) {
            return std::clamp(index, 0, lines - 1) * kFields + field;
        };
        BYTE* row = to.Row(y);
        for (int x = 0; x < from.width; ++x) {
            row[x] = Smooth(from.At(x, line(kept - 1)), from.At(x, line(kept)),
                            from.At(x, line(kept + 1)));
        }
    }
}

void Split(const Surface& yuy2, AVFrame* picture) {
    const Plane planes[] = {{picture->data[0], picture->linesize[0]},
                            {picture->data[1], picture->linesize[1]},
                            {picture->data[2], picture->linesize[2]}};
    const int pairs = yuy2.width / 2;
    Copy({.yuy2 = yuy2, .first = 0, .step = 2, .width = yuy2.width}, planes[0]);
    const Component cb = {.yuy2 = yuy2, .first = 1, .step = 4, .width = pairs};
    const Component cr = {.yuy2 = yuy2, .first = 3, .step = 4, .width = pairs};
    constexpr int kQuartersPerLine = 4;
    switch (picture->format) {
        case AV_PIX_FMT_YUV411P:
            HalveWidth(cb, planes[1]);
            HalveWidth(cr, planes[2]);
            break;
        case AV_PIX_FMT_YUV420P:
            HalveHeight(cb, kDvSiting.cb[0] / kQuartersPerLine, planes[1]);
            HalveHeight(cr, kDvSiting.cr[0] / kQuartersPerLine, planes[2]);
            break;
        default:
            Copy(cb, planes[1]);
            Copy(cr, planes[2]);
    }
}

}  // namespace

bool ReadPicture(const Surface& surface, AVFrame* picture) {
    const PixelLayout& layout = surface.layout;
    if (layout.rgbFourCC == 0) {
        Split(surface, picture);
        return true;
    }
    const LONG lineBytes = 2 * surface.width;
    std::vector<BYTE> pixels(static_cast<std::size_t>(lineBytes * surface.height));
    const ImagePlane from = {surface.data, surface.stride,
                             surface.stride - surface.width * layout.bytesPerPixel};
    const ImagePlane to = {pixels.data(), lineBytes, 0};
    if (FAILED(ConvertToYuv(&from, layout.rgbFourCC, layout.rgbFlags, nullptr, &to, nullptr,
                            FourCC("YUY2"), layout.yuvFlags, 0, surface.width, surface.height))) {
        return false;
    }
    Split({.data = pixels.data(),
           .stride = lineBytes,
           .width = surface.width,
           .height = surface.height,
           .layout = *LayoutOf(0)},
          picture);
    return true;
}

}  // namespace nyx::open
