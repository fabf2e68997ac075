#include "convert/kernels/kernels.h"
#include "convert/kernels/rgb_readers.h"
#include "convert/kernels/yuv_writers.h"

namespace nyx {
namespace {

/// Dot products of B, G, R with one row of gains each for luma of four pixels, and for U and V of
/// the two even ones.
template <class Reader, class Writer>
class ReverseMatrix {
  public:
    explicit ReverseMatrix(const ReverseCoefficientBlock& block)
        : yFromBg_(PairOfGains(block.y.b, block.y.g)),
          yFromR_(PairOfGains(block.y.r, 0)),
          uvFromBg_(UThenV(PairOfGains(block.u.b, block.u.g), PairOfGains(block.v.b, block.v.g))),
          uvFromR_(UThenV(PairOfGains(block.u.r, 0), PairOfGains(block.v.r, 0))),
          offsetY_(_mm_set1_epi32(Offset(block.y))),
          offsetUv_(UThenV(_mm_set1_epi32(Offset(block.u)), _mm_set1_epi32(Offset(block.v)))) {}

    /// Y0 to Y3, U0, U1, V0, V1, less the middle of the writer's range.
    __m128i Apply(const RgbLanes& in) const {
        const __m128i y = Sum(in.bg, in.ra, yFromBg_, yFromR_, offsetY_);
        const __m128i uv = Sum(EvenTwice(in.bg), EvenTwice(in.ra), uvFromBg_, uvFromR_, offsetUv_);
        return _mm_packs_epi32(y, uv);
    }

  private:
    static constexpr int kSumBits = 15 + Reader::kFractionBits;
    static constexpr int kShift = kSumBits - (Writer::kBits - 8);

    /// Sums are taken about the middle, so that those of deep channels fit 32 bits.
    static int Offset(const ReverseRow& row) {
        const long long centre = (row.b + row.g + row.r) * static_cast<long long>(Reader::kCentre);
        return static_cast<int>(row.offset + centre - (128LL << kSumBits));
    }

    static __m128i UThenV(__m128i u, __m128i v) { return _mm_unpacklo_epi64(u, v); }

    static __m128i EvenTwice(__m128i lanes) {
        return _mm_shuffle_epi32(lanes, _MM_SHUFFLE(2, 0, 2, 0));
    }

    static __m128i Sum(__m128i bg, __m128i ra, __m128i gainsBg, __m128i gainsR, __m128i offset) {
        const __m128i sum = _mm_add_epi32(_mm_madd_epi16(bg, gainsBg), _mm_madd_epi16(ra, gainsR));
        return _mm_srai_epi32(_mm_add_epi32(sum, offset), kShift);
    }

