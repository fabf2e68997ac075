/// The public entries: which requests are accepted, in which order faults are found, and that a
/// failed request writes nothing.

#include <gtest/gtest.h>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"

namespace nyx::test {
namespace {

constexpr LONG kHeight = 2;

enum class Missing { kNothing, kImage, kImageData };

/// A valid request of either direction that a test spoils.
struct Call {
    DWORD yuv = kYuy2;
    DWORD rgb = kBgra;
    DWORD yuvFlags = kYuvBt601;
    DWORD rgbFlags = kRgbFullRange;
    bool alphaPlane = false;
    LONG sourceAlphaMode = 0;
    LONG destinationAlphaMode = 0;
    LONG width = 12;
    LONG height = kHeight;
    Missing source = Missing::kNothing;
    Missing destination = Missing::kNothing;
};

/// The plane of `picture` as a faulty caller passes it.
const ImagePlane* PlaneOf(const Picture& picture, Missing missing, ImagePlane* plane) {
    *plane = *picture.plane();
    plane->data = missing == Missing::kImageData ? nullptr : plane->data;
    return missing == Missing::kImage ? nullptr : plane;
}

/// Both results must leave the destination as it was when they are failures.
HRESULT FromYuv(const Call& c) {
    Picture source(12 * 4, kHeight);
    Picture alpha(12, kHeight);
    Picture destination(12 * 8, kHeight);
    ImagePlane in, out;
    const HRESULT result = ConvertFromYuv(
        PlaneOf(source, c.source, &in), c.alphaPlane ? alpha.plane() : nullptr, c.yuv, c.yuvFlags,
        c.sourceAlphaMode, PlaneOf(destination, c.destination, &out), c.rgb, c.rgbFlags,
        c.destinationAlphaMode, c.width, c.height);
    EXPECT_EQ(destination.Untouched(), FAILED(result));
    return result;
}

HRESULT ToYuv(const Call& c) {
    Picture source(12 * 8, kHeight);
    Picture destination(12 * 4, kHeight);
    Picture alpha(12, kHeight);
    ImagePlane in, out;
    const HRESULT result = ConvertToYuv(PlaneOf(source, c.source, &in), c.rgb, c.rgbFlags, nullptr,
                                        PlaneOf(destination, c.destination, &out),
                                        c.alphaPlane ? alpha.plane() : nullptr, c.yuv, c.yuvFlags,
                                        c.sourceAlphaMode, c.width, c.height);
    EXPECT_EQ(destination.Untouched() && alpha.Untouched(), FAILED(result));
    return result;
}

TEST(ColourFlags, CombineToOneCode) {
    struct Case {
        DWORD rgb, yuv;
        int code;
    };
    constexpr Case kCases[] = {
        {0, 0, 0},          {1, 0, 1},  {0, 2, 2},  {1, 2, 3},  {2, 0, 0},           {3, 2, 3},
        {0xFFFFFFFF, 2, 3}, {1, 1, -1}, {1, 3, -1}, {1, 4, -1}, {1, 0x80000002, -1},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(ResolveColourFlags(c.rgb, c.yuv), c.code) << c.rgb << " and " << c.yuv;
    }
}

TEST(Convert, TakesEveryPairInEveryColourCode) {
    for (DWORD yuv : kYuvFormats) {
        for (DWORD rgb : kRgbFormats) {
            for (DWORD code = 0; code < 4; ++code) {
                Call call;
                call.yuv = yuv;
                call.rgb = rgb;
                call.yuvFlags = code & 2;
                call.rgbFlags = code & 1;
                EXPECT_EQ(FromYuv(call), S_OK) << Name(yuv) << Name(rgb);
                EXPECT_EQ(ToYuv(call), S_OK) << Name(yuv) << Name(rgb);
            }
        }
    }
}

TEST(Convert, RefusesFaultyRequestsCombinationFirst) {
    struct Case {
        const char* name;
        HRESULT result;
        void (*spoil)(Call&);
    };
    constexpr Missing kImage = Missing::kImage;
    const Case cases[] = {
        {"no YUV code", E_INVALIDARG, [](Call& c) { c.yuv = 0; }},
        {"another YUV layout", E_INVALIDARG, [](Call& c) { c.yuv = FourCC("UYVY"); }},
        {"RGB as YUV", E_INVALIDARG, [](Call& c) { c.yuv = kBgra; }},
        {"deep RGB as YUV", E_INVALIDARG, [](Call& c) { c.yuv = k48rl; }},
        {"no RGB code", E_INVALIDARG, [](Call& c) { c.rgb = 0; }},
        {"another RGB layout", E_INVALIDARG, [](Call& c) { c.rgb = FourCC("BGR4"); }},
        {"8-bit YUV as RGB", E_INVALIDARG, [](Call& c) { c.rgb = kYuy2; }},
        {"10-bit YUV as RGB", E_INVALIDARG, [](Call& c) { c.rgb = kW210; }},
        {"YUV flags 1", E_INVALIDARG, [](Call& c) { c.yuvFlags = 1; }},
        {"YUV flags 6", E_INVALIDARG, [](Call& c) { c.yuvFlags = 6; }},
        {"no source", E_POINTER, [](Call& c) { c.source = kImage; }},
        {"no source data", E_POINTER, [](Call& c) { c.source = Missing::kImageData; }},
        {"no destination", E_POINTER, [](Call& c) { c.destination = kImage; }},
        {"no destination data", E_POINTER, [](Call& c) { c.destination = Missing::kImageData; }},
        {"flags before source", E_INVALIDARG,
         [](Call& c) {
             c.yuvFlags = 1;
             c.source = kImage;
         }},
        {"code before destination", E_INVALIDARG,
         [](Call& c) {
             c.rgb = 0;
             c.destination = kImage;
         }},
        {"source before size", E_POINTER,
         [](Call& c) {
             c.source = kImage;
             c.width = 0;
         }},
        {"width 0", E_INVALIDARG, [](Call& c) { c.width = 0; }},
        {"width -2", E_INVALIDARG, [](Call& c) { c.width = -2; }},
        {"width 1", E_INVALIDARG, [](Call& c) { c.width = 1; }},
        {"width 11", E_INVALIDARG, [](Call& c) { c.width = 11; }},
        {"height 0", E_INVALIDARG, [](Call& c) { c.height = 0; }},
        {"height -1", E_INVALIDARG, [](Call& c) { c.height = -1; }},
    };
    for (const Case& c : cases) {
        Call call;
        c.spoil(call);
        EXPECT_EQ(FromYuv(call), c.result) << c.name;
        EXPECT_EQ(ToYuv(call), c.result) << c.name;
    }
}

/// 8-bit layouts take straight alpha only, deep ones any pair of modes.
TEST(Convert, AlphaModesCountOnlyWithAnAlphaPlane) {
    for (DWORD rgb : kRgbFormats) {
        for (LONG source : {-1, 0, 1, 2}) {
            for (LONG destination : {-1, 0, 1, 2}) {
                Call call;
                call.rgb = rgb;
                call.sourceAlphaMode = source;
                call.destinationAlphaMode = destination;
                SCOPED_TRACE(testing::Message() << Name(rgb) << source << destination);
                EXPECT_EQ(FromYuv(call), S_OK);
                EXPECT_EQ(ToYuv(call), S_OK);
                call.alphaPlane = true;
                const bool known = (source & ~1) == 0 && (destination & ~1) == 0;
                const bool straight = source == 0 && destination == 0;
                EXPECT_EQ(FromYuv(call), straight || (known && IsDeep(rgb)) ? S_OK : E_INVALIDARG);
                const bool knownBack = source == 0 || (source == 1 && IsDeep(rgb));
                EXPECT_EQ(ToYuv(call), knownBack ? S_OK : E_INVALIDARG);
            }
        }
    }
}

/// Valid requests of both directions between the same two pictures.
class KernelGroups : public testing::Test {
  protected:
    Picture yuv_{12 * 2, kHeight};
    Picture rgb_{12 * 4, kHeight};
    YuvToRgbRequest from_{yuv_.plane(), nullptr,       kYuy2, 0,      rgb_.plane(), kBgra, 0,
                          kFullRange,   kMatrixBt2020, 12,    kHeight};
    RgbToYuvRequest to_{rgb_.plane(), nullptr,       kBgra, yuv_.plane(), nullptr, kYuy2, 0,
                        kFullRange,   kMatrixBt2020, 12,    kHeight};

