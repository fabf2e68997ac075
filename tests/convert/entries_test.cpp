/// The public entries: which requests are accepted, in which order faults are found, and that a
/// failed request writes nothing.

#include <gtest/gtest.h>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

constexpr LONG kWidth = 12;
constexpr LONG kHeight = 2;

/// A valid request that a test spoils.
struct FromYuvCall {
    DWORD sourceFourCC = kYuy2;
    DWORD sourceFlags = kYuvBt601;
    bool sourceAlpha = false;
    LONG sourceAlphaMode = 0;
    DWORD destinationFourCC = kBgra;
    DWORD destinationFlags = kRgbFullRange;
    LONG destinationAlphaMode = 0;
    LONG width = kWidth;
    LONG height = kHeight;
    bool nullSource = false;
    bool nullSourceData = false;
    bool nullDestination = false;
    bool nullDestinationData = false;

    /// The result; a failure must leave the destination as it was.
    HRESULT Run() const {
        Picture source(kWidth * 4, kHeight);
        Picture alpha(kWidth, kHeight);
        Picture destination(kWidth * 8, kHeight);
        ImagePlane in = *source.plane();
        ImagePlane out = *destination.plane();
        in.data = nullSourceData ? nullptr : in.data;
        out.data = nullDestinationData ? nullptr : out.data;
        const HRESULT result = ConvertFromYuv(
            nullSource ? nullptr : &in, sourceAlpha ? alpha.plane() : nullptr, sourceFourCC,
            sourceFlags, sourceAlphaMode, nullDestination ? nullptr : &out, destinationFourCC,
            destinationFlags, destinationAlphaMode, width, height);
        EXPECT_EQ(destination.Untouched(), FAILED(result));
        return result;
    }
};

struct ToYuvCall {
    DWORD sourceFourCC = kBgra;
    DWORD sourceFlags = kRgbFullRange;
    DWORD destinationFourCC = kYuy2;
    DWORD destinationFlags = kYuvBt601;
    bool destinationAlpha = false;
    LONG alphaMode = 0;
    LONG width = kWidth;
    LONG height = kHeight;
    bool nullSource = false;
    bool nullSourceData = false;
    bool nullDestination = false;
    bool nullDestinationData = false;

    HRESULT Run() const {
        Picture source(kWidth * 8, kHeight);
        Picture destination(kWidth * 4, kHeight);
        Picture alpha(kWidth, kHeight);
        ImagePlane in = *source.plane();
        ImagePlane out = *destination.plane();
        in.data = nullSourceData ? nullptr : in.data;
        out.data = nullDestinationData ? nullptr : out.data;
        const HRESULT result = ConvertToYuv(
            nullSource ? nullptr : &in, sourceFourCC, sourceFlags, nullptr,
            nullDestination ? nullptr : &out, destinationAlpha ? alpha.plane() : nullptr,
            destinationFourCC, destinationFlags, alphaMode, width, height);
        EXPECT_EQ(destination.Untouched() && alpha.Untouched(), FAILED(result));
        return result;
    }
};

template <class Call, class Spoil>
HRESULT With(Spoil spoil) {
    Call call;
    spoil(call);
    return call.Run();
}

template <class Spoil>
HRESULT FromYuvWith(Spoil spoil) {
    return With<FromYuvCall>(spoil);
}

template <class Spoil>
HRESULT ToYuvWith(Spoil spoil) {
    return With<ToYuvCall>(spoil);
}

TEST(ColourFlags, CombineToOneCode) {
    EXPECT_EQ(ResolveColourFlags(0, 0), 0);
    EXPECT_EQ(ResolveColourFlags(1, 0), 1);
    EXPECT_EQ(ResolveColourFlags(0, 2), 2);
    EXPECT_EQ(ResolveColourFlags(1, 2), 3);
    EXPECT_EQ(ResolveColourFlags(2, 0), 0);
    EXPECT_EQ(ResolveColourFlags(3, 2), 3);
    EXPECT_EQ(ResolveColourFlags(0xFFFFFFFF, 2), 3);
    for (DWORD yuv : {1u, 3u, 4u, 0x80000002u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ResolveColourFlags(1, yuv), -1) << yuv;
    }
}

TEST(ConvertFromYuv, AcceptsEveryPairAndNoOther) {
    for (const PixelFormat* source : {FindPixelFormat(kYuy2), FindPixelFormat(kW210)}) {
        for (DWORD rgb : kRgbFormats) {
            EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) {
                          c.sourceFourCC = source->fourcc;
                          c.destinationFourCC = rgb;
                      }),
                      S_OK)
                << Name(rgb);
        }
    }
    for (DWORD wrong : {DWORD{0}, FourCC("UYVY"), kBgra, k48rl}) {
        EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) { c.sourceFourCC = wrong; }), E_INVALIDARG);
    }
    for (DWORD wrong : {DWORD{0}, FourCC("BGR4"), kYuy2, kW210}) {
        EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) { c.destinationFourCC = wrong; }), E_INVALIDARG);
    }
}

