/// Which requests are refused, in which order faults are found, that a refused request writes
/// nothing; and what the processor record says of made-up processors.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <map>

#include "convert/convert.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"

namespace nyx::test {
namespace {

/// A valid request that a case spoils.
struct Request {
    DWORD yuv = kYuy2, rgb = kBgra, yuvFlags = 0, rgbFlags = 1;
    bool alphaPlane = false, noSource = false, noDestination = false;
    BYTE bytes[3][256] = {};  ///< source, destination, alpha
    BYTE* source = bytes[0];
    BYTE* destination = bytes[1];
    LONG from = 0, to = 0, width = 12, height = 2;

    HRESULT Run(bool toYuv) {
        const ImagePlane in = {source, 0, 0}, out = {destination, 0, 0}, alpha = {bytes[2], 0, 0};
        const ImagePlane* alphaPlane_ = alphaPlane ? &alpha : nullptr;
        const ImagePlane* in_ = noSource ? nullptr : &in;
        const ImagePlane* out_ = noDestination ? nullptr : &out;
        std::memset(bytes[1], 0xA5, sizeof bytes[1]);
        const HRESULT result = toYuv ? ConvertToYuv(in_, rgb, rgbFlags, nullptr, out_, alphaPlane_,
                                                    yuv, yuvFlags, from, width, height)
                                     : ConvertFromYuv(in_, alphaPlane_, yuv, yuvFlags, from, out_,
                                                      rgb, rgbFlags, to, width, height);
        EXPECT_EQ(std::count(bytes[1], bytes[1] + 256, 0xA5) == 256, FAILED(result));
        return result;
    }
};

TEST(Entries, RefuseFaultyRequestsCombinationFirstAndWriteNothing) {
    using R = Request;
    const std::pair<HRESULT, void (*)(R&)> cases[] = {
        {S_OK, [](R&) {}},
        {S_OK, [](R& r) { r.yuvFlags = 2; }},
        {S_OK, [](R& r) { r.rgbFlags = 0xFFFFFFFE; }},
        {E_INVALIDARG, [](R& r) { r.yuv = FourCC("UYVY"); }},
        {E_INVALIDARG, [](R& r) { r.yuv = kBgra; }},
        {E_INVALIDARG, [](R& r) { r.rgb = FourCC("BGR4"); }},
        {E_INVALIDARG, [](R& r) { r.rgb = kW210; }},
        {E_INVALIDARG, [](R& r) { std::swap(r.rgb, r.yuv); }},
        {E_INVALIDARG, [](R& r) { r.yuvFlags = 1; }},
        {E_INVALIDARG, [](R& r) { r.yuvFlags = 3; }},
        {E_INVALIDARG, [](R& r) { r.yuvFlags = 0x80000002; }},
        {E_POINTER, [](R& r) { r.noSource = true; }},
        {E_POINTER, [](R& r) { r.source = nullptr; }},
        {E_POINTER, [](R& r) { r.noDestination = true; }},
        {E_POINTER, [](R& r) { r.destination = nullptr; }},
        {E_INVALIDARG, [](R& r) { r.noSource = true, r.rgb = 0; }},
        {E_POINTER, [](R& r) { r.noSource = true, r.width = 0; }},
        {E_INVALIDARG, [](R& r) { r.width = 0; }},
        {E_INVALIDARG, [](R& r) { r.width = 11; }},
        {E_INVALIDARG, [](R& r) { r.width = -2; }},
        {E_INVALIDARG, [](R& r) { r.height = 0; }},
        {E_INVALIDARG, [](R& r) { r.height = -1; }},
    };
    for (const auto& [result, spoil] : cases) {
        for (bool toYuv : {false, true}) {
            Request request;
            spoil(request);
            EXPECT_EQ(request.Run(toYuv), result) << &spoil - &cases[0].second << toYuv;
        }
    }
}

/// 8-bit layouts take straight alpha only, deep ones any pair of modes; without a plane none
/// counts.
TEST(Entries, AlphaModesCountWithAnAlphaPlane) {
    for (int code = 0; code < 64; ++code) {
        Request r;
        r.from = code % 4 - 1;
        r.to = code / 4 % 4 - 1;
        r.rgb = code / 16 % 2 ? k48rl : kRgba;
        r.alphaPlane = code / 32 != 0;
        const auto takes = [&](LONG from, LONG to) {
            const bool known = (from & ~1) == 0 && (to & ~1) == 0 && r.rgb == k48rl;
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
    EXPECT_EQ(strips.Run({r.bytes[0], 0, 0}, {out, 0, 0}, 12, 1), E_INVALIDARG);
    EXPECT_EQ(strips.PrepareFromYuv(kBgra, 0, kYuy2, 1), E_INVALIDARG);
    ASSERT_EQ(strips.PrepareFromYuv(kYuy2, 0, kBgra, 1), S_OK);
    EXPECT_EQ(strips.Run({r.bytes[0], 0, 0}, {out, 0, 0}, 12, 1), S_OK);
    EXPECT_EQ(strips.Run({r.bytes[0] + 24, 0, 0}, {out + 48, 0, 0}, 12, 1), S_OK);
    EXPECT_EQ(std::memcmp(out, r.bytes[1], 96), 0);
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

CpuInfo Filled() {
    return FillCpuInfo({[](DWORD leaf) {
                            // Above what the record keeps, and above the highest, none is asked
                            // for.
                            const DWORD kind = leaf & 0x80000000;
                            EXPECT_LE(leaf - kind, kind ? 6u : 7u);
                            EXPECT_LE(leaf, std::max(kind, leaves[kind].eax));
                            return leaves[leaf];
                        },
                        [] {
                            EXPECT_TRUE(leaves[1].ecx >> 27 & 1);
                            return xcr0;
                        },
                        [] { return sseUsable; }});
}

constexpr DWORD kExtended = 0x80000000;

/// A processor with every bit set, and more leaves than are kept.
void MakeComplete() {
    const CpuidWords all = {0xFFFFFFFF, 0xFF02FFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    leaves = {{0, {0x20, 0, 0, 0}}, {1, all}, {7, all}, {kExtended, {kExtended + 9, 0, 0, 0}}};
    leaves[kExtended + 1] = all;
    xcr0 = 0x200000007;
    sseUsable = true;
}

TEST(Processor, AnswersEachFlagByItsBitAndWhatItNeeds) {
    struct Row {
        LONG index;
        DWORD leaf;
        DWORD CpuidWords::*word;
        int bit;
    };
    constexpr auto kEdx = &CpuidWords::edx, kEcx = &CpuidWords::ecx, kEbx = &CpuidWords::ebx;
    std::vector<Row> rows = {
        {21, 1, kEdx, 23},
        {23, kExtended + 1, kEdx, 30},
        {25, kExtended + 1, kEdx, 22},
        {26, 1, kEdx, 25},
        {27, 1, kEdx, 25},
        {28, 1, kEdx, 25},
        {28, 1, kEdx, 26},
        {29, 1, kEcx, 0},
        {30, 1, kEcx, 9},
        {31, 1, kEcx, 19},
        {32, 1, kEcx, 20},
        {33, kExtended + 1, kEcx, 11},
        {34, 1, kEdx, 28},
        {34, 1, kEbx, 17},
        {35, 1, kEcx, 27},
        {35, 1, kEcx, 28},
        {36, 1, kEcx, 12},
        {36, 1, kEcx, 27},
        {37, 7, kEbx, 5},
        {37, 1, kEcx, 28},
    };
    for (LONG index = 3; index <= 19; ++index) {
        rows.push_back({index, 1, kEdx, static_cast<int>(index < 13 ? index - 3 : index - 2)});
    }
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.index << " bit " << row.bit);
        MakeComplete();
        EXPECT_EQ(HasCpuFeature(Filled(), row.index), 1);
        leaves[row.leaf].*row.word &= ~(DWORD{1} << row.bit);
        EXPECT_EQ(HasCpuFeature(Filled(), row.index), 0);
    }
    for (auto [sse, vendors] : {std::pair(1, 0), {0, 1}, {0, 0}}) {
        MakeComplete();
        leaves[1].edx = sse ? 1 << 25 : 0;
        leaves[kExtended + 1].edx = vendors ? 1 << 22 : 0;
        EXPECT_EQ(HasCpuFeature(Filled(), 20), sse | vendors);
    }
    for (LONG index : {27, 28, 35, 36, 37}) {
        MakeComplete();
        sseUsable = index > 28;
        xcr0 = index == 36 ? 3 : 5;
        EXPECT_EQ(HasCpuFeature(Filled(), index), 0) << index;
    }
}

TEST(Processor, KeepsLeavesVendorAndBrandAndAnswersTheEndsOfTheQuery) {
    MakeComplete();
    const std::pair<const char*, LONG> vendors[] = {
        {"GenuineIntel", 2}, {"AuthenticAMD", 1}, {"CyrixInstead", 3},
        {"CentaurHauls", 4}, {"genuineintel", 0},
    };
    for (const auto& [vendor, code] : vendors) {
        std::memcpy(&leaves[0].ebx, vendor, 4);
        std::memcpy(&leaves[0].edx, vendor + 4, 4);
        std::memcpy(&leaves[0].ecx, vendor + 8, 4);
        EXPECT_EQ(std::wstring(Filled().vendor), std::wstring(vendor, vendor + 12));
        EXPECT_EQ(HasCpuFeature(Filled(), 0), code) << vendor;
    }
    const char brand[49] = "An imaginary processor, made for this test only.";
    for (DWORD i = 0; i < 3; ++i) {
        std::memcpy(&leaves[kExtended + 2 + i], brand + 16 * i, 16);
    }
    leaves[6].ebx = 106;
    leaves[kExtended + 6].ecx = 206;
    EXPECT_EQ(std::wstring(Filled().brand), std::wstring(brand, brand + 48));
    EXPECT_EQ(Filled().leaves[6].ebx, 106u);
    EXPECT_EQ(Filled().leaves[14].ecx, 206u);
    EXPECT_EQ(Filled().xcr0High, 2u);
    for (LONG index : {-1, 1, 22, 24, 38, 1000}) {
        EXPECT_EQ(HasCpuFeature(Filled(), index), 0) << index;
    }
    EXPECT_EQ(HasCpuFeature(Filled(), 2), 1);
    leaves[kExtended].eax = kExtended + 3;
    EXPECT_EQ(Filled().brand[0], L'\0');
    leaves[kExtended].eax = 0x1234;
    EXPECT_EQ(HasCpuFeature(Filled(), 33), 0);
    leaves[1].ecx = 0;  // without OSXSAVE reading the register would fault
    EXPECT_EQ(Filled().xcr0Low, 0u);
    leaves[0].eax = 6;
    EXPECT_EQ(Filled().leaves[7].ebx, 0u);
    leaves[0].eax = 0;
    EXPECT_EQ(HasCpuFeature(Filled(), 0) + HasCpuFeature(Filled(), 2), 0);
    EXPECT_EQ(GetCpuInfo().vendor + 12, std::wcschr(GetCpuInfo().vendor, L'\0'));
}

}  // namespace
}  // namespace nyx::test
