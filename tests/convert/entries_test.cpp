#include <cpuid.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <map>
#include <set>

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
    EXPECT_EQ(StripConversion().Run(plane, plane, 2, 1), E_INVALIDARG);
    EXPECT_EQ(RunKernel([] { throw HRESULT{E_OUTOFMEMORY}; }), E_OUTOFMEMORY);
    EXPECT_EQ(RunKernel([] { throw std::bad_alloc(); }), E_UNEXPECTED);
}

/// Each bit that a processor with all others lacks, counted a hundred from word to word.
TEST(Processor, AnswersEachFlagByItsBitAndWhatItNeeds) {
    const std::set<LONG> avx = {35, 36, 37};
    std::map<int, std::set<LONG>> byBit = {
        {23, {21}},  {25, {26, 27, 28}}, {26, {28}},  {28, {34}},  {100, {29}}, {109, {30}},
        {112, {36}}, {119, {31}},        {120, {32}}, {127, avx},  {128, avx},  {222, {25}},
        {230, {23}}, {311, {33}},        {405, {37}}, {517, {34}}, {601, avx},  {602, avx}};
    for (LONG index = 3; index < 20; ++index) {
        byBit[index < 13 ? index - 3 : index - 2] = {index};
    }
    CpuInfo info = {};
    CpuidWords &basic = info.leaves[1], &extended = info.leaves[9];
    DWORD* words[] = {&basic.edx,          &basic.ecx, &extended.edx, &extended.ecx,
                      &info.leaves[7].ebx, &basic.ebx, &info.xcr0Low};
    const auto expectLost = [&](std::set<LONG> lost) {
        lost.insert({-1, 0, 1, 22, 24, 38, 39});
        for (LONG index = -1; index < 40; ++index) {
            EXPECT_EQ(HasCpuFeature(info, index), lost.count(index) == 0) << index;
        }
    };
    for (int bit = 0; bit < 700; bit += bit % 100 == 31 ? 69 : 1) {
        SCOPED_TRACE(bit);
        basic = extended = info.leaves[7] = {~0u, 0x20000, ~0u, ~0u};
        info.leaves[7].ebx = ~0u;
        info.leaves[0].eax = info.xcr0Low = 7;
        info.sseUsable = 1;
        *words[bit / 100] &= ~(1u << bit % 100);
        expectLost(byBit[bit]);
    }
    basic.edx &= ~(1u << 25);
    extended.edx &= ~(1u << 22);
    expectLost({20, 25, 26, 27, 28});
    basic.edx = ~0u;
    info.sseUsable = 0;
    expectLost({25, 27, 28});
    info.leaves[0].eax = 0;
    EXPECT_EQ(HasCpuFeature(info, 2), 0);
}

TEST(Processor, IsThisOne) {
    DWORD words[17] = {};
    __cpuid(0, words[0], words[1], words[3], words[2]);
    for (DWORD i = 1; i < 4; ++i) {
        DWORD* leaf = words + 4 * i;
        __cpuid(0x80000001 + i, leaf[0], leaf[1], leaf[2], leaf[3]);
    }
    CpuInfo info = GetCpuInfo();
    const auto* text = reinterpret_cast<const char*>(words);
    EXPECT_EQ(std::wstring(info.vendor), std::wstring(text + 4, text + 16));
    EXPECT_EQ(std::wstring(info.brand),
              std::wstring(text + 16, text + 16 + std::strlen(text + 16)));
    EXPECT_EQ(std::memcmp(&info.leaves[10], words + 4, 48), 0);
    EXPECT_EQ(info.xcr0Low != 0, (info.leaves[1].ecx >> 27 & 1) != 0);
    EXPECT_EQ(info.sseUsable, 1);
    const wchar_t* vendors[] = {L"genuineintel", L"AuthenticAMD", L"GenuineIntel", L"CyrixInstead",
                                L"CentaurHauls"};
    for (LONG code = 0; code < 5; ++code) {
        std::wcscpy(info.vendor, vendors[code]);
        EXPECT_EQ(HasCpuFeature(info, 0), code);
    }
}

}  // namespace
}  // namespace nyx::test