TEST(ConvertFromYuv, RejectsColourFlagsOfTheYuvSideOtherThanTheTwo) {
    for (DWORD flags : {1u, 3u, 6u}) {
        EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) { c.sourceFlags = flags; }), E_INVALIDARG);
    }
}

TEST(ConvertFromYuv, EightBitOutputsTakeAnAlphaPlaneInStraightModesOnly) {
    for (DWORD rgb : kRgb8Formats) {
        for (LONG modes = 0; modes < 4; ++modes) {
            const auto call = [&](bool plane) {
                return FromYuvWith([&](FromYuvCall& c) {
                    c.destinationFourCC = rgb;
                    c.sourceAlpha = plane;
                    c.sourceAlphaMode = modes & 1;
                    c.destinationAlphaMode = modes >> 1;
                });
            };
            EXPECT_EQ(call(true), modes == 0 ? S_OK : E_INVALIDARG) << Name(rgb) << modes;
            EXPECT_EQ(call(false), S_OK) << Name(rgb) << modes;
        }
    }
}

TEST(ConvertFromYuv, DeepOutputsTakeAllFourPairsOfModesAndNoFurther) {
    for (DWORD rgb : kDeepFormats) {
        for (LONG source : {-1, 0, 1, 2}) {
            for (LONG destination : {-1, 0, 1, 2}) {
                const bool known = (source & ~1) == 0 && (destination & ~1) == 0;
                EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) {
                              c.destinationFourCC = rgb;
                              c.sourceAlpha = true;
                              c.sourceAlphaMode = source;
                              c.destinationAlphaMode = destination;
                          }),
                          known ? S_OK : E_INVALIDARG)
                    << Name(rgb);
            }
        }
    }
}

TEST(ConvertFromYuv, MissingPlanesAreAPointerFault) {
    EXPECT_EQ(FromYuvWith([](FromYuvCall& c) { c.nullSource = true; }), E_POINTER);
    EXPECT_EQ(FromYuvWith([](FromYuvCall& c) { c.nullSourceData = true; }), E_POINTER);
    EXPECT_EQ(FromYuvWith([](FromYuvCall& c) { c.nullDestination = true; }), E_POINTER);
    EXPECT_EQ(FromYuvWith([](FromYuvCall& c) { c.nullDestinationData = true; }), E_POINTER);
}

TEST(ConvertFromYuv, TheCombinationIsCheckedBeforeThePlanes) {
    EXPECT_EQ(FromYuvWith([](FromYuvCall& c) {
                  c.nullSource = true;
                  c.sourceFlags = 1;
              }),
              E_INVALIDARG);
    EXPECT_EQ(FromYuvWith([](FromYuvCall& c) {
                  c.nullDestination = true;
                  c.destinationFourCC = 0;
              }),
              E_INVALIDARG);
}

TEST(ConvertFromYuv, SizesWithoutPairsOrRowsAreRefused) {
    for (LONG width : {0, -2, 1, 3, 11}) {
        EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) { c.width = width; }), E_INVALIDARG) << width;
    }
    for (LONG height : {0, -1}) {
        EXPECT_EQ(FromYuvWith([&](FromYuvCall& c) { c.height = height; }), E_INVALIDARG);
    }
}

TEST(ConvertToYuv, AcceptsEveryPairAndNoOther) {
    for (DWORD yuv : kYuvFormats) {
        for (DWORD rgb : kRgbFormats) {
            for (DWORD code = 0; code < 4; ++code) {
                EXPECT_EQ(ToYuvWith([&](ToYuvCall& c) {
                              c.sourceFourCC = rgb;
                              c.destinationFourCC = yuv;
                              c.sourceFlags = code & 1;
                              c.destinationFlags = code & 2;
                          }),
                          S_OK)
                    << Name(rgb);
            }
        }
    }
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.sourceFourCC = kYuy2; }), E_INVALIDARG);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.sourceFourCC = 0; }), E_INVALIDARG);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.destinationFourCC = kBgra; }), E_INVALIDARG);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.destinationFlags = 1; }), E_INVALIDARG);
}

TEST(ConvertToYuv, FaultsAreFoundInTheSameOrder) {
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.nullSource = true; }), E_POINTER);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.nullSourceData = true; }), E_POINTER);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.nullDestination = true; }), E_POINTER);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.nullDestinationData = true; }), E_POINTER);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) {
                  c.nullSource = true;
                  c.sourceFourCC = 0;
              }),
              E_INVALIDARG);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.width = 7; }), E_INVALIDARG);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.height = 0; }), E_INVALIDARG);
}

