#include <algorithm>

#include "convert/kernels/alpha_scale.h"
#include "convert/kernels/deep_rgb_writers.h"
#include "convert/kernels/kernels.h"
#include "convert/kernels/yuv_readers.h"

namespace nyx {
namespace {

/// The matrix for deep outputs. The upper 14 bits of an 18-bit gain are multiplied by the sample
/// times 16, the rest by the sample; the sums become unsigned 16-bit channels.
class DeepMatrix {
  public:
    explicit DeepMatrix(const CoefficientBlock& block)
        : y_(Gain(block.luma)),
          vToR_(Gain(block.vToR)),
          uToG_(Gain(block.uToG)),
          vToG_(Gain(block.vToG)),
          uToB_(Gain(block.uToB)),
          offsetR_(Offset(block.offset[0])),
          offsetG_(Offset(block.offset[1])),
          offsetB_(Offset(block.offset[2])) {}

    /// Opaque pixels.
    [[nodiscard]] DeepPixels Apply(const WideYuvLanes& in) const {
        const __m128i y = _mm_madd_epi16(in.y, y_);
        const __m128i toR = _mm_madd_epi16(in.v, vToR_);
        const __m128i toG = _mm_add_epi32(_mm_madd_epi16(in.u, uToG_), _mm_madd_epi16(in.v, vToG_));
        const __m128i toB = _mm_madd_epi16(in.u, uToB_);
        const __m128i r = ToChannel(_mm_add_epi32(y, toR), offsetR_);
        const __m128i g = ToChannel(_mm_add_epi32(y, toG), offsetG_);
        const __m128i b = ToChannel(_mm_add_epi32(y, toB), offsetB_);
        return {ToUnsigned(_mm_packs_epi32(r, g)),
                ToUnsigned(_mm_packs_epi32(b, _mm_set1_epi32(0x7FFF)))};
    }

  private:
    static constexpr int kShift = 8 + kDeepExtraBits;  ///< from sums to 16-bit channels

    static __m128i Gain(int gain) {
        const int upper = gain >> kDeepExtraBits;
        return PairOfGains(upper, gain - upper * (1 << kDeepExtraBits));
    }

    /// Channels are packed as signed words about their middle: the instruction set has no packing
    /// to unsigned words.
    static __m128i Offset(int offset) { return _mm_set1_epi32(offset - (0x8000 << kShift)); }
    static __m128i ToChannel(__m128i sum, __m128i offset) {
        return _mm_srai_epi32(_mm_add_epi32(sum, offset), kShift);
    }
    static __m128i ToUnsigned(__m128i centred) {
        return _mm_xor_si128(centred, _mm_set1_epi16(static_cast<short>(0x8000)));
    }

    __m128i y_, vToR_, uToG_, vToG_, uToB_;
    __m128i offsetR_, offsetG_, offsetB_;
};

/// Colours scaled about black, and the alpha plane's bytes for words that they fill.
class AlphaScale {
  public:
    explicit AlphaScale(const KernelNumbers& numbers)
        : table_(*TableOf(numbers.transform)),
          black_(_mm_set1_epi16(static_cast<short>(
              numbers.transform == AlphaTransform::kKeep ? 0 : numbers.black << 8))),
          unbounded_(_mm_set1_epi16(
              numbers.transform == AlphaTransform::kPremultiply && numbers.black == 0 ? 0 : -1)) {}

    [[nodiscard]] DeepPixels Apply(const DeepPixels& opaque, const BYTE* alpha) const {
        const FourFactors factors(table_, alpha);
        const __m128i bytes = LoadFourBytes(alpha);
        return {
            factors.Scale(opaque.rg, black_),
            _mm_unpacklo_epi64(factors.Scale(opaque.ba, black_), _mm_unpacklo_epi8(bytes, bytes))};
    }

    /// Ten bits round colours and truncate alpha: limits colours that were scaled from black at 0
    /// to the maximum that rounds to their alpha. Alpha keeps its upper ten bits.
    [[nodiscard]] DeepPixels BoundedForTenBits(const DeepPixels& in) const {
        const __m128i alpha = _mm_unpackhi_epi64(in.ba, in.ba);
        const __m128i cut = _mm_and_si128(alpha, _mm_set1_epi16(~63));
        const __m128i most = _mm_or_si128(_mm_or_si128(cut, _mm_set1_epi16(31)), unbounded_);
        return {_mm_sub_epi16(in.rg, _mm_subs_epu16(in.rg, most)),
                _mm_sub_epi16(in.ba, _mm_subs_epu16(in.ba, most))};
    }

  private:
    static const AlphaFactors* TableOf(AlphaTransform transform) {
        switch (transform) {
            case AlphaTransform::kPremultiply:
                return &kPremultiply;
            case AlphaTransform::kUnpremultiply:
                return &kUnpremultiply;
            default:
                return &kUnscaled;
        }
    }

    const AlphaFactors& table_;
    __m128i black_;
    __m128i unbounded_;
};

template <class Reader, class Writer>
void Convert(const KernelNumbers& numbers, const BYTE* source, const BYTE*, BYTE* destination,
             std::size_t pixels) {
    const DeepMatrix matrix(numbers.toRgb);
    for (std::size_t x = 0; x < pixels; x += 4) {
        Writer::Write(destination + x * Writer::kBytesPerPixel,
                      matrix.Apply(Reader::ReadWide(source + x * Reader::kBytesPerPixel)));
    }
}

template <class Reader, class Writer>
void ConvertScaled(const KernelNumbers& numbers, const BYTE* source, const BYTE* alpha,
                   BYTE* destination, std::size_t pixels) {
    const DeepMatrix matrix(numbers.toRgb);
    const AlphaScale scale(numbers);
    for (std::size_t x = 0; x < pixels; x += 4) {
        const DeepPixels opaque =
            matrix.Apply(Reader::ReadWide(source + x * Reader::kBytesPerPixel));
        DeepPixels scaled = scale.Apply(opaque, alpha + x);
        if constexpr (Writer::kTenBitsOfAlpha) {
            scaled = scale.BoundedForTenBits(scaled);
        }
        Writer::Write(destination + x * Writer::kBytesPerPixel, scaled);
    }
}

template <class Reader, class Writer>
constexpr Kernel kRow =
    KernelOf<Reader, Writer>(4, std::max(Reader::kWindowPixels, Writer::kWindowPixels),
                             Convert<Reader, Writer>, ConvertScaled<Reader, Writer>);

template <class... Writers>
constexpr std::array<Kernel, 2 * sizeof...(Writers)> kRows = {kRow<Yuy2Reader, Writers>...,
                                                              kRow<W210Reader, Writers>...};

}  // namespace

const std::array<Kernel, 16> kYuvToDeepRgbKernels =
    kRows<WordWriter<Layout48rl>, WordWriter<LayoutL64a>, WordWriter<LayoutA46l>,
          WordWriter<Layout64al>, TenBitWriter, TenBitAlphaWriter<LayoutL40a>,
          TenBitAlphaWriter<LayoutA04l>, TenBitAlphaWriter<Layout40al>>;

}  // namespace nyx
