#pragma once

/// @file
/// A stand-in's working picture, filled from and stored to the callers' layouts.

#include <windows.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace standin {

/// 4:2:2 samples of 10 bits in the conversion library's "W210" layout. 8-bit samples convert
/// without loss; alpha maps full range to full range.
struct Picture {
    int width;
    int height;
    std::vector<std::uint16_t> samples;  ///< Y Cb Y Cr ..., 2 * width a row
    std::vector<std::uint16_t> alpha;    ///< width a row, empty for opaque pictures

    Picture(int w, int h, bool withAlpha)
        : width(w),
          height(h),
          samples(2 * static_cast<std::size_t>(w) * static_cast<std::size_t>(h)),
          alpha(withAlpha ? samples.size() / 2 : 0) {}

    std::uint16_t* row(int y) { return &samples[2 * Offset(y)]; }
    std::uint16_t* alphaRow(int y) { return alpha.empty() ? nullptr : &alpha[Offset(y)]; }

  private:
    std::size_t Offset(int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
};

/// The caller's picture in memory.
struct Surface {
    BYTE* data;
    LONG stride;
    LONG bytesPerPixel;

    BYTE* row(int y) const { return data + std::ptrdiff_t{y} * stride; }
};

/// Whether samples go to the surface or come from it.
enum class Direction { kStore, kLoad };

/// An engine's numbers for the layouts that it stores itself. Those of RGB count down in steps:
/// high definition full range, high definition studio range, then standard definition in both.
struct Codes {
    DWORD yuy2 = 0;
    DWORD rgb24 = 0;
    DWORD rgb24Step = 0;
    DWORD rgb32 = 0;
    DWORD rgb32Step = 0;
};

/// Copies a picture between samples and a numbered layout; the surface's bytes per pixel decide
/// where numbers are used twice. RGB 32-bit has alpha in its fourth byte, 255 without. False for an
/// unknown number, and where the conversion library refuses.
bool Copy(Direction direction, const Codes& codes, DWORD_PTR code, const Surface& surface,
          Picture* picture);

/// Copies a picture through a row callback of 16 by 16 blocks of bytes. `call` gets the block's
/// place in the surface, the block, its width and rows, and whether all of it is transparent.
void CopyBlocks(
    Direction direction, const Surface& surface, Picture* picture,
    const std::function<void(BYTE* at, BYTE* block, LONG width, LONG rows, bool clear)>& call);

/// The callbacks that write or read 10-bit rows, and alpha rows, which may be null.
using WorkingRowsCallback = void(__stdcall*)(BYTE* picture, LONG stride, BYTE* rows, LONG rowStride,
                                             BYTE* alpha, LONG alphaStride, LONG width,
                                             LONG rowCount);
void CopyWorkingRows(const Surface& surface, WorkingRowsCallback call, Picture* picture);

/// True when a pixel-format word is an address rather than a number.
constexpr bool IsAddress(DWORD_PTR code) {
    return code >= 0x10000;
}

}  // namespace standin
