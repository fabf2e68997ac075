/// Every kernel against the plain reference: each pair, matrix, range and alpha variant, each tail
/// length, each way a plane can lie in memory.

#include <gtest/gtest.h>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

constexpr LONG kHeight = 3;

std::vector<LONG> Widths() {
    std::vector<LONG> widths;
    for (LONG width = 2; width <= 70; width += 2) {
        widths.push_back(width);
    }
    widths.insert(widths.end(), {96, 126, 128, 254, 722});
    return widths;
}

constexpr Placement kPlacements[] = {
    {0, 0, false},
    {3, 5, false},
    {0, 7, true},
    {1, 0, true},
};

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

void FillSource(Picture& picture, DWORD fourcc, Content content, std::uint32_t seed) {
    fourcc == kW210 ? FillTenBitContent(picture, content, seed)
                    : FillContent(picture, content, seed);
}

/// Calls `check(width, placement, content, seed)` for every shape; the large shapes once.
template <class Check>
void ForEachShape(Check check) {
    std::uint32_t seed = 1;
    for (LONG width : Widths()) {
        const Placement placement = kPlacements[seed % std::size(kPlacements)];
        check(width, placement, seed % 3 == 0 ? Content::kAdversarial : Content::kRandom, seed);
        ++seed;
    }
    for (LONG width : {2, 4, 6, 8, 10, 12, 14, 16, 18, 30, 34}) {
        for (Placement placement : kPlacements) {
            check(width, placement, Content::kAdversarial, ++seed);
        }
    }
}

struct AlphaVariant {
    bool plane;
    LONG sourceMode;
    LONG destinationMode;
};

std::vector<AlphaVariant> AlphaVariants(DWORD rgb) {
    std::vector<AlphaVariant> variants = {{false, 0, 0}, {true, 0, 0}};
    if (IsDeep(rgb)) {
        variants.insert(variants.end(), {{true, 0, 1}, {true, 1, 0}, {true, 1, 1}});
    }
    return variants;
}

class YuvToRgb : public testing::TestWithParam<Pair> {
  protected:
    void Check(LONG matrix, LONG range, AlphaVariant variant, LONG width, Placement placement,
               Content content, std::uint32_t seed) {
        const Pair pair = GetParam();
        Picture source(RowBytes(pair.yuv, width), kHeight, placement);
        Picture alpha(static_cast<std::size_t>(width), kHeight, placement);
        Picture actual(RowBytes(pair.rgb, width), kHeight, placement);
        Picture expected(RowBytes(pair.rgb, width), kHeight);
        FillSource(source, pair.yuv, content, seed);
        FillContent(alpha, content, seed + 1);
        YuvToRgbRequest request{source.plane(),
                                variant.plane ? alpha.plane() : nullptr,
                                pair.yuv,
                                variant.sourceMode,
                                expected.plane(),
                                pair.rgb,
                                variant.destinationMode,
                                range,
                                matrix,
                                width,
                                kHeight};
        reference::FromYuv(request);
        request.destination = actual.plane();
        ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
        ASSERT_TRUE(SameRows(actual, expected))
            << "width " << width << " matrix " << matrix << " range " << range << " alpha "
            << variant.plane << variant.sourceMode << variant.destinationMode << " seed " << seed;
        ASSERT_TRUE(actual.SurroundingsUntouched()) << "width " << width;
    }
};

TEST_P(YuvToRgb, EqualsTheReferenceAndKeepsTheGaps) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            for (AlphaVariant variant : AlphaVariants(GetParam().rgb)) {
                ForEachShape(
                    [&](LONG width, Placement placement, Content content, std::uint32_t seed) {
                        Check(matrix, range, variant, width, placement, content, seed);
                    });
                ASSERT_FALSE(HasFatalFailure());
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pairs, YuvToRgb, testing::ValuesIn(AllPairs()), PairName);

class RgbToYuv : public testing::TestWithParam<Pair> {
  protected:
    void Check(LONG matrix, LONG range, bool sourceAlpha, bool destinationAlpha, LONG width,
               Placement placement, Content content, std::uint32_t seed) {
        const Pair pair = GetParam();
        const auto alphaBytes = static_cast<std::size_t>(width);
        Picture source(RowBytes(pair.rgb, width), kHeight, placement);
        Picture alpha(alphaBytes, kHeight, placement);
        Picture actual(RowBytes(pair.yuv, width), kHeight, placement);
        Picture expected(RowBytes(pair.yuv, width), kHeight);
        Picture actualAlpha(alphaBytes, kHeight, placement);
        Picture expectedAlpha(alphaBytes, kHeight);
        FillContent(source, content, seed);
        FillContent(alpha, content, seed + 1);
        RgbToYuvRequest request{source.plane(),
                                sourceAlpha ? alpha.plane() : nullptr,
                                pair.rgb,
                                expected.plane(),
                                destinationAlpha ? expectedAlpha.plane() : nullptr,
                                pair.yuv,
                                kStraightAlpha,
                                range,
                                matrix,
                                width,
                                kHeight};
        reference::ToYuv(request);
        request.destination = actual.plane();
        request.destinationAlpha = destinationAlpha ? actualAlpha.plane() : nullptr;
        ASSERT_EQ(RunRgbToYuv(GetCpuInfo(), request), S_OK);
        ASSERT_TRUE(SameRows(actual, expected))
            << "width " << width << " matrix " << matrix << " range " << range << " seed " << seed;
        ASSERT_TRUE(SameRows(actualAlpha, expectedAlpha)) << "width " << width;
        ASSERT_TRUE(actual.SurroundingsUntouched() && actualAlpha.SurroundingsUntouched());
    }
};

TEST_P(RgbToYuv, EqualsTheReferenceAndKeepsTheGaps) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            for (int planes = 0; planes < 4; ++planes) {
                ForEachShape([&](LONG width, Placement placement, Content content,
                                 std::uint32_t seed) {
                    Check(matrix, range, planes & 1, planes & 2, width, placement, content, seed);
                });
                ASSERT_FALSE(HasFatalFailure());
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pairs, RgbToYuv, testing::ValuesIn(AllPairs()), PairName);

}  // namespace
}  // namespace nyx::test
