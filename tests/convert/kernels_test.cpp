/// Every kernel against the plain reference: each pair, matrix, range and alpha variant, each tail
/// length, each way a plane can lie in memory; and all 2^24 triples of Y, U and V.

#include <gtest/gtest.h>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

constexpr LONG kHeight = 3;

constexpr Placement kPlacements[] = {
    {0, 0, false},
    {3, 5, false},
    {0, 7, true},
    {1, 0, true},
};

struct Shape {
    LONG width;
    Placement placement;
    Content content;
    std::uint32_t seed;
};

/// Every even width up to 70 and some larger ones once, every tail in each placement.
std::vector<Shape> Shapes() {
    std::vector<LONG> widths = {96, 126, 128, 254, 722};
    for (LONG width = 2; width <= 70; width += 2) {
        widths.push_back(width);
    }
    std::vector<Shape> shapes;
    std::uint32_t seed = 1;
    for (LONG width : widths) {
        shapes.push_back({width, kPlacements[seed % std::size(kPlacements)],
                          seed % 3 == 0 ? Content::kAdversarial : Content::kRandom, seed});
        ++seed;
    }
    for (LONG width : {2, 4, 6, 8, 10, 12, 14, 16, 18, 30, 34}) {
        for (Placement placement : kPlacements) {
            shapes.push_back({width, placement, Content::kAdversarial, ++seed});
        }
    }
    return shapes;
}

struct Pair {
    DWORD yuv;
    DWORD rgb;
};

std::vector<Pair> AllPairs() {
    std::vector<Pair> pairs;
    for (DWORD yuv : kYuvFormats) {
        for (DWORD rgb : kRgbFormats) {
            pairs.push_back({yuv, rgb});
        }
    }
    return pairs;
}

std::string PairName(const testing::TestParamInfo<Pair>& info) {
    return Name(info.param.yuv) + "_" + Name(info.param.rgb);
}

class Kernels : public testing::TestWithParam<Pair> {
  protected:
    const DWORD yuv_ = GetParam().yuv;
    const DWORD rgb_ = GetParam().rgb;

    /// Calls `check(matrix, range, shape)` for all of them.
    template <class Check>
    void ForEach(Check check) {
        for (LONG matrix : kMatrices) {
            for (LONG range : kRanges) {
                for (const Shape& shape : Shapes()) {
                    check(matrix, range, shape);
                    ASSERT_FALSE(HasFatalFailure())
                        << "width " << shape.width << " matrix " << matrix << " range " << range
                        << " seed " << shape.seed;
                }
            }
        }
    }
};

TEST_P(Kernels, FromYuvEqualTheReferenceAndKeepTheGaps) {
    struct AlphaVariant {
        bool plane;
        LONG source, destination;
    };
    std::vector<AlphaVariant> variants = {{false, 0, 0}, {true, 0, 0}};
    if (IsDeep(rgb_)) {
        variants.insert(variants.end(), {{true, 0, 1}, {true, 1, 0}, {true, 1, 1}});
    }
    ForEach([&](LONG matrix, LONG range, const Shape& shape) {
        Picture source(RowBytes(yuv_, shape.width), kHeight, shape.placement);
        Picture alpha(static_cast<std::size_t>(shape.width), kHeight, shape.placement);
        yuv_ == kW210 ? FillTenBitContent(source, shape.content, shape.seed)
                      : FillContent(source, shape.content, shape.seed);
        FillContent(alpha, shape.content, shape.seed + 1);
        for (const AlphaVariant& variant : variants) {
            Picture actual(RowBytes(rgb_, shape.width), kHeight, shape.placement);
            Picture expected(RowBytes(rgb_, shape.width), kHeight);
            YuvToRgbRequest request{source.plane(),
                                    variant.plane ? alpha.plane() : nullptr,
                                    yuv_,
                                    variant.source,
                                    expected.plane(),
                                    rgb_,
                                    variant.destination,
                                    range,
                                    matrix,
                                    shape.width,
                                    kHeight};
            reference::FromYuv(request);
            request.destination = actual.plane();
            ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
            ASSERT_TRUE(SameRows(actual, expected))
                << "alpha " << variant.plane << variant.source << variant.destination;
            ASSERT_TRUE(actual.SurroundingsUntouched());
        }
    });
}

TEST_P(Kernels, ToYuvEqualTheReferenceAndKeepTheGaps) {
    ForEach([&](LONG matrix, LONG range, const Shape& shape) {
        const auto alphaBytes = static_cast<std::size_t>(shape.width);
        Picture source(RowBytes(rgb_, shape.width), kHeight, shape.placement);
        Picture alpha(alphaBytes, kHeight, shape.placement);
        FillContent(source, shape.content, shape.seed);
        FillContent(alpha, shape.content, shape.seed + 1);
        for (int planes = 0; planes < 4; ++planes) {
            const bool toAlpha = planes >= 2;
            Picture actual(RowBytes(yuv_, shape.width), kHeight, shape.placement);
            Picture expected(RowBytes(yuv_, shape.width), kHeight);
            Picture actualAlpha(alphaBytes, kHeight, shape.placement);
            Picture expectedAlpha(alphaBytes, kHeight);
            RgbToYuvRequest request{source.plane(),
                                    planes % 2 != 0 ? alpha.plane() : nullptr,
                                    rgb_,
                                    expected.plane(),
                                    toAlpha ? expectedAlpha.plane() : nullptr,
                                    yuv_,
                                    kStraightAlpha,
                                    range,
                                    matrix,
                                    shape.width,
                                    kHeight};
            reference::ToYuv(request);
            request.destination = actual.plane();
            request.destinationAlpha = toAlpha ? actualAlpha.plane() : nullptr;
            ASSERT_EQ(RunRgbToYuv(GetCpuInfo(), request), S_OK);
            ASSERT_TRUE(SameRows(actual, expected) && SameRows(actualAlpha, expectedAlpha))
                << "planes " << planes;
            ASSERT_TRUE(actual.SurroundingsUntouched() && actualAlpha.SurroundingsUntouched());
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Pairs, Kernels, testing::ValuesIn(AllPairs()), PairName);

void CheckAllTriples(LONG matrix, LONG range) {
    constexpr LONG kCodes = 256;
    Picture source(RowBytes(kYuy2, kCodes), kCodes);
    Picture actual(RowBytes(kBgra, kCodes), kCodes);
    Picture expected(RowBytes(kBgra, kCodes), kCodes);
    YuvToRgbRequest request{source.plane(), nullptr, kYuy2,  kStraightAlpha, nullptr, kBgra,
                            kStraightAlpha, range,   matrix, kCodes,         kCodes};
    for (int u = 0; u < kCodes; ++u) {
        // One row per V, every Y in the row.
        int at = 0;
        source.Fill([&] {
            const int x = at / 2 % kCodes;
            const int v = at / (2 * kCodes);
            const int chroma = x % 2 == 0 ? u : v;
            return at++ % 2 == 0 ? x : chroma;
        });
        request.destination = expected.plane();
        reference::FromYuv(request);
        request.destination = actual.plane();
        ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
        ASSERT_TRUE(SameRows(actual, expected)) << "U " << u;
    }
}

TEST(Exhaustive, EveryTripleEqualsTheReferenceInEveryMatrixAndRange) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            CheckAllTriples(matrix, range);
            ASSERT_FALSE(HasFatalFailure()) << "matrix " << matrix << " range " << range;
        }
    }
}

}  // namespace
}  // namespace nyx::test
