#include <array>

#include "convert/kernels/alpha_scale.h"
#include "convert/kernels/deep_rgb_writers.h"
#include "convert/kernels/kernel_table.h"
#include "convert/kernels/yuv_to_rgb_rows.h"

namespace nyx {
namespace {

/// The matrix for deep outputs. A gain of 18 bits is its upper 14 bits, which meet the sample times
/// 16, and the rest, which meets the sample; the sums become unsigned 16-bit channels.
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

    /// Four reds and greens, four blues and blues again.
    DeepPixels Apply(const WideYuvLanes& in) const {
        const __m128i y = _mm_madd_epi16(in.y, y_);
        const __m128i toR = _mm_madd_epi16(in.v, vToR_);
        const __m128i toG = _mm_add_epi32(_mm_madd_epi16(in.u, uToG_), _mm_madd_epi16(in.v, vToG_));
        const __m128i toB = _mm_madd_epi16(in.u, uToB_);
        const __m128i r = ToChannel(_mm_add_epi32(y, toR), offsetR_);
        const __m128i g = ToChannel(_mm_add_epi32(y, toG), offsetG_);
        const __m128i b = ToChannel(_mm_add_epi32(y, toB), offsetB_);
        return {ToUnsigned(_mm_packs_epi32(r, g)), ToUnsigned(_mm_packs_epi32(b, b))};
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

template <class ReaderPolicy, class WriterPolicy, bool kAlphaPlane, AlphaTransform kTransform>
class DeepQuad {
  public:
    using Reader = ReaderPolicy;
    using Writer = WriterPolicy;
    static constexpr bool kReadsAlpha = kAlphaPlane;

    explicit DeepQuad(const YuvToRgbArguments& in)
        : matrix_(*in.coefficients),
          alpha_(_mm_set1_epi16(static_cast<short>(in.constantAlpha * 257))),
          black_(_mm_set1_epi16(static_cast<short>(in.black << 8))) {}

    void Convert(const BYTE* source, const BYTE* alpha, BYTE* destination) const {
        DeepPixels pixels = matrix_.Apply(Reader::ReadWide(source));
        if constexpr (kTransform != AlphaTransform::kKeep) {
            constexpr const AlphaFactorTable& kTable =
                kTransform == AlphaTransform::kPremultiply ? kPremultiply : kUnpremultiply;
            const FourFactors factors(kTable, alpha);
            pixels.rg = factors.Scale(pixels.rg, black_);
            pixels.ba = factors.Scale(pixels.ba, black_);
        }
        pixels.ba = _mm_unpacklo_epi64(pixels.ba, Alpha(alpha));
        Writer::Write(destination, pixels);
    }

  private:
    /// 257 times the byte: 255 fills the word.
    __m128i Alpha(const BYTE* at) const {
        if constexpr (kAlphaPlane) {
            const __m128i bytes = LoadFourBytes(at);
            return _mm_unpacklo_epi8(bytes, bytes);
        } else {
            return alpha_;
        }
    }

    DeepMatrix matrix_;
    __m128i alpha_;
    __m128i black_;
};

template <class Reader, class Writer, AlphaTransform kTransform>
void Kernel(const YuvToRgbArguments& in) {
    if (in.sourceAlpha.data) {
        ConvertRows(DeepQuad<Reader, Writer, true, kTransform>(in), in);
    } else {
        ConvertRows(DeepQuad<Reader, Writer, false, AlphaTransform::kKeep>(in), in);
    }
}

using Row = KernelRow<std::array<YuvToRgbKernel, 3>>;  ///< kernels by AlphaTransform

template <class Reader, class Writer>
constexpr Row kRow = {Reader::kFourCC,
                      Writer::kFourCC,
                      {Kernel<Reader, Writer, AlphaTransform::kKeep>,
                       Kernel<Reader, Writer, AlphaTransform::kPremultiply>,
                       Kernel<Reader, Writer, AlphaTransform::kUnpremultiply>}};

using Writer48rl = WordWriter<k48rl, OrderRgb>;
using Writer64al = WordWriter<k64al, OrderRgba>;
using WriterA46l = WordWriter<kA46l, OrderArgb>;
using WriterL64a = WordWriter<kL64a, OrderBgra>;
using Writer30rl = TenBitWriter;
using Writer40al = TenBitAlphaWriter<k40al, OrderRgba>;
using WriterA04l = TenBitAlphaWriter<kA04l, OrderArgb>;
using WriterL40a = TenBitAlphaWriter<kL40a, OrderBgra>;

constexpr Row kKernels[] = {
    kRow<Yuy2Reader, Writer48rl>, kRow<Yuy2Reader, WriterL64a>, kRow<Yuy2Reader, WriterA46l>,
    kRow<Yuy2Reader, Writer64al>, kRow<Yuy2Reader, Writer30rl>, kRow<Yuy2Reader, WriterL40a>,
    kRow<Yuy2Reader, WriterA04l>, kRow<Yuy2Reader, Writer40al>, kRow<W210Reader, Writer48rl>,
    kRow<W210Reader, WriterL64a>, kRow<W210Reader, WriterA46l>, kRow<W210Reader, Writer64al>,
    kRow<W210Reader, Writer30rl>, kRow<W210Reader, WriterL40a>, kRow<W210Reader, WriterA04l>,
    kRow<W210Reader, Writer40al>,
};

}  // namespace

YuvToRgbKernel FindYuvToDeepRgbKernel(DWORD source, DWORD destination, AlphaTransform transform) {
    const Row* row = FindKernelRow(kKernels, source, destination);
    return row ? row->kernels[static_cast<std::size_t>(transform)] : nullptr;
}

}  // namespace nyx
