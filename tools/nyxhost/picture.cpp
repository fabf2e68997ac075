#include "picture.h"

#include <algorithm>
#include <cmath>

#include "failure.h"
#include "text.h"

namespace nyx::host {
namespace {

/// The luma weights that define a Y'CbCr matrix.
struct LumaWeights {
    double red;
    double blue;
};

constexpr LumaWeights kBt601{0.299, 0.114};
constexpr LumaWeights kBt709{0.2126, 0.0722};

constexpr int kFractionBits = 16;

int Fixed(double value) {
    return static_cast<int>(std::lround(value * (1 << kFractionBits)));
}

BYTE Round(int fixed) {
    const int value = (fixed + (1 << (kFractionBits - 1))) >> kFractionBits;
    return static_cast<BYTE>(std::clamp(value, 0, 255));
}

/// 8-bit studio-range Y'CbCr to full-range RGB, straight from the standards' equations.
class YuvToBgr {
  public:
    explicit YuvToBgr(const LumaWeights& weights) {
        constexpr double kChroma = 255.0 / 224.0;
        const double green = 1 - weights.red - weights.blue;
        const double red = kChroma * 2 * (1 - weights.red);
        const double blue = kChroma * 2 * (1 - weights.blue);
        luma_ = Fixed(255.0 / 219.0);
        redFromCr_ = Fixed(red / 2);
        blueFromCb_ = Fixed(blue / 2);
        greenFromCr_ = Fixed(red * weights.red / green / 2);
        greenFromCb_ = Fixed(blue * weights.blue / green / 2);
    }

    /// The chroma values come doubled, as the sum of two samples.
    void Store(int y, int cb2, int cr2, BYTE* bgr) const {
        const int luma = luma_ * (y - 16);
        const int cb = cb2 - 2 * 128;
        const int cr = cr2 - 2 * 128;
        bgr[0] = Round(luma + blueFromCb_ * cb);
        bgr[1] = Round(luma - greenFromCb_ * cb - greenFromCr_ * cr);
        bgr[2] = Round(luma + redFromCr_ * cr);
    }

  private:
    int luma_;
    int redFromCr_;
    int blueFromCb_;
    int greenFromCr_;
    int greenFromCb_;
};

// YUY2 chroma sits on the even pixel of a pair; the odd one lies half way to the next pair.
void StoreYuy2Row(const BYTE* row, UINT width, const YuvToBgr& matrix, BYTE* bgr) {
    for (UINT x = 0; x + 1 < width; x += 2) {
        const BYTE* pair = row + 2 * x;
        const BYTE* next = x + 3 < width ? pair + 4 : pair;
        matrix.Store(pair[0], 2 * pair[1], 2 * pair[3], bgr + 3 * x);
        matrix.Store(pair[2], pair[1] + next[1], pair[3] + next[3], bgr + 3 * (x + 1));
    }
}

void StoreRgbRow(const BYTE* row, UINT width, UINT from, UINT to, BYTE* out) {
    for (UINT x = 0; x < width; ++x) {
        std::copy_n(row + from * x, to, out + to * x);
    }
}

/// Where a sample's rows are.
struct RowLayout {
    std::size_t stride;
    bool bottomUp;
};

// Rows of RGB 24-bit are DWORD-aligned by convention, but some decoders pack them; the number of
// bytes tells which.
RowLayout LayoutRows(const PictureFormat& format, UINT width, UINT height, bool bottomUp,
                     std::size_t size) {
    const std::size_t packed = std::size_t{width} * format.bits / 8;
    const std::size_t aligned = (packed + 3) & ~std::size_t{3};
    if (size / height < packed) {
        throw Failure(ExitCode::kDecode, Format("a %ux%u %s picture came with %zu bytes only",
                                                width, height, format.name, size));
    }
    return {size / height >= aligned ? aligned : packed, bottomUp};
}

}  // namespace

Picture MakePicture(const MediaType& type, const BYTE* data, std::size_t size) {
    const PictureFormat* format = FindPictureFormat(type.subtype);
    if (format == nullptr || !type.HasPicture() || type.Header().biWidth <= 0 ||
        type.Header().biHeight == 0 || type.Header().biHeight == LONG_MIN) {
        throw Failure(ExitCode::kPlatform, "the decoder delivers a picture of an unknown type");
    }
    const bool isYuy2 = format->subtype == &MEDIASUBTYPE_YUY2;
    const bool bottomUp = type.Header().biHeight > 0 && !isYuy2;

    Picture picture;
    picture.width = static_cast<UINT>(type.Header().biWidth);
    picture.height = static_cast<UINT>(std::abs(type.Header().biHeight));
    picture.hasAlpha = format->subtype == &MEDIASUBTYPE_ARGB32;
    const RowLayout rows = LayoutRows(*format, picture.width, picture.height, bottomUp, size);
    const std::size_t outStride = std::size_t{picture.width} * picture.BytesPerPixel();
    picture.pixels.resize(outStride * picture.height);

    const bool isHd = picture.width >= 960 && picture.height >= 720;
    const YuvToBgr matrix(isHd ? kBt709 : kBt601);
    for (UINT y = 0; y < picture.height; ++y) {
        const BYTE* row = data + rows.stride * (rows.bottomUp ? picture.height - 1 - y : y);
        BYTE* out = picture.pixels.data() + outStride * y;
        if (isYuy2) {
            StoreYuy2Row(row, picture.width, matrix, out);
        } else {
            StoreRgbRow(row, picture.width, format->bits / 8u, picture.BytesPerPixel(), out);
        }
    }
    return picture;
}

}  // namespace nyx::host
