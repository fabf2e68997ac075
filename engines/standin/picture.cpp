#include "engines/standin/picture.h"

#include <algorithm>
#include <cstddef>

#include "convert/convert.h"
#include "convert/formats.h"

namespace standin {
namespace {

/// A caller's 16 by 16 block: luma of 16 pixels, 8 Cr, 8 Cb a row; alpha in a second block.
constexpr int kBlockSide = 16;
constexpr int kBlockRowBytes = 32;
constexpr int kCrAt = 16;
constexpr int kCbAt = 24;
constexpr int kAlphaBlockAt = 512;
constexpr int kBlockBytes = 1024;
constexpr int kCallbackRows = 8;

void CopySample(Direction direction, BYTE* byte, std::uint16_t* sample) {
    if (direction == Direction::kStore) {
        *byte = static_cast<BYTE>(std::min((*sample + 2) >> 2, 255));
    } else {
        *sample = static_cast<std::uint16_t>(*byte << 2);
    }
}

void CopyAlpha(Direction direction, BYTE* byte, std::uint16_t* alpha) {
    if (direction == Direction::kStore) {
        *byte = static_cast<BYTE>((*alpha * 255 + 511) / 1023);
    } else {
        *alpha = static_cast<std::uint16_t>((*byte * 1023 + 127) / 255);
    }
}

bool CopyRgb(Direction direction, DWORD_PTR place, const Surface& surface, Picture* picture) {
    const DWORD yuvFlags = place < 2 ? nyx::kYuvBt709 : nyx::kYuvBt601;
    const DWORD rgbFlags = place % 2 == 0 ? nyx::kRgbFullRange : nyx::kRgbStudioRange;
    const LONG bytes = surface.bytesPerPixel;
    const DWORD fourcc = bytes == 3 ? nyx::kBgr3 : nyx::kBgra;
    const nyx::ImagePlane rgb = {surface.data, surface.stride,
                                 surface.stride - picture->width * bytes};
    const nyx::ImagePlane yuv = {reinterpret_cast<BYTE*>(picture->samples.data()),
                                 picture->width * 4, 0};
    const HRESULT result =
        direction == Direction::kStore
            ? nyx::ConvertFromYuv(&yuv, nullptr, nyx::kW210, yuvFlags, 0, &rgb, fourcc, rgbFlags, 0,
                                  picture->width, picture->height)
            : nyx::ConvertToYuv(&rgb, fourcc, rgbFlags, nullptr, &yuv, nullptr, nyx::kW210,
                                yuvFlags, 0, picture->width, picture->height);
    for (int y = 0; bytes == 4 && !picture->alpha.empty() && y < picture->height; ++y) {
        for (int x = 0; x < picture->width; ++x) {
            CopyAlpha(direction, &surface.row(y)[4 * x + 3], &picture->alphaRow(y)[x]);
        }
    }
    return SUCCEEDED(result);
}

}  // namespace

bool Copy(Direction direction, const Codes& codes, DWORD_PTR code, const Surface& surface,
          Picture* picture) {
    if (code == codes.yuy2 && surface.bytesPerPixel == 2) {
        for (int y = 0; y < picture->height; ++y) {
            for (int i = 0; i < 2 * picture->width; ++i) {
                CopySample(direction, &surface.row(y)[i], &picture->row(y)[i]);
            }
        }
        return true;
    }
    const DWORD first = surface.bytesPerPixel == 3 ? codes.rgb24 : codes.rgb32;
    const DWORD step = surface.bytesPerPixel == 3 ? codes.rgb24Step : codes.rgb32Step;
    const DWORD_PTR place = (first - code) / step;
    return surface.bytesPerPixel >= 3 && surface.bytesPerPixel <= 4 && code <= first && place < 4 &&
           code == first - place * step && CopyRgb(direction, place, surface, picture);
}

void CopyBlocks(
    Direction direction, const Surface& surface, Picture* picture,
    const std::function<void(BYTE* at, BYTE* block, LONG width, LONG rows, bool clear)>& call) {
    for (int y0 = 0; y0 < picture->height; y0 += kBlockSide) {
        for (int x0 = 0; x0 < picture->width; x0 += kBlockSide) {
            alignas(16) BYTE block[kBlockBytes] = {};
            const int width = std::min(kBlockSide, picture->width - x0);
            const int rows = std::min(kBlockSide, picture->height - y0);
            bool clear = !picture->alpha.empty();
            const auto copy = [&] {
                for (int y = 0; y < rows; ++y) {
                    BYTE* const row = block + y * kBlockRowBytes;
                    for (int x = 0; x < width; ++x) {
                        std::uint16_t* const luma = picture->row(y0 + y) + 2 * (x0 + x);
                        CopySample(direction, &row[x], luma);
                        CopySample(direction, &row[(x % 2 == 0 ? kCbAt : kCrAt) + x / 2], luma + 1);
                        if (!picture->alpha.empty()) {
                            std::uint16_t* const alpha = picture->alphaRow(y0 + y) + x0 + x;
                            CopyAlpha(direction, &row[kAlphaBlockAt + x], alpha);
                            clear = clear && *alpha == 0;
                        }
                    }
                }
            };
            if (direction == Direction::kStore) {
                copy();
            }
            call(surface.row(y0) + std::ptrdiff_t{x0} * surface.bytesPerPixel, block, width, rows,
                 clear);
            if (direction == Direction::kLoad) {
                copy();
            }
        }
    }
}

void CopyWorkingRows(const Surface& surface, WorkingRowsCallback call, Picture* picture) {
    for (int y = 0; y < picture->height; y += kCallbackRows) {
        call(surface.row(y), surface.stride, reinterpret_cast<BYTE*>(picture->row(y)),
             picture->width * 4, reinterpret_cast<BYTE*>(picture->alphaRow(y)), picture->width * 2,
             picture->width, std::min(kCallbackRows, picture->height - y));
    }
}

}  // namespace standin
