#pragma once

/// @file
/// A DV codec with the stand-in engine, a frame and a picture that ends where its memory ends.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>

#include "engines/standin/dv_picture.h"
#include "platform/fourcc.h"
#include "tests/codecs/stored_setting.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/frames.h"
#include "tests/support/guarded_memory.h"

namespace nyx::test {

constexpr wchar_t kDvEngine[] = L"rkdvh.dll";
constexpr BYTE kUntouched = 0xA5;

/// A compressed DV header; `biSizeImage` is set by whoever has a frame.
inline BITMAPINFOHEADER DvHeader(DWORD fourcc, LONG width, LONG height) {
    return MakeHeader(fourcc, 24, width, height);
}

/// An uncompressed header: "YUY2" for 16 bits, else RGB.
inline BITMAPINFOHEADER PictureHeader(WORD bitCount, LONG width, LONG height) {
    return MakeHeader(bitCount == 16 ? FourCC("YUY2") : DWORD{BI_RGB}, bitCount, width, height);
}

/// A picture in guarded memory; rows lie `stride` bytes apart from the first one on.
class DvPicture {
  public:
    /// `stride` 0: rows without gaps.
    DvPicture(WORD bitCount, LONG width, LONG height, LONG stride = 0)
        : header_(PictureHeader(bitCount, width, height)),
          row_bytes_(width * bitCount / 8),
          stride_(stride == 0 ? row_bytes_ : stride),
          rows_(height < 0 ? -height : height),
          memory_(static_cast<std::size_t>(stride_ * (rows_ - 1) + row_bytes_), kUntouched) {}

    const BITMAPINFOHEADER& header() const { return header_; }
    BYTE* data() { return memory_.data(); }
    LONG stride() const { return stride_; }
    LONG rowBytes() const { return row_bytes_; }
    LONG rows() const { return rows_; }
    const BYTE* Row(LONG y) const { return memory_.data() + std::ptrdiff_t{y} * stride_; }

    bool IsUntouched() const { return IsFilled(kUntouched, kUntouched); }
    bool IsFilled(BYTE even, BYTE odd) const {
        for (LONG y = 0; y < rows_; ++y) {
            for (LONG i = 0; i < row_bytes_; ++i) {
                if (Row(y)[i] != (i % 2 == 0 ? even : odd)) {
                    return false;
                }
            }
        }
        return true;
    }

  private:
    BITMAPINFOHEADER header_;
    LONG row_bytes_;
    LONG stride_;
    LONG rows_;
    GuardedMemory memory_;
};

/// Decodes `frame`, from memory that ends with it, into `picture`.
template <typename Codec>
HRESULT Decode(Codec& codec, LONG width, LONG height, const DvFrame& frame, DvPicture* picture,
               LONG stride = 0) {
    GuardedMemory sample(frame.size());
    std::copy(frame.data(), frame.data() + frame.size(), sample.data());
    BITMAPINFOHEADER input = DvHeader(codec.GetFourCC(), width, height);
    input.biSizeImage = static_cast<DWORD>(frame.size());
    return codec.Decompress(&input, sample.data(), &picture->header(), false, picture->data(),
                            stride, 0);
}

/// Whether row `y` of a "YUY2" picture is what the stand-in shows for the frame.
inline bool IsStandinRow(const BYTE* row, LONG width, int y, std::uint32_t digest) {
    for (int x = 0; x < width; ++x) {
        const BYTE chroma =
            x % 2 == 0 ? standin::DvBlue(digest, x, y) : standin::DvRed(digest, x - 1, y);
        if (row[2 * x] != standin::DvLuma(digest, x, y) || row[2 * x + 1] != chroma) {
            return false;
        }
    }
    return true;
}

}  // namespace nyx::test
