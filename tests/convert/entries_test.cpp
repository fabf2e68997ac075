/// What the entries refuse and what their flags mean; what the processor record says of made-up
/// ones.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
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
        const ImagePlane first = {sourceData ? bytes[0] : nullptr, 0, 0}, third = {bytes[2], 0, 0};
        const ImagePlane second = {destinationData ? bytes[1] : nullptr, 0, 0};
        const ImagePlane *in = source ? &first : nullptr, *out = destination ? &second : nullptr;
        const ImagePlane* alpha = alphaPlane ? &third : nullptr;
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
    for (int i = 0; i < 2 * static_cast<int>(std::size(cases)); ++i) {
        const Case& c = cases[i / 2];
        for (DWORD value : c.values) {
            Request request;
            request.*c.field = value;
            EXPECT_EQ(request.Run(i % 2 != 0), c.result) << i << " " << value;
            request.source = 0;
            EXPECT_EQ(request.Run(i % 2 != 0), c.withoutSource) << i << " " << value;
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

/// Pure red in each standard and range, as the standards code it.
TEST(Entries, FlagsNameStandardAndRange) {
    struct Case {
        DWORD standard, range;
        BYTE yuv[4], bgra[4];
    };
    const Case cases[] = {{0, 0, {81, 90, 81, 240}, {16, 16, 235, 255}},
                          {0, 1, {81, 90, 81, 240}, {0, 0, 255, 255}},
                          {2, 2, {63, 102, 63, 240}, {16, 16, 235, 255}},
                          {2, 3, {63, 102, 63, 240}, {0, 0, 255, 255}}};
    for (const Case& c : cases) {
        Request there, back;
        there.yuvFlags = back.yuvFlags = c.standard;
        there.rgbFlags = back.rgbFlags = c.range;
        std::copy(c.yuv, c.yuv + 4, there.bytes[0]);
        std::copy(c.bgra, c.bgra + 4, back.bytes[0]);
        ASSERT_EQ(there.Run(false) | back.Run(true), S_OK);
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(there.bytes[1][i], c.bgra[i], 2) << &c - cases << " channel " << i;
            EXPECT_TRUE(i == 2 || std::abs(back.bytes[1][i] - c.yuv[i]) < 2) << &c - cases;
        }
    }
}

TEST(Entries, StripsAreConvertedAsWholePictures) {
    Request r;
    std::generate_n(r.bytes[0], 48, [n = 0]() mutable { return static_cast<BYTE>(n += 37); });
    ASSERT_EQ(r.Run(false), S_OK);
    BYTE out[96] = {}, back[48] = {};
    StripConversion strips;
    const auto run = [&](int row) {
        return strips.Run({r.bytes[0] + 24 * row, 0, 0}, {out + 48 * row, 0, 0}, 12, 1);
    };
    EXPECT_EQ(run(0), E_INVALIDARG);
    ASSERT_EQ(strips.PrepareFromYuv(kYuy2, 0, kBgra, 1), S_OK);
    EXPECT_EQ(run(0) | run(1), S_OK);
    EXPECT_EQ(std::memcmp(out, r.bytes[1], 96), 0);
    ASSERT_EQ(strips.PrepareToYuv(kBgra, 1, kYuy2, 0), S_OK);
    EXPECT_EQ(strips.Run({out, 0, 0}, {back, 0, 0}, 12, 2), S_OK);
    EXPECT_NEAR(back[2], r.bytes[0][2], 1);
    EXPECT_EQ(strips.PrepareFromYuv(kBgra, 0, kYuy2, 1), E_INVALIDARG);
    EXPECT_EQ(run(0), E_INVALIDARG);
}

TEST(Entries, OtherMatricesRangesAndProcessorsAreRefusedAndThrowsBecomeResults) {
    BYTE bytes[64] = {};
    const ImagePlane plane = {bytes, 0, 0};
    Conversion conversion;
    const ConversionKind kinds[] = {
        {kYuy2, kBgra, 1, 1}, {kYuy2, kBgra, 1, 5}, {kYuy2, k48rl, 2, 4}, {kBgra, kYuy2, -1, 4}};
    for (const ConversionKind& kind : kinds) {
        EXPECT_EQ(ChooseConversion(kind, &conversion), E_INVALIDARG);
    }
    ASSERT_EQ(ChooseConversion({kYuy2, kBgra, 1, 4}, &conversion), S_OK);
    CpuInfo plain = GetCpuInfo();
    plain.leaves[1].ecx &= ~(DWORD{1} << 9);
    EXPECT_EQ(RunConversion(plain, conversion, {&plane, &plane}, 2, 1), E_UNEXPECTED);
    EXPECT_EQ(RunConversion(plain, conversion, {&plane, nullptr}, 2, 1), E_POINTER);
    EXPECT_EQ(RunKernel([] { throw HRESULT{E_OUTOFMEMORY}; }), E_OUTOFMEMORY);
    EXPECT_EQ(RunKernel([] { throw std::bad_alloc(); }), E_UNEXPECTED);
}

/// The made-up processor.
std::map<DWORD, CpuidWords> leaves;
DWORD xcr0, sseUsable;
constexpr DWORD kExtended = 0x80000000;

CpuInfo Filled() {
    const auto leaf = [](DWORD number) {
        // None is asked for above what the record keeps, nor above the highest.
        const DWORD kind = number & kExtended;
        EXPECT_LE(number - kind, kind ? 6u : 7u);
        EXPECT_LE(number, std::max(kind, leaves[kind].eax));
        return leaves[number];
    };
    const auto readXcr0 = [] {
        EXPECT_TRUE(leaves[1].ecx >> 27 & 1) << "reading it would fault";
        return std::uint64_t{2} << 32 | xcr0;
    };
    return FillCpuInfo({leaf, readXcr0, [] { return sseUsable != 0; }});
}

/// A processor that has it all, but for these bits, which count a hundred from word to word.
void MakeWithout(std::initializer_list<int> bits) {
    const CpuidWords all = {~0u, 0x20000, ~0u, ~0u};
    leaves = {
        {0, {7, 0, 0, 0}}, {1, all}, {7, {0, ~0u, 0, 0}}, {kExtended, {kExtended + 1, 0, 0, 0}}};
    leaves[kExtended + 1] = all;
    xcr0 = 6;
    sseUsable = 1;
    CpuidWords &basic = leaves[1], &extended = leaves[kExtended + 1];
    DWORD* words[] = {
        &basic.edx, &basic.ecx, &extended.edx,  &extended.ecx,          &leaves[7].ebx,
        &basic.ebx, &xcr0,      &leaves[0].eax, &leaves[kExtended].eax, &sseUsable};
    for (const int bit : bits) {
        *words[bit / 100] &= ~(1u << bit % 100);
    }
}

/// The indices that answer 0, without those that always do.
std::set<LONG> Lost() {
    std::set<LONG> lost;
    for (LONG index = -1; index < 40; ++index) {
        if (HasCpuFeature(Filled(), index) == 0) {
            lost.insert(index);
        }
    }
    for (const LONG never : {-1, 0, 1, 22, 24, 38, 39}) {
        EXPECT_EQ(lost.erase(never), 1u);
    }
    return lost;
}

TEST(Processor, AnswersEachFlagByItsBitAndWhatItNeeds) {
    const std::set<LONG> avx = {35, 36, 37}, extended = {23, 25, 33};
    std::map<int, std::set<LONG>> byBit = {
        {23, {21}},  {25, {26, 27, 28}}, {26, {28}},      {28, {34}},     {100, {29}},
        {109, {30}}, {112, {36}},        {119, {31}},     {120, {32}},    {127, avx},
        {128, avx},  {222, {25}},        {230, {23}},     {311, {33}},    {405, {37}},
        {517, {34}}, {601, avx},         {602, avx},      {700, {37}},    {701, {37}},
        {702, {37}}, {800, extended},    {831, extended}, {900, {27, 28}}};
    for (LONG index = 3; index < 20; ++index) {
        byBit[index < 13 ? index - 3 : index - 2] = {index};
    }
    for (int bit = 0; bit < 1000; bit += bit % 100 == 31 ? 69 : 1) {
        MakeWithout({bit});
        EXPECT_EQ(Lost(), byBit[bit]) << bit;
    }
    MakeWithout({25, 222});
    EXPECT_EQ(Lost(), (std::set<LONG>{20, 25, 26, 27, 28}));
    leaves[0].eax = 0;
    EXPECT_EQ(Lost().size(), 34u);
}

TEST(Processor, KeepsLeavesVendorAndBrand) {
    MakeWithout({});
    leaves[0].eax = 0x20;
    leaves[kExtended].eax = kExtended + 9;
    const std::string vendors = "genuineintelAuthenticAMDGenuineIntelCyrixInsteadCentaurHauls";
    for (LONG code = 0; code < 5; ++code) {
        const std::string vendor = vendors.substr(static_cast<std::size_t>(12 * code), 12);
        std::memcpy(&leaves[0].ebx, &vendor[0], 4);
        std::memcpy(&leaves[0].edx, &vendor[4], 4);
        std::memcpy(&leaves[0].ecx, &vendor[8], 4);
        EXPECT_EQ(std::wstring(Filled().vendor), std::wstring(vendor.begin(), vendor.end()));
        EXPECT_EQ(HasCpuFeature(Filled(), 0), code);
    }
    const char brand[] = "An imaginary processor, made for this test only.";
    for (DWORD i = 0; i < 3; ++i) {
        std::memcpy(&leaves[kExtended + 2 + i], brand + 16 * i, 16);
    }
    leaves[6].ebx = leaves[kExtended + 6].ecx = 106;
    const CpuInfo info = Filled();
    EXPECT_EQ(std::wstring(info.brand), std::wstring(brand, brand + 48));
    EXPECT_EQ(info.leaves[6].ebx + info.leaves[14].ecx + info.xcr0High, 214u);
    leaves[kExtended].eax = kExtended + 3;
    EXPECT_EQ(Filled().brand[0], L'\0');
}

}  // namespace
}  // namespace nyx::test