    __m128i yFromBg_, yFromR_, uvFromBg_, uvFromR_;
    __m128i offsetY_, offsetUv_;
};

/// Four pixels; `alpha` receives four bytes when the kernel extracts the pixels' alpha.
template <class Reader, class Writer, bool kExtractsAlpha>
void ConvertQuad(const ReverseMatrix<Reader, Writer>& matrix, const BYTE* source, BYTE* destination,
                 BYTE* alpha) {
    const RgbLanes lanes = Reader::Read(source);
    Writer::Write(destination, matrix.Apply(lanes));
    if constexpr (kExtractsAlpha) {
        const __m128i words = _mm_packs_epi32(Reader::Alpha(lanes), _mm_setzero_si128());
        StoreFourBytes(alpha, _mm_packus_epi16(words, words));
    }
}

/// The last pixels of a row, fewer than a window, by way of copies that hold whole windows.
template <class Reader, class Writer, bool kExtractsAlpha>
void ConvertTail(const ReverseMatrix<Reader, Writer>& matrix, const BYTE* source, BYTE* destination,
                 BYTE* alpha, std::size_t pixels) {
    BYTE in[16 * Reader::kBytesPerPixel] = {};
    BYTE out[16 * Writer::kBytesPerPixel];
    BYTE outAlpha[16];
    std::memcpy(in, source, pixels * Reader::kBytesPerPixel);
    for (std::size_t i = 0; i < pixels; i += 4) {
        ConvertQuad<Reader, Writer, kExtractsAlpha>(matrix, in + i * Reader::kBytesPerPixel,
                                                    out + i * Writer::kBytesPerPixel, outAlpha + i);
    }
    std::memcpy(destination, out, pixels * Writer::kBytesPerPixel);
    if constexpr (kExtractsAlpha) {
        std::memcpy(alpha, outAlpha, pixels);
    }
}

template <class Reader, class Writer, bool kExtractsAlpha>
void ConvertRow(const ReverseMatrix<Reader, Writer>& matrix, const BYTE* source, BYTE* destination,
                BYTE* alpha, std::size_t width) {
    const std::size_t whole = WholeWindows(width, Reader::kWindowPixels);
    for (std::size_t x = 0; x < whole; x += 4) {
        ConvertQuad<Reader, Writer, kExtractsAlpha>(matrix, source + x * Reader::kBytesPerPixel,
                                                    destination + x * Writer::kBytesPerPixel,
                                                    kExtractsAlpha ? alpha + x : nullptr);
    }
    if (whole < width) {
        ConvertTail<Reader, Writer, kExtractsAlpha>(matrix, source + whole * Reader::kBytesPerPixel,
                                                    destination + whole * Writer::kBytesPerPixel,
                                                    kExtractsAlpha ? alpha + whole : nullptr,
                                                    width - whole);
    }
}

template <class Reader, class Writer, bool kExtractsAlpha>
void ConvertRows(const RgbToYuvArguments& in) {
    const ReverseMatrix<Reader, Writer> matrix(*in.coefficients);
    const auto width = static_cast<std::size_t>(in.width);
    RowCursor source(in.source, width * Reader::kBytesPerPixel);
    RowCursor destination(in.destination, width * Writer::kBytesPerPixel);
    RowCursor alpha(in.destinationAlpha, width);
    for (LONG y = 0; y < in.height; ++y) {
        ConvertRow<Reader, Writer, kExtractsAlpha>(matrix, source.row(), destination.row(),
                                                   alpha.row(), width);
        source.Next();
        destination.Next();
        if (kExtractsAlpha) {
            alpha.Next();
        }
    }
}

/// The alpha plane when it does not come from the pixels: the source's plane, or opaque.
void FillAlphaPlane(const RgbToYuvArguments& in) {
    const auto bytes = static_cast<std::size_t>(in.width);
    RowCursor source(in.sourceAlpha, bytes);
    RowCursor destination(in.destinationAlpha, bytes);
    for (LONG y = 0; y < in.height; ++y) {
        if (in.sourceAlpha.data) {
            std::memcpy(destination.row(), source.row(), bytes);
            source.Next();
        } else {
            std::memset(destination.row(), in.constantAlpha, bytes);
        }
        destination.Next();
    }
}

template <class Reader, class Writer>
void Kernel(const RgbToYuvArguments& in) {
    if constexpr (Reader::kHasAlpha) {
        if (in.destinationAlpha.data && !in.sourceAlpha.data) {
            ConvertRows<Reader, Writer, true>(in);
            return;
        }
    }
    ConvertRows<Reader, Writer, false>(in);
    if (in.destinationAlpha.data) {
        FillAlphaPlane(in);
    }
}

struct Row {
    DWORD source;
    DWORD destination;
    RgbToYuvKernel kernel;
};

template <class Reader, class Writer>
constexpr Row kRow = {Reader::kFourCC, Writer::kFourCC, Kernel<Reader, Writer>};

using Bgr3Reader = Rgb8Reader<kBgr3, OrderBgr>;
using Rgb3Reader = Rgb8Reader<kRgb3, OrderRgb>;
using BgraReader = Rgb8Reader<kBgra, OrderBgra>;
using RgbaReader = Rgb8Reader<kRgba, OrderRgba>;
using ArgbReader = Rgb8Reader<kArgb, OrderArgb>;
using Reader48rl = WordReader<k48rl, OrderRgb>;
using Reader64al = WordReader<k64al, OrderRgba>;
using ReaderA46l = WordReader<kA46l, OrderArgb>;
using ReaderL64a = WordReader<kL64a, OrderBgra>;
using Reader30rl = TenBitReader;
using Reader40al = TenBitAlphaReader<k40al, OrderRgba>;
using ReaderA04l = TenBitAlphaReader<kA04l, OrderArgb>;
using ReaderL40a = TenBitAlphaReader<kL40a, OrderBgra>;

constexpr Row kKernels[] = {
    kRow<Bgr3Reader, Yuy2Writer>, kRow<Rgb3Reader, Yuy2Writer>, kRow<BgraReader, Yuy2Writer>,
    kRow<RgbaReader, Yuy2Writer>, kRow<ArgbReader, Yuy2Writer>, kRow<Reader48rl, Yuy2Writer>,
    kRow<Reader64al, Yuy2Writer>, kRow<ReaderA46l, Yuy2Writer>, kRow<ReaderL64a, Yuy2Writer>,
    kRow<Reader30rl, Yuy2Writer>, kRow<Reader40al, Yuy2Writer>, kRow<ReaderA04l, Yuy2Writer>,
    kRow<ReaderL40a, Yuy2Writer>, kRow<Bgr3Reader, W210Writer>, kRow<Rgb3Reader, W210Writer>,
    kRow<BgraReader, W210Writer>, kRow<RgbaReader, W210Writer>, kRow<ArgbReader, W210Writer>,
    kRow<Reader48rl, W210Writer>, kRow<Reader64al, W210Writer>, kRow<ReaderA46l, W210Writer>,
    kRow<ReaderL64a, W210Writer>, kRow<Reader30rl, W210Writer>, kRow<Reader40al, W210Writer>,
    kRow<ReaderA04l, W210Writer>, kRow<ReaderL40a, W210Writer>,
};

}  // namespace

RgbToYuvKernel FindRgbToYuvKernel(DWORD source, DWORD destination) {
    for (const Row& row : kKernels) {
        if (row.source == source && row.destination == destination) {
            return row.kernel;
        }
    }
    return nullptr;
}

}  // namespace nyx
