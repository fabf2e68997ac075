#include "engines/open/picture_writer.h"

#include <algorithm>
#include <atomic>
#include <vector>

#include "convert/convert.h"
#include "engines/open/parallel.h"
#include "media/libav.h"

namespace nyx::open {
namespace {

/// Writes lines of a picture's planes as "YUY2".
class LineWriter {
  public:
    LineWriter(const AVFrame& picture, const ChromaSiting& siting, int width)
        : picture_(picture), siting_(siting), width_(width), chroma_(static_cast<size_t>(width)) {}

    void Write(int y, BYTE* out) {
        BYTE* cb = chroma_.data();
        BYTE* cr = cb + width_ / 2;
        const BYTE* luma = picture_.data[0] + std::ptrdiff_t{y} * picture_.linesize[0];
        switch (picture_.format) {
            case AV_PIX_FMT_YUV422P:
                Interleave(luma, Plane(1).Row(y), Plane(2).Row(y), width_, out);
                return;
            case AV_PIX_FMT_YUV411P:
                DoubleSamples(Plane(1).Row(y), width_ / 2, cb);
                DoubleSamples(Plane(2).Row(y), width_ / 2, cr);
                break;
            default:
                InterpolateRow(Plane(1), siting_.fields, siting_.cb, y, cb);
                InterpolateRow(Plane(2), siting_.fields, siting_.cr, y, cr);
        }
        Interleave(luma, cb, cr, width_, out);
    }

  private:
    ChromaPlane Plane(int index) const {
        return {picture_.data[index], picture_.linesize[index], width_ / 2,
                (picture_.height + 1) / 2};
    }

    const AVFrame& picture_;
    const ChromaSiting& siting_;
    int width_;
    std::vector<BYTE> chroma_;
};

bool IsKnown(int format) {
    return format == AV_PIX_FMT_YUV422P || format == AV_PIX_FMT_YUV411P ||
           format == AV_PIX_FMT_YUV420P;
}

struct RowRange {
    LONG begin;
    LONG end;
};

void WriteYuy2(LineWriter& lines, LONG firstRow, const Surface& surface, RowRange rows) {
    for (LONG y = rows.begin; y < rows.end; ++y) {
        lines.Write(firstRow + y, surface.Row(y));
    }
}

/// A strip at a time, so that the conversion finds its lines in the cache. False when the pixels
/// cannot be converted.
bool WriteRgb(LineWriter& lines, LONG firstRow, const Surface& surface, RowRange rows) {
    constexpr LONG kStripRows = 4;
    const PixelLayout& layout = surface.layout;
    const LONG lineBytes = 2 * surface.width;
    std::vector<BYTE> strip(static_cast<std::size_t>(kStripRows * lineBytes));
    for (LONG y = rows.begin; y < rows.end; y += kStripRows) {
        const LONG count = std::min(kStripRows, rows.end - y);
        for (LONG i = 0; i < count; ++i) {
            lines.Write(firstRow + y + i, &strip[static_cast<std::size_t>(i * lineBytes)]);
        }
        const ImagePlane from = {strip.data(), lineBytes, 0};
        const ImagePlane to = {surface.Row(y), surface.stride,
                               surface.stride - surface.width * layout.bytesPerPixel};
        if (FAILED(ConvertFromYuv(&from, nullptr, FourCC("YUY2"), layout.yuvFlags, 0, &to,
                                  layout.rgbFourCC, layout.rgbFlags, 0, surface.width, count))) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool WritePicture(const AVFrame& picture, LONG firstRow, const ChromaSiting& siting,
                  const Surface& surface, int threads) {
    if (!IsKnown(picture.format) || firstRow < 0 || picture.width < surface.width ||
        picture.height - firstRow < surface.height) {
        return false;
    }
    constexpr LONG kBandRows = 32;
    const int bands = static_cast<int>((surface.height + kBandRows - 1) / kBandRows);
    std::atomic<bool> converted{true};
    const bool done = RunParts(threads, bands, [&](int band) {
        const RowRange rows = {band * kBandRows, std::min((band + 1) * kBandRows, surface.height)};
        LineWriter lines(picture, siting, surface.width);
        if (surface.layout.rgbFourCC == 0) {
            WriteYuy2(lines, firstRow, surface, rows);
        } else if (!WriteRgb(lines, firstRow, surface, rows)) {
            converted = false;
        }
    });
    return done && converted;
}

}  // namespace nyx::open
