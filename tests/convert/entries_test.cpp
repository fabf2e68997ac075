#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "convert/convert.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"

namespace nyx::test {
namespace {

/// A valid request that a case spoils; planes are there or null, with data or without.
struct Request {
    DWORD yuv = kYuy2, rgb = kBgra, yuvFlags = 0, rgbFlags = 1, from = 0, to = 0, alphaPlane = 0;
    DWORD source = 1, sourceData = 1, destination = 1, destinationData = 1, width = 12, height = 2;
    BYTE bytes[3][256] = {};

    HRESULT Run(bool toYuv) {
        const ImagePlane p[] = {{sourceData ? bytes[0] : nullptr, 0, 0},
                                {destinationData ? bytes[1] : nullptr, 0, 0},
                                {bytes[2], 0, 0}};
        const ImagePlane *in = source ? p : nullptr, *out = destination ? p + 1 : nullptr,
                         *alpha = alphaPlane ? p + 2 : nullptr;
        const auto w = static_cast<LONG>(width), h = static_cast<LONG>(height);
        const auto mode = static_cast<LONG>(from), other = static_cast<LONG>(to);
        std::memset(bytes[1], 0xA5, sizeof bytes[1]);
        const HRESULT result =
            toYuv ? ConvertToYuv(in, rgb, rgbFlags, nullptr, out, alpha, yuv, yuvFlags, mode, w, h)
                  : ConvertFromYuv(in, alpha, yuv, yuvFlags, mode, out, rgb, rgbFlags, other, w, h);
        EXPECT_EQ(std::count(bytes[1], bytes[1] + 256, 0xA5) == 256, FAILED(result));
        return result;
    }
};

TEST(Entries, RefuseFaultyRequestsCombinationFirstAndWriteNothing) {
    using R = Request;
    struct Case {
        DWORD R::*field;
        std::vector<DWORD> values;
        HRESULT result, withoutSource;
    };
    constexpr DWORD kMinusTwo = 0xFFFFFFFE;
    const Case cases[] = {
        {&R::yuvFlags, {0, 2}, S_OK, E_POINTER},
        {&R::rgbFlags, {0, 3, kMinusTwo}, S_OK, E_POINTER},
        {&R::yuv, {0, FourCC("UYVY"), kRgba, k48rl}, E_INVALIDARG, E_INVALIDARG},
        {&R::rgb, {0, FourCC("BGR4"), kYuy2, kW210}, E_INVALIDARG, E_INVALIDARG},
        {&R::yuvFlags, {1, 3, 4, 0x80000002}, E_INVALIDARG, E_INVALIDARG},
        {&R::sourceData, {0}, E_POINTER, E_POINTER},
        {&R::destination, {0}, E_POINTER, E_POINTER},
        {&R::destinationData, {0}, E_POINTER, E_POINTER},
        {&R::width, {0, 1, 11, kMinusTwo}, E_INVALIDARG, E_POINTER},
        {&R::height, {0, kMinusTwo}, E_INVALIDARG, E_POINTER},
    };
    for (const Case& c : cases) {
        for (std::size_t i = 0; i < 2 * c.values.size(); ++i) {
            Request request;
            request.*c.field = c.values[i / 2];
            EXPECT_EQ(request.Run(i % 2 != 0), c.result) << &c - cases << ' ' << i;
            request.source = 0;
            EXPECT_EQ(request.Run(i % 2 != 0), c.withoutSource) << &c - cases << ' ' << i;
        }
    }
    Request reversed;
    std::swap(reversed.yuv, reversed.rgb);
    EXPECT_EQ(reversed.Run(false) & reversed.Run(true), E_INVALIDARG);
}

/// 8-bit layouts take straight alpha alone, deep ones any modes; without a plane none counts.
TEST(Entries, AlphaModesCountWithAnAlphaPlane) {
    for (DWORD code = 0; code < 64; ++code) {
        Request r;
        r.from = code % 4 - 1;
        r.to = code / 4 % 4 - 1;
        r.rgb = code / 16 % 2 ? k48rl : kRgba;
        r.alphaPlane = code / 32;
        const auto takes = [&](DWORD from, DWORD to) {
            const bool known = from < 2 && to < 2 && r.rgb == k48rl;
            return !r.alphaPlane || (from == 0 && to == 0) || known ? S_OK : E_INVALIDARG;
        };
        EXPECT_EQ(r.Run(false), takes(r.from, r.to)) << code;
        EXPECT_EQ(r.Run(true), takes(r.from, r.from)) << code;
    }
}

TEST(Entries, OtherMatricesRangesAndProcessorsAreRefusedAndThrowsBecomeResults) {
    BYTE bytes[64] = {};
    const ImagePlane plane = {bytes, 0, 0};
    Conversion conversion;
    for (const ConversionKind& kind : {ConversionKind{kYuy2, kBgra, 1, 1},
                                       {kYuy2, kBgra, 1, 5},
                                       {kYuy2, k48rl, 2, 4},
                                       {kBgra, kYuy2, -1, 4}}) {
        EXPECT_EQ(ChooseConversion(kind, &conversion), E_INVALIDARG);
    }
    ASSERT_EQ(ChooseConversion({kYuy2, kBgra, 1, 4}, &conversion), S_OK);
    CpuInfo plain = GetCpuInfo();
    plain.leaves[1].ecx &= ~(DWORD{1} << 9);
    EXPECT_EQ(RunConversion(plain, conversion, {&plane, &plane}, 2, 1), E_UNEXPECTED);
    EXPECT_EQ(RunConversion(plain, conversion, {&plane, nullptr}, 2, 1), E_POINTER);
    EXPECT_EQ(RunConversion(GetCpuInfo(), {}, {&plane, &plane}, 2, 1), E_INVALIDARG);
    EXPECT_EQ(RunKernel([] { throw HRESULT{E_OUTOFMEMORY}; }), E_OUTOFMEMORY);
    EXPECT_EQ(RunKernel([] { throw std::bad_alloc(); }), E_UNEXPECTED);
}

TEST(Processor, RecordHasTheFlagsOfTheKernels) {
    CpuInfo info = GetCpuInfo();
    EXPECT_EQ(info.xcr0Low != 0, (info.leaves[1].ecx >> 27 & 1) != 0);
    EXPECT_EQ(info.sseUsable, 1);
    for (int bit = 0; bit < 32; ++bit) {
        info.leaves[1].ecx = DWORD{1} << bit;
        EXPECT_EQ(HasCpuFeature(info, kCpuSsse3), bit == 9) << bit;
        EXPECT_EQ(HasCpuFeature(info, kCpuSse41), bit == 19) << bit;
    }
    info.leaves[0].eax = 0;
    EXPECT_EQ(HasCpuFeature(info, 2), 0);
}

}  // namespace
}  // namespace nyx::test
