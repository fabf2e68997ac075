#include "convert/kernels/alpha_scale.h"
#include "convert/kernels/deep_rgb_writers.h"
#include "convert/kernels/yuv_to_rgb_rows.h"

namespace nyx {
namespace {

/// The matrix for deep outputs. Gains of 18 bits are applied in two steps, the upper 14 and the
/// rest; the sums become unsigned 16-bit channels.
class DeepMatrix {
  public:
    explicit DeepMatrix(const CoefficientBlock& block)
        : r_(block.luma, block.vToR),
          gFromU_(block.luma, block.uToG),
          gFromV_(0, block.vToG),
          b_(block.luma, block.uToB),
          offsetR_(Offset(block.offset[0])),
          offsetG_(Offset(block.offset[1])),
          offsetB_(Offset(block.offset[2])) {}

    /// Four reds and greens, four blues and blues again.
    DeepPixels Apply(YuvLanes in) const {
        const __m128i g = _mm_add_epi32(gFromU_.Multiply(in.yu), gFromV_.Multiply(in.yv));
        const __m128i r = ToChannel(r_.Multiply(in.yv), offsetR_);
        const __m128i b = ToChannel(b_.Multiply(in.yu), offsetB_);
        return {ToUnsigned(_mm_packs_epi32(r, ToChannel(g, offsetG_))),
                ToUnsigned(_mm_packs_epi32(b, b))};
    }

  private:
    static constexpr int kShift = 8 + kDeepExtraBits;  ///< from sums to 16-bit channels

    class Gains {
      public:
        Gains(int low, int high)
            : coarse_(PairOfGains(Coarse(low), Coarse(high))),
              rest_(PairOfGains(Rest(low), Rest(high))) {}

        __m128i Multiply(__m128i lanes) const {
            return _mm_add_epi32(_mm_slli_epi32(_mm_madd_epi16(lanes, coarse_), kDeepExtraBits),
                                 _mm_madd_epi16(lanes, rest_));
        }

      private:
        static int Coarse(int gain) { return gain >> kDeepExtraBits; }
        static int Rest(int gain) { return gain - Coarse(gain) * (1 << kDeepExtraBits); }

        __m128i coarse_;
        __m128i rest_;
    };

    /// Channels are packed as signed words about their middle: the instruction set has no packing
    /// to unsigned words.
    static __m128i Offset(int offset) { return _mm_set1_epi32(offset - (0x8000 << kShift)); }
    static __m128i ToChannel(__m128i sum, __m128i offset) {
        return _mm_srai_epi32(_mm_add_epi32(sum, offset), kShift);
    }
    static __m128i ToUnsigned(__m128i centred) {
        return _mm_xor_si128(centred, _mm_set1_epi16(static_cast<short>(0x8000)));
    }

    Gains r_, gFromU_, gFromV_, b_;
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
        DeepPixels pixels = matrix_.Apply(Reader::Read(source));
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

struct Row {
    DWORD source;
    DWORD destination;
    YuvToRgbKernel kernels[3];  ///< by AlphaTransform
};

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
    for (const Row& row : kKernels) {
        if (row.source == source && row.destination == destination) {
            return row.kernels[static_cast<int>(transform)];
        }
    }
    return nullptr;
}

}  // namespace nyx
