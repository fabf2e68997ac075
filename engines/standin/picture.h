#pragma once

/// @file
/// A stand-in's working picture: planes of 4:2:2 samples, filled from and stored to the callers'
/// layouts.

#include <windows.h>

#include <cstdint>
#include <vector>

namespace standin {

struct Plane {
    int width = 0;
    int height = 0;
    std::vector<std::uint16_t> samples;

    Plane() = default;
    Plane(int w, int h)
        : width(w), height(h), samples(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

    std::uint16_t* row(int y) { return samples.data() + Offset(y); }
    const std::uint16_t* row(int y) const { return samples.data() + Offset(y); }

  private:
    std::size_t Offset(int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
};

/// Samples of `depth` bits; chroma planes are half as wide. `alpha` is empty for opaque pictures.
struct Picture {
    int width = 0;
    int height = 0;
    int depth = 8;
    Plane y;
    Plane cb;
    Plane cr;
    Plane alpha;

    Picture() = default;
    Picture(int w, int h, int bits, bool withAlpha)
        : width(w),
          height(h),
          depth(bits),
          y(w, h),
          cb(w / 2, h),
          cr(w / 2, h),
          alpha(withAlpha ? Plane(w, h) : Plane()) {}

    bool hasAlpha() const { return !alpha.samples.empty(); }
};

/// An RGB layout that an engine stores itself.
struct RgbLayout {
    int bytesPerPixel;    ///< 3 or 4
    bool highDefinition;  ///< the BT.709 matrix, else BT.601
    bool fullRange;
};

/// The caller's picture in memory.
struct Surface {
    BYTE* data;
    LONG stride;
};

/// "YUY2", 8 bits. Deeper samples are rounded.
void StoreYuy2(const Picture& picture, const Surface& surface);
void LoadYuy2(const Surface& surface, Picture* picture);

/// RGB; alpha goes to the fourth byte when both have it, else that byte is 255. False when the
/// conversion library refuses, as on a processor without its instruction set.
bool StoreRgb(const Picture& picture, const RgbLayout& layout, const Surface& surface);
bool LoadRgb(const Surface& surface, const RgbLayout& layout, Picture* picture);

/// Where 16 by 16 blocks of 8-bit samples go through the caller's row callbacks.
using CoreCallback = void(__stdcall*)(BYTE* picture, LONG stride, BYTE* block, LONG width,
                                      LONG rows);
using AlphaCallback = void(__stdcall*)(BYTE* picture, LONG stride, DWORD, DWORD, BYTE* block,
                                       LONG width, LONG rows);
using FillCallback = void(__stdcall*)(BYTE* picture, LONG stride, DWORD, DWORD, LONG width,
                                      LONG rows);

void StoreByCoreCallback(const Picture& picture, const Surface& surface, LONG bytesPerPixel,
                         CoreCallback writer);
void LoadByCoreCallback(const Surface& surface, LONG bytesPerPixel, CoreCallback reader,
                        Picture* picture);

/// Blocks whose alpha is 0 throughout go to `fill`.
void StoreByAlphaCallback(const Picture& picture, const Surface& surface, LONG bytesPerPixel,
                          FillCallback fill, AlphaCallback writer);
void LoadByAlphaCallback(const Surface& surface, LONG bytesPerPixel, AlphaCallback reader,
                         Picture* picture);

/// Where 10-bit rows go through the caller's callback: pairs of Y0, Cb, Y1, Cr words, and alpha
/// words or null.
using WorkingRowsCallback = void(__stdcall*)(BYTE* picture, LONG stride, BYTE* rows, LONG rowStride,
                                             BYTE* alpha, LONG alphaStride, LONG width,
                                             LONG rowCount);

void StoreByWorkingRows(const Picture& picture, const Surface& surface, WorkingRowsCallback writer);
void LoadByWorkingRows(const Surface& surface, WorkingRowsCallback reader, Picture* picture);

/// True when a pixel-format word is an address rather than a number.
constexpr bool IsAddress(DWORD code) {
    return code >= 0x10000;
}

}  // namespace standin
