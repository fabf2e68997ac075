/// Which requests are refused, in which order faults are found, that a refused request writes
/// nothing; and what the processor record says of made-up processors.

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
        const ImagePlane planes[] = {{sourceData ? bytes[0] : nullptr, 0, 0},
                                     {destinationData ? bytes[1] : nullptr, 0, 0},
                                     {bytes[2], 0, 0}};
        const ImagePlane *in = source ? planes : nullptr, *out = destination ? planes + 1 : nullptr;
        const ImagePlane* alpha = alphaPlane ? planes + 2 : nullptr;
        const LONG w = static_cast<LONG>(width), h = static_cast<LONG>(height);
        const LONG mode = static_cast<LONG>(from), otherMode = static_cast<LONG>(to);
        std::memset(bytes[1], 0xA5, sizeof bytes[1]);
        const HRESULT result =
            toYuv ? ConvertToYuv(in, rgb, rgbFlags, nullptr, out, alpha, yuv, yuvFlags, mode, w, h)
                  : ConvertFromYuv(in, alpha, yuv, yuvFlags, mode, out, rgb, rgbFlags, otherMode, w,
                                   h);
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

TEST(Entries, StripsAreConvertedAsWholePictures) {
    Request r;
    std::generate_n(r.bytes[0], 48, [n = 0]() mutable { return static_cast<BYTE>(n += 37); });
    ASSERT_EQ(r.Run(false), S_OK);
    BYTE out[96] = {};
    StripConversion strips;
    EXPECT_EQ(strips.PrepareFromYuv(kBgra, 0, kYuy2, 1), E_INVALIDARG);
    EXPECT_EQ(strips.Run({r.bytes[0], 0, 0}, {out, 0, 0}, 12, 1), E_INVALIDARG);
    ASSERT_EQ(strips.PrepareFromYuv(kYuy2, 0, kBgra, 1), S_OK);
    EXPECT_EQ(strips.Run({r.bytes[0], 0, 0}, {out, 0, 0}, 12, 1), S_OK);
    EXPECT_EQ(strips.Run({r.bytes[0] + 24, 0, 0}, {out + 48, 0, 0}, 12, 1), S_OK);
    EXPECT_EQ(std::memcmp(out, r.bytes[1], 96), 0);
    EXPECT_EQ(strips.PrepareFromYuv(kYuy2, 1, kBgra, 1), E_INVALIDARG);
    EXPECT_EQ(strips.Run({r.bytes[0], 0, 0}, {out, 0, 0}, 12, 1), E_INVALIDARG);
    ASSERT_EQ(strips.PrepareToYuv(kBgra, 1, kYuy2, 0), S_OK);
    EXPECT_EQ(strips.Run({out, 0, 0}, {r.bytes[1], 0, 0}, 12, 2), S_OK);
    EXPECT_NEAR(r.bytes[1][2], r.bytes[0][2], 1);
}

