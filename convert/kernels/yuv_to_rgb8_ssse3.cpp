#include "convert/kernels/kernel_table.h"
#include "convert/kernels/rgb_orders.h"
#include "convert/kernels/yuv_to_rgb_rows.h"

namespace nyx {
namespace {

/// Destination policy of the 8-bit layouts.
template <DWORD kCode, class Order>
struct Rgb8Writer {
    static constexpr DWORD kFourCC = kCode;
    static constexpr std::size_t kBytesPerPixel = Order::kChannels;
    static constexpr std::size_t kWindowPixels =
        Order::kHasAlpha ? 4 : 6;  ///< pixels that are overwritten
    static constexpr bool kHasAlpha = Order::kHasAlpha;

    /// The four values of one channel lie in the odd bytes of one half of a packed vector.
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

    /// Packing saturates each half-word to a byte. The high half-words are the channels, the low
    /// ones fractions: their bytes are not taken. `alpha` is in the high half-words, too.
    static void Write(BYTE* at, const RgbSums& sums, __m128i alpha) {
        constexpr ShuffleMask kBg = Places(Order::b, Order::g);
        constexpr ShuffleMask kRa = Places(Order::r, Order::a);
        const __m128i bg = _mm_packus_epi16(sums.b, sums.g);
        const __m128i ra = _mm_packus_epi16(sums.r, alpha);
        Store(at, _mm_or_si128(_mm_shuffle_epi8(bg, Load(kBg)), _mm_shuffle_epi8(ra, Load(kRa))));
    }
};

template <class ReaderPolicy, class WriterPolicy, bool kAlphaPlane>
class Rgb8Quad {
  public:
    using Reader = ReaderPolicy;
    using Writer = WriterPolicy;
    static constexpr bool kReadsAlpha = kAlphaPlane;

    explicit Rgb8Quad(const YuvToRgbArguments& in)
        : matrix_(*in.coefficients, Reader::kOffsetShift),
          alpha_(_mm_set1_epi32(in.constantAlpha << 16)) {}

    void Convert(const BYTE* source, const BYTE* alpha, BYTE* destination) const {
        Writer::Write(destination, matrix_.Apply(Reader::Read(source)), Alpha(alpha));
    }

  private:
    __m128i Alpha(const BYTE* at) const {
        if constexpr (kAlphaPlane) {
            const __m128i zero = _mm_setzero_si128();
            const __m128i words = _mm_unpacklo_epi8(LoadFourBytes(at), zero);
            return _mm_unpacklo_epi16(zero, words);
        } else {
            return alpha_;
        }
    }

    Rgb8Matrix matrix_;
    __m128i alpha_;
};

template <class Reader, class Writer>
void Kernel(const YuvToRgbArguments& in) {
    if constexpr (Writer::kHasAlpha) {
        if (in.sourceAlpha.data) {
            ConvertRows(Rgb8Quad<Reader, Writer, true>(in), in);
            return;
        }
    }
    ConvertRows(Rgb8Quad<Reader, Writer, false>(in), in);
}

using Row = KernelRow<YuvToRgbKernel>;

template <class Reader, class Writer>
constexpr Row kRow = {Reader::kFourCC, Writer::kFourCC, Kernel<Reader, Writer>};

using Bgr3Writer = Rgb8Writer<kBgr3, OrderBgr>;
using Rgb3Writer = Rgb8Writer<kRgb3, OrderRgb>;
using BgraWriter = Rgb8Writer<kBgra, OrderBgra>;
using RgbaWriter = Rgb8Writer<kRgba, OrderRgba>;
using ArgbWriter = Rgb8Writer<kArgb, OrderArgb>;

constexpr Row kKernels[] = {
    kRow<Yuy2Reader, Bgr3Writer>, kRow<Yuy2Reader, Rgb3Writer>, kRow<Yuy2Reader, BgraWriter>,
    kRow<Yuy2Reader, RgbaWriter>, kRow<Yuy2Reader, ArgbWriter>, kRow<W210Reader, Bgr3Writer>,
    kRow<W210Reader, Rgb3Writer>, kRow<W210Reader, BgraWriter>, kRow<W210Reader, RgbaWriter>,
    kRow<W210Reader, ArgbWriter>,
};

}  // namespace

YuvToRgbKernel FindYuvToRgb8Kernel(DWORD source, DWORD destination) {
    const Row* row = FindKernelRow(kKernels, source, destination);
    return row ? row->kernels : nullptr;
}

}  // namespace nyx