    void ExpectBoth(HRESULT result, const CpuInfo& cpu = GetCpuInfo()) {
        EXPECT_EQ(RunYuvToRgb(cpu, from_), result) << from_.matrix << " " << from_.range;
        EXPECT_EQ(RunRgbToYuv(cpu, to_), result) << to_.matrix << " " << to_.range;
    }
};

TEST_F(KernelGroups, TakeTheThirdMatrixAndRefuseUnknownOnesAndRanges) {
    ExpectBoth(S_OK);
    for (LONG matrix : {-1, 0, 1, 5}) {
        from_.matrix = to_.matrix = matrix;
        ExpectBoth(E_INVALIDARG);
    }
    from_.matrix = to_.matrix = kMatrixBt601;
    from_.range = to_.range = 2;
    ExpectBoth(E_INVALIDARG);
    from_.destinationFourCC = to_.sourceFourCC = k48rl;
    ExpectBoth(E_INVALIDARG);
}

TEST_F(KernelGroups, WithoutSsse3NothingRunsAndNothingIsWritten) {
    CpuInfo plain = GetCpuInfo();
    plain.leaves[1].ecx &= ~(DWORD{1} << 9);
    ExpectBoth(E_UNEXPECTED, plain);
    EXPECT_TRUE(rgb_.Untouched() && yuv_.Untouched());
    from_.source = to_.source = nullptr;
    ExpectBoth(E_POINTER, plain);
}

TEST_F(KernelGroups, WhatAKernelThrowsBecomesAResult) {
    EXPECT_EQ(RunKernel([](int) { throw HRESULT{E_OUTOFMEMORY}; }, 0), E_OUTOFMEMORY);
    EXPECT_EQ(RunKernel([](int) { throw std::bad_alloc(); }, 0), E_UNEXPECTED);
}

/// A caller's wrong gap skews the picture: rows follow each other by bytes written plus gap, and
/// the pitch itself is not looked at.
TEST_F(KernelGroups, RowsAreSteppedByTheGapAlone) {
    FillContent(yuv_, Content::kRandom, 5);
    Picture expected(12 * 4, kHeight);
    ImagePlane in = *yuv_.plane();
    ImagePlane out = *rgb_.plane();
    from_.destination = expected.plane();
    ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), from_), S_OK);
    in.pitch = 12345;
    out.pitch = -999;
    from_.source = &in;
    from_.destination = &out;
    ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), from_), S_OK);
    EXPECT_TRUE(SameRows(rgb_, expected));
}

}  // namespace
}  // namespace nyx::test
