#pragma once

/// @file
/// The one YUV-to-RGB pipeline: read four pixels, multiply, write four pixels.

#include "convert/kernels/kernels.h"
#include "convert/kernels/yuv_readers.h"

namespace nyx {
namespace {

/// Four pixels, one 32-bit sum per lane and channel.
struct RgbSums {
    __m128i r;
    __m128i g;
    __m128i b;
};

/// The matrix for 8-bit outputs: sums with 16 fractional bits, the channel in their high words.
class Rgb8Matrix {
  public:
    Rgb8Matrix(const CoefficientBlock& block, int offsetShift)
        : r_(PairOfGains(block.luma, block.vToR)),
          gFromU_(PairOfGains(block.luma, block.uToG)),
          gFromV_(PairOfGains(0, block.vToG)),
          b_(PairOfGains(block.luma, block.uToB)),
          offsetR_(_mm_set1_epi32(block.offset[0] * (1 << offsetShift))),
          offsetG_(_mm_set1_epi32(block.offset[1] * (1 << offsetShift))),
          offsetB_(_mm_set1_epi32(block.offset[2] * (1 << offsetShift))) {}

    RgbSums Apply(YuvLanes in) const {
        const __m128i r = _mm_madd_epi16(in.yv, r_);
        const __m128i g =
            _mm_add_epi32(_mm_madd_epi16(in.yu, gFromU_), _mm_madd_epi16(in.yv, gFromV_));
        const __m128i b = _mm_madd_epi16(in.yu, b_);
        return {_mm_add_epi32(r, offsetR_), _mm_add_epi32(g, offsetG_), _mm_add_epi32(b, offsetB_)};
    }

  private:
    __m128i r_, gFromU_, gFromV_, b_;
    __m128i offsetR_, offsetG_, offsetB_;
};

/// The last pixels of a row, fewer than a window: copied, so that a whole window may be read and
/// written, with their last pair again and again as its own right neighbour.
template <class Quad>
class RowTail {
  public:
    RowTail(const BYTE* source, const BYTE* alpha, std::size_t pixels) : pixels_(pixels) {
        constexpr std::size_t kPair = 2 * Quad::Reader::kBytesPerPixel;
        const std::size_t used = pixels * Quad::Reader::kBytesPerPixel;
        std::memcpy(source_, source, used);
        for (std::size_t i = used; i < sizeof source_; i += kPair) {
            std::memcpy(source_ + i, source_ + used - kPair, kPair);
        }
        if constexpr (Quad::kReadsAlpha) {
            std::memcpy(alpha_, alpha, pixels);
        }
    }

    void Convert(const Quad& quad, BYTE* destination) const {
        BYTE out[kPixels * Quad::Writer::kBytesPerPixel];
        for (std::size_t i = 0; i < pixels_; i += 4) {
            quad.Convert(source_ + i * Quad::Reader::kBytesPerPixel, alpha_ + i,
                         out + i * Quad::Writer::kBytesPerPixel);
        }
        std::memcpy(destination, out, pixels_ * Quad::Writer::kBytesPerPixel);
    }

  private:
    static constexpr std::size_t kPixels = 16;

    std::size_t pixels_;
    BYTE source_[kPixels * Quad::Reader::kBytesPerPixel];
    BYTE alpha_[kPixels] = {};
};

/// `Quad` converts four pixels: it has the types Reader and Writer, and
/// `Convert(source, alpha, destination)`. Without an alpha plane the alpha pointer is not used.
template <class Quad>
void ConvertRow(const Quad& quad, const BYTE* source, const BYTE* alpha, BYTE* destination,
                std::size_t width) {
    using Reader = typename Quad::Reader;
    using Writer = typename Quad::Writer;
    constexpr std::size_t kWindow = Reader::kWindowPixels > Writer::kWindowPixels
                                        ? Reader::kWindowPixels
                                        : Writer::kWindowPixels;
    const std::size_t whole = WholeSteps(width, 4, kWindow);
    for (std::size_t x = 0; x < whole; x += 4) {
        quad.Convert(source + x * Reader::kBytesPerPixel, Quad::kReadsAlpha ? alpha + x : nullptr,
                     destination + x * Writer::kBytesPerPixel);
    }
    if (whole < width) {
        const RowTail<Quad> tail(source + whole * Reader::kBytesPerPixel,
                                 Quad::kReadsAlpha ? alpha + whole : nullptr, width - whole);
        tail.Convert(quad, destination + whole * Writer::kBytesPerPixel);
    }
}

template <class Quad>
void ConvertRows(const Quad& quad, const YuvToRgbArguments& in) {
    const auto width = static_cast<std::size_t>(in.width);
    RowCursor source(in.source, width * Quad::Reader::kBytesPerPixel);
    RowCursor destination(in.destination, width * Quad::Writer::kBytesPerPixel);
    RowCursor alpha(in.sourceAlpha, width);
    for (LONG y = 0; y < in.height; ++y) {
        ConvertRow(quad, source.row(), alpha.row(), destination.row(), width);
        source.Next();
        destination.Next();
        if (Quad::kReadsAlpha) {
            alpha.Next();
        }
    }
}

}  // namespace
}  // namespace nyx