TEST(Entries, OtherMatricesRangesAndProcessorsAreRefusedAndThrowsBecomeResults) {
    BYTE bytes[64] = {};
    const ImagePlane plane = {bytes, 0, 0};
    Conversion conversion;
    EXPECT_EQ(ChooseConversion({kYuy2, kBgra, 1, 1}, &conversion), E_INVALIDARG);
    EXPECT_EQ(ChooseConversion({kYuy2, kBgra, 1, 5}, &conversion), E_INVALIDARG);
    EXPECT_EQ(ChooseConversion({kYuy2, k48rl, 2, 4}, &conversion), E_INVALIDARG);
    EXPECT_EQ(ChooseConversion({kBgra, kYuy2, -1, 4}, &conversion), E_INVALIDARG);
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
std::uint64_t xcr0;
bool sseUsable;
constexpr DWORD kExtended = 0x80000000;

CpuidWords Leaf(DWORD leaf) {
    // None is asked for above what the record keeps, nor above the highest.
    const DWORD kind = leaf & kExtended;
    EXPECT_LE(leaf - kind, kind ? 6u : 7u);
    EXPECT_LE(leaf, std::max(kind, leaves[kind].eax));
    return leaves[leaf];
}

CpuInfo Filled() {
    const auto readXcr0 = [] {
        EXPECT_TRUE(leaves[1].ecx >> 27 & 1) << "reading it would fault";
        return xcr0;
    };
    return FillCpuInfo({Leaf, readXcr0, [] { return sseUsable; }});
}

/// Every bit is set, and there are more leaves than are kept.
void MakeComplete() {
    const CpuidWords all = {0xFFFFFFFF, 0xFF02FFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    leaves = {{0, {0x20, 0, 0, 0}}, {1, all}, {7, all}, {kExtended, {kExtended + 9, 0, 0, 0}}};
    leaves[kExtended + 1] = all;
    xcr0 = 0x200000007;
    sseUsable = true;
}

/// Takes a bit away: of leaf 1 EDX, plus 100 of its ECX; plus 200 of the extended leaf's EDX, plus
/// 300 of its ECX; plus 400 of leaf 7 EBX.
void ClearBit(int bit) {
    CpuidWords& leaf = leaves[bit >= 400 ? 7 : bit >= 200 ? kExtended + 1 : 1];
    DWORD& word = bit >= 400 ? leaf.ebx : bit / 100 % 2 != 0 ? leaf.ecx : leaf.edx;
    word &= ~(DWORD{1} << bit % 100);
}

/// The indices from -1 to 39 that answer 0.
std::set<LONG> Absent() {
    std::set<LONG> absent;
    for (LONG index = -1; index < 40; ++index) {
        if (HasCpuFeature(Filled(), index) == 0) {
            absent.insert(index);
        }
    }
    return absent;
}

TEST(Processor, AnswersEachFlagByItsBitAndWhatItNeeds) {
    /// By index from 3 on; -1 for no one bit.
    constexpr int kBits[] = {0,  1,  2,   3,   4,   5,   6,   7,  8,   9,   11,  12,
                             13, 14, 15,  16,  17,  -1,  23,  -1, 230, -1,  222, 25,
                             25, 26, 100, 109, 119, 120, 311, 28, 128, 112, 405};
    for (int i = 0; i < static_cast<int>(std::size(kBits)); ++i) {
        MakeComplete();
        ClearBit(std::max(kBits[i], 0));
        EXPECT_EQ(Absent().count(kBits[i] < 0 ? -1 : i + 3), 1u) << i + 3;
    }
    const std::pair<void (*)(), std::set<LONG>> losses[] = {
        {[] {}, {}},
        {[] { sseUsable = false; }, {27, 28}},
        {[] { xcr0 = 3; }, {35, 36, 37}},
        {[] { xcr0 = 5; }, {35, 36, 37}},
        {[] { ClearBit(127); }, {35, 36, 37}},
        {[] { ClearBit(128); }, {35, 36, 37}},
        {[] { leaves[1].ebx = 0xFF01FFFF; }, {34}},
        {[] { ClearBit(222); }, {25}},
        {[] { ClearBit(25); }, {26, 27, 28}},
        {[] { ClearBit(25), ClearBit(222); }, {20, 25, 26, 27, 28}},
        {[] { leaves[0].eax = 6; }, {37}},
        {[] { leaves[kExtended].eax = kExtended; }, {23, 25, 33}},
        {[] { leaves[kExtended].eax = 0x1234; }, {23, 25, 33}},
    };
    for (const auto& [lose, lost] : losses) {
        MakeComplete();
        lose();
        std::set<LONG> expected = {-1, 0, 1, 22, 24, 38, 39};
        expected.insert(lost.begin(), lost.end());
        EXPECT_EQ(Absent(), expected) << testing::PrintToString(lost);
    }
    leaves[0].eax = 0;
    EXPECT_EQ(Absent().size(), 41u);
}

TEST(Processor, KeepsLeavesVendorAndBrand) {
    MakeComplete();
    const char* vendors[] = {"genuineintel", "AuthenticAMD", "GenuineIntel", "CyrixInstead",
                             "CentaurHauls"};
    for (LONG code = 0; code < 5; ++code) {
        std::memcpy(&leaves[0].ebx, vendors[code], 4);
        std::memcpy(&leaves[0].edx, vendors[code] + 4, 4);
        std::memcpy(&leaves[0].ecx, vendors[code] + 8, 4);
        EXPECT_EQ(std::wstring(Filled().vendor), std::wstring(vendors[code], vendors[code] + 12));
        EXPECT_EQ(HasCpuFeature(Filled(), 0), code);
    }
    const char brand[] = "An imaginary processor, made for this test only.";
    for (DWORD i = 0; i < 3; ++i) {
        std::memcpy(&leaves[kExtended + 2 + i], brand + 16 * i, 16);
    }
    leaves[6].ebx = leaves[kExtended + 6].ecx = 106;
    EXPECT_EQ(std::wstring(Filled().brand), std::wstring(brand, brand + 48));
    EXPECT_EQ(Filled().leaves[6].ebx + Filled().leaves[14].ecx, 212u);
    EXPECT_EQ(Filled().xcr0High, 2u);
    leaves[kExtended].eax = kExtended + 3;
    EXPECT_EQ(Filled().brand[0], L'\0');
    EXPECT_EQ(GetCpuInfo().vendor + 12, std::wcschr(GetCpuInfo().vendor, L'\0'));
}

}  // namespace
}  // namespace nyx::test
