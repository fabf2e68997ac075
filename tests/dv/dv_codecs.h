#pragma once

/// @file
/// The DV codecs on the stand-in engine, with the real frames, and the pictures that they fill.

#include <map>
#include <memory>

#include "dv/dv25_codec.h"
#include "dv/dvcpro_codecs.h"
#include "dv/resample.h"
#include "engines/standin/dv_picture.h"
#include "settings/codec_settings.h"
#include "tests/dv/dv_frames.h"
#include "tests/support/engines.h"
#include "tests/support/frames.h"
#include "tests/support/guard.h"
#include "tests/support/settings.h"

namespace nyx::test {

constexpr BYTE kUntouched = 0xA5;
constexpr DWORD kDv25 = FourCC("QDVC"), kDv50 = FourCC("QDV5"), kDvHd = FourCC("QDVH");

/// Numbers and addresses.
template <class... Numbers>
std::vector<LONG_PTR> Words(Numbers... numbers) {
    return {LONG_PTR(numbers)...};
}

inline standin::Call LastCall(standin::Purpose purpose = standin::kDecode) {
    return LastCall(L"rkdvh.dll", purpose);
}

/// A picture that ends where its memory ends, with `stride` bytes from row to row.
struct Picture {
    LONG bits, width, height, distance = 0;
    BITMAPINFOHEADER header = PictureHeader(bits, width, height);
    LONG rowBytes = width * bits / 8, stride = distance == 0 ? rowBytes : distance;
    LONG rows = std::abs(height);
    GuardedMemory memory{static_cast<std::size_t>(stride * (rows - 1) + rowBytes), kUntouched};

    BYTE* Row(LONG y) const { return memory.data() + std::ptrdiff_t{y} * stride; }
    bool IsFilled(BYTE even, BYTE odd) const {
        bool filled = true;
        for (LONG i = 0; i < rows * rowBytes; ++i) {
            filled &= Row(i / rowBytes)[i % rowBytes] == (i % rowBytes % 2 == 0 ? even : odd);
        }
        return filled;
    }
    bool IsUntouched() const { return IsFilled(kUntouched, kUntouched); }
    bool IsBlack() const { return bits == 16 ? IsFilled(0x10, 0x80) : IsFilled(0, 0); }
};

/// The picture's rows in memory, resampled to another width.
inline Bytes Resampled(const Picture& from, LONG width) {
    const LONG perUnit = from.bits == 16 ? 2 : 1, rowBytes = width * from.bits / 8;
    Bytes rows(static_cast<std::size_t>(rowBytes * from.rows));
    const auto resample = width > from.width ? StretchRows : SqueezeRows;
    EXPECT_EQ(resample(from.bits == 24 ? ResampleUnit::kThreeBytes : ResampleUnit::kFourBytes,
                       {from.Row(0), from.stride, from.width / perUnit},
                       {rows.data(), rowBytes, width / perUnit}, from.rows),
              S_OK);
    return rows;
}

/// Whether the ends of a "YUY2" row have the luma of the stand-in's picture of the frame.
inline bool ShowsFrame(const BYTE* row, LONG width, int y, const DvFrame& frame) {
    const std::uint32_t digest = standin::DvFrameDigest(frame.data(), frame.size());
    return row[0] == standin::DvLuma(digest, 0, y) &&
           row[2 * width - 2] == standin::DvLuma(digest, width - 1, y);
}

class DvCodec : public testing::Test {
  protected:
    /// A codec with the settings and engines at the first call.
    CDvCodecBase& Codec(DWORD fourcc = kDv25) {
        if (codecs_.empty()) {
            codecs_[kDv25] = std::make_unique<CDv25Codec>();
            codecs_[kDv50] = std::make_unique<CDv50Codec>();
            codecs_[kDvHd] = std::make_unique<CDvHdCodec>();
        }
        return *codecs_[fourcc];
    }

    /// Decodes `frame` from memory that ends with it, with a header of `claimed` bytes if more.
    HRESULT Decode(DWORD fourcc, LONG width, LONG height, const DvFrame& frame,
                   const Picture& picture, LONG stride = 0, std::size_t claimed = 0) {
        const GuardedMemory sample(Bytes(frame.data(), frame.data() + frame.size()));
        const BITMAPINFOHEADER input =
            MakeHeader(fourcc, 24, width, height, std::max(claimed, frame.size()));
        return Codec(fourcc).Decompress(&input, sample.data(), &picture.header, false,
                                        picture.Row(0), stride, 0);
    }
    HRESULT DecodePal(const DvFrame& frame, const Picture& picture, LONG stride = 0) {
        return Decode(kDv25, 720, 576, frame, picture, stride);
    }

    const PrivateUserRegistry registry_;
    const EngineSearch search_;
    const DvFrame pal_ = LoadFrame("dv25_625_16x9");
    std::map<DWORD, std::unique_ptr<CDvCodecBase>> codecs_;
};

}  // namespace nyx::test