TEST(ConvertToYuv, AnUnknownAlphaModeCountsOnlyWithAnAlphaPlane) {
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) { c.alphaMode = 2; }), S_OK);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) {
                  c.alphaMode = 2;
                  c.destinationAlpha = true;
              }),
              E_INVALIDARG);
    EXPECT_EQ(ToYuvWith([](ToYuvCall& c) {
                  c.alphaMode = 1;
                  c.destinationAlpha = true;
              }),
              S_OK);
}

TEST(KernelGroups, TakeTheThirdMatrixAndRefuseUnknownOnes) {
    Picture source(kWidth * 2, kHeight);
    Picture destination(kWidth * 4, kHeight);
    YuvToRgbRequest from{source.plane(), nullptr, kYuy2, 0, destination.plane(), kBgra, 0, 0, 4,
                         kWidth,         kHeight};
    RgbToYuvRequest to{destination.plane(),
                       nullptr,
                       kBgra,
                       source.plane(),
                       nullptr,
                       kYuy2,
                       0,
                       0,
                       4,
                       kWidth,
                       kHeight};
    EXPECT_EQ(RunYuvToRgb(GetCpuInfo(), from), S_OK);
    EXPECT_EQ(RunRgbToYuv(GetCpuInfo(), to), S_OK);
    for (LONG matrix : {-1, 0, 1, 5}) {
        from.matrix = to.matrix = matrix;
        EXPECT_EQ(RunYuvToRgb(GetCpuInfo(), from), E_INVALIDARG);
        EXPECT_EQ(RunRgbToYuv(GetCpuInfo(), to), E_INVALIDARG);
    }
    from.matrix = to.matrix = kMatrixBt601;
    from.range = to.range = 2;
    EXPECT_EQ(RunYuvToRgb(GetCpuInfo(), from), E_INVALIDARG);
    from.destinationFourCC = k48rl;
    EXPECT_EQ(RunYuvToRgb(GetCpuInfo(), from), E_INVALIDARG);
    EXPECT_EQ(RunRgbToYuv(GetCpuInfo(), to), E_INVALIDARG);
}

TEST(KernelGroups, WithoutSsse3NothingRunsAndNothingIsWritten) {
    CpuInfo plain = GetCpuInfo();
    plain.leaves[1].ecx &= ~(DWORD{1} << 9);
    Picture source(kWidth * 2, kHeight);
    Picture destination(kWidth * 4, kHeight);
    YuvToRgbRequest from{source.plane(), nullptr, kYuy2, 0, destination.plane(), kBgra, 0, 0, 2,
                         kWidth,         kHeight};
    EXPECT_EQ(RunYuvToRgb(plain, from), E_UNEXPECTED);
    EXPECT_TRUE(destination.Untouched());
    RgbToYuvRequest to{destination.plane(),
                       nullptr,
                       kBgra,
                       source.plane(),
                       nullptr,
                       kYuy2,
                       0,
                       0,
                       2,
                       kWidth,
                       kHeight};
    EXPECT_EQ(RunRgbToYuv(plain, to), E_UNEXPECTED);
    EXPECT_TRUE(source.Untouched());

    from.source = nullptr;
    EXPECT_EQ(RunYuvToRgb(plain, from), E_POINTER);
    from.sourceFourCC = 0;
    EXPECT_EQ(RunYuvToRgb(plain, from), E_INVALIDARG);
}

TEST(KernelGroups, WhatAKernelThrowsBecomesAResult) {
    EXPECT_EQ(RunKernel([](int) { throw HRESULT{E_OUTOFMEMORY}; }, 0), E_OUTOFMEMORY);
    EXPECT_EQ(RunKernel([](int) { throw std::bad_alloc(); }, 0), E_UNEXPECTED);
    EXPECT_EQ(RunKernel([](int) {}, 0), S_OK);
}

/// A caller's wrong gap skews the picture: rows follow each other by bytes written plus gap, and
/// the pitch itself is not looked at.
TEST(KernelGroups, RowsAreSteppedByTheGapAlone) {
    Picture source(kWidth * 2, 2);
    FillContent(source, Content::kRandom, 5);
    Picture expected(kWidth * 4, 2);
    Picture actual(kWidth * 4, 2);
    ImagePlane in = *source.plane();
    ImagePlane out = *actual.plane();
    in.pitch = 12345;
    out.pitch = -999;
    ASSERT_EQ(ConvertFromYuv(source.plane(), nullptr, kYuy2, 0, 0, expected.plane(), kBgra, 1, 0,
                             kWidth, 2),
              S_OK);
    ASSERT_EQ(ConvertFromYuv(&in, nullptr, kYuy2, 0, 0, &out, kBgra, 1, 0, kWidth, 2), S_OK);
    EXPECT_TRUE(SameRows(actual, expected));
}

}  // namespace
}  // namespace nyx::test
