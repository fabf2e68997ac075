#include "convert/kernels/kernels.h"
#include "convert/kernels/rgb_readers.h"
#include "convert/kernels/yuv_writers.h"

namespace nyx {
namespace {

/// Dot products of the channels with one row of gains each: for luma of four pixels, and for U and
/// V of the two even ones.
template <class Reader, class Writer>
class ReverseMatrix {
  public:
    explicit ReverseMatrix(const ReverseCoefficientBlock& block)
        : yFromFirst_(FirstGains(block.y)),
          yFromSecond_(SecondGains(block.y)),
          uvFromFirst_(UThenV(FirstGains(block.u), FirstGains(block.v))),
          uvFromSecond_(UThenV(SecondGains(block.u), SecondGains(block.v))),
          offsetY_(Offset(block.y)),
          offsetUv_(UThenV(Offset(block.u), Offset(block.v))) {}

    /// Y0 to Y3, U0, U1, V0, V1, less the middle of the writer's range.
    [[nodiscard]] __m128i Apply(const RgbLanes& in) const {
        const __m128i y = Sum(in.first, yFromFirst_, in.second, yFromSecond_, offsetY_);
        const __m128i uv =
            Sum(EvenTwice(in.first), uvFromFirst_, EvenTwice(in.second), uvFromSecond_, offsetUv_);
        return _mm_packs_epi32(y, uv);
    }

  private:
    using Order = typename Reader::Order;
    static constexpr int kSumBits = 15 + Reader::kFractionBits;
    static constexpr int kShift = kSumBits - (Writer::kBits - 8);

    /// The gain of the channel at a position of the layout; 0 for alpha.
    static int GainAt(const ReverseRow& row, int position) {
        return position == Order::r   ? row.r
               : position == Order::g ? row.g
               : position == Order::b ? row.b
                                      : 0;
    }
    static __m128i FirstGains(const ReverseRow& row) {
        return PairOfGains(GainAt(row, 0), GainAt(row, 1));
    }
    static __m128i SecondGains(const ReverseRow& row) {
        return PairOfGains(GainAt(row, 2), GainAt(row, 3));
    }

    /// Sums are taken about the middle, so that those of deep channels fit 32 bits.
    static __m128i Offset(const ReverseRow& row) {
        const long long centre = (row.b + row.g + row.r) * static_cast<long long>(Reader::kCentre);
        return _mm_set1_epi32(static_cast<int>(row.offset + centre - (128LL << kSumBits)));
    }

    static __m128i UThenV(__m128i u, __m128i v) { return _mm_unpacklo_epi64(u, v); }

    static __m128i EvenTwice(__m128i lanes) {
        return _mm_shuffle_epi32(lanes, _MM_SHUFFLE(2, 0, 2, 0));
    }

    static __m128i Sum(__m128i first, __m128i firstGains, __m128i second, __m128i secondGains,
                       __m128i offset) {
        const __m128i sum =
            _mm_add_epi32(_mm_madd_epi16(first, firstGains), _mm_madd_epi16(second, secondGains));
        return _mm_srai_epi32(_mm_add_epi32(sum, offset), kShift);
    }

    __m128i yFromFirst_, yFromSecond_, uvFromFirst_, uvFromSecond_;
    __m128i offsetY_, offsetUv_;
};

template <class Reader, class Writer>
void Convert(const KernelNumbers& numbers, const BYTE* source, const BYTE*, BYTE* destination,
             std::size_t pixels) {
    const ReverseMatrix<Reader, Writer> matrix(numbers.toYuv);
    for (std::size_t x = 0; x < pixels; x += 8) {
        const BYTE* at = source + x * Reader::kBytesPerPixel;
        Writer::Write(destination + x * Writer::kBytesPerPixel, matrix.Apply(Reader::Read(at)),
                      matrix.Apply(Reader::Read(at + 4 * Reader::kBytesPerPixel)));
    }
}

template <class Reader, class Writer>
constexpr Kernel kRow = KernelOf<Reader, Writer>(8, 4 + Reader::kWindowPixels,
                                                 Convert<Reader, Writer>);

template <class... Readers>
constexpr std::array<Kernel, 2 * sizeof...(Readers)> kRows = {kRow<Readers, Yuy2Writer>...,
                                                              kRow<Readers, W210Writer>...};

}  // namespace

const std::array<Kernel, 26> kRgbToYuvKernels =
    kRows<ByteReader<Bgr3>, ByteReader<Rgb3>, ByteReader<Bgra>, ByteReader<Rgba>, ByteReader<Argb>,
          WordReader<Layout48rl>, WordReader<Layout64al>, WordReader<LayoutA46l>,
          WordReader<LayoutL64a>, TenBitReader, TenBitAlphaReader<Layout40al>,
          TenBitAlphaReader<LayoutA04l>, TenBitAlphaReader<LayoutL40a>>;

}  // namespace nyx
