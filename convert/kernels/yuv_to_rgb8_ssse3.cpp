#include <algorithm>

#include "convert/kernels/kernels.h"
#include "convert/kernels/rgb_layouts.h"
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

    [[nodiscard]] RgbSums Apply(YuvLanes in) const {
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

/// Destination policy of the 8-bit layouts.
template <class Layout>
struct ByteWriter : Layout {
    using Order = typename Layout::Order;

    /// The four values of one channel are in the odd bytes of one half of a packed vector.
    static constexpr void Place(ShuffleMask& mask, int channel, int half) {
        for (int pixel = 0; channel >= 0 && pixel < 4; ++pixel) {
            PlaceBytes(mask, pixel * Order::kChannels + channel, half * 8 + pixel * 2 + 1, 1);
        }
    }

    static constexpr ShuffleMask Places(int firstChannel, int secondChannel) {
        ShuffleMask mask = EmptyMask();
        Place(mask, firstChannel, 0);
        Place(mask, secondChannel, 1);
        return mask;
    }

    /// Packing saturates each half-word to a byte. The high half-words are the channels; the low
    /// ones are fractions, whose bytes are dropped.
    static void Write(BYTE* at, const RgbSums& sums) {
        constexpr ShuffleMask kBg = Places(Order::b, Order::g);
        constexpr ShuffleMask kRa = Places(Order::r, Order::a);
        const __m128i bg = _mm_packus_epi16(sums.b, sums.g);
        const __m128i ra = _mm_packus_epi16(sums.r, _mm_set1_epi32(255 << 16));
        Store(at, _mm_or_si128(_mm_shuffle_epi8(bg, Load(kBg)), _mm_shuffle_epi8(ra, Load(kRa))));
    }
};

template <class Reader, class Writer>
void Convert(const KernelNumbers& numbers, const BYTE* source, const BYTE*, BYTE* destination,
             std::size_t pixels) {
    const Rgb8Matrix matrix(numbers.toRgb, Reader::kOffsetShift);
    for (std::size_t x = 0; x < pixels; x += 4) {
        Writer::Write(destination + x * Writer::kBytesPerPixel,
                      matrix.Apply(Reader::Read(source + x * Reader::kBytesPerPixel)));
    }
}

template <class Reader, class Writer>
constexpr Kernel kRow = KernelOf<Reader, Writer>(
    4, std::max(Reader::kWindowPixels, Writer::kWindowPixels), Convert<Reader, Writer>);

template <class... Layouts>
constexpr std::array<Kernel, 2 * sizeof...(Layouts)> kRows = {
    kRow<Yuy2Reader, ByteWriter<Layouts>>..., kRow<W210Reader, ByteWriter<Layouts>>...};

}  // namespace

const std::array<Kernel, 10> kYuvToRgb8Kernels = kRows<Bgr3, Rgb3, Bgra, Rgba, Argb>;

}  // namespace nyx
