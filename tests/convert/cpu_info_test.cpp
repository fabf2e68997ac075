#include "convert/cpu_info.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace nyx::test {
namespace {

/// A made-up processor.
struct Processor {
    std::map<DWORD, CpuidWords> leaves;
    std::uint64_t xcr0 = 0;
    bool sseUsable = true;
    std::vector<DWORD> asked;
    int xcr0Reads = 0;

    CpuInfo Fill() {
        return FillCpuInfo({[this](DWORD leaf) {
                                asked.push_back(leaf);
                                return leaves[leaf];
                            },
                            [this] {
                                ++xcr0Reads;
                                return xcr0;
                            },
                            [this] { return sseUsable; }});
    }
};

CpuidWords VendorLeaf(DWORD highest, const char* vendor) {
    CpuidWords leaf{highest, 0, 0, 0};
    std::memcpy(&leaf.ebx, vendor, 4);
    std::memcpy(&leaf.edx, vendor + 4, 4);
    std::memcpy(&leaf.ecx, vendor + 8, 4);
    return leaf;
}

constexpr DWORD kExtended = 0x80000000;
constexpr DWORD Flag(int bit) {
    return DWORD{1} << bit;
}

Processor Typical() {
    Processor processor;
    processor.leaves[0] = VendorLeaf(7, "AuthenticAMD");
    return processor;
}

TEST(CpuInfo, VendorIsComparedExactly) {
    const std::pair<const char*, LONG> vendors[] = {
        {"GenuineIntel", 2}, {"AuthenticAMD", 1}, {"CyrixInstead", 3},
        {"CentaurHauls", 4}, {"genuineintel", 0}, {"HygonGenuine", 0},
    };
    for (const auto& [vendor, code] : vendors) {
        Processor processor;
        processor.leaves[0] = VendorLeaf(1, vendor);
        processor.leaves[1].ecx = Flag(9);
        const CpuInfo info = processor.Fill();
        EXPECT_EQ(std::wstring(info.vendor), std::wstring(vendor, vendor + 12));
        EXPECT_EQ(HasCpuFeature(info, kCpuVendorCode), code) << vendor;
        EXPECT_EQ(HasCpuFeature(info, kCpuSsse3), 1) << vendor;
    }
}

TEST(CpuInfo, EveryFlagAnswersItsBitAlone) {
    struct Row {
        LONG index;
        DWORD leaf;
        DWORD CpuidWords::*word;
        int bit;
    };
    constexpr auto kEdx = &CpuidWords::edx;
    constexpr auto kEcx = &CpuidWords::ecx;
    std::vector<Row> rows = {
        {20, 1, kEdx, 25},
        {20, kExtended + 1, kEdx, 22},
        {21, 1, kEdx, 23},
        {23, kExtended + 1, kEdx, 30},
        {25, kExtended + 1, kEdx, 22},
        {26, 1, kEdx, 25},
        {27, 1, kEdx, 25},
        {29, 1, kEcx, 0},
        {30, 1, kEcx, 9},
        {31, 1, kEcx, 19},
        {32, 1, kEcx, 20},
        {33, kExtended + 1, kEcx, 11},
    };
    for (LONG index = 3; index <= 19; ++index) {
        rows.push_back({index, 1, kEdx, static_cast<int>(index < 13 ? index - 3 : index - 2)});
    }
    for (const Row& row : rows) {
        Processor processor = Typical();
        processor.leaves[kExtended].eax = kExtended + 8;
        EXPECT_EQ(HasCpuFeature(processor.Fill(), row.index), 0) << row.index;
        processor.leaves[row.leaf].*row.word = Flag(row.bit);
        EXPECT_EQ(HasCpuFeature(processor.Fill(), row.index), 1) << row.index;
        processor.leaves[row.leaf].*row.word = ~Flag(row.bit);
        EXPECT_EQ(HasCpuFeature(processor.Fill(), row.index), 0) << row.index;
    }
}

TEST(CpuInfo, IndexTwoIsAlwaysOneAndUnknownIndicesAreZero) {
    const CpuInfo info = Typical().Fill();
    EXPECT_EQ(HasCpuFeature(info, 2), 1);
    for (LONG index : {-1, 1, 22, 24, 38, 39, 1000}) {
        EXPECT_EQ(HasCpuFeature(info, index), 0) << index;
    }
}

TEST(CpuInfo, SseNeedsTheOperatingSystem) {
    Processor processor = Typical();
    processor.leaves[1].edx = Flag(25) | Flag(26);
    EXPECT_EQ(HasCpuFeature(processor.Fill(), kCpuSse2), 1);
    processor.sseUsable = false;
    const CpuInfo info = processor.Fill();
    EXPECT_EQ(HasCpuFeature(info, kCpuSse), 1);
    EXPECT_EQ(HasCpuFeature(info, kCpuSseUsable), 0);
    EXPECT_EQ(HasCpuFeature(info, kCpuSse2), 0);
}

TEST(CpuInfo, LogicalProcessorsAreCounted) {
    Processor processor = Typical();
    processor.leaves[1].edx = Flag(28);
    processor.leaves[1].ebx = 0xFF01FFFF;
    EXPECT_EQ(HasCpuFeature(processor.Fill(), kCpuHyperThreading), 0);
    processor.leaves[1].ebx = 0x00020000;
    EXPECT_EQ(HasCpuFeature(processor.Fill(), kCpuHyperThreading), 1);
    processor.leaves[1].edx = 0;
    EXPECT_EQ(HasCpuFeature(processor.Fill(), kCpuHyperThreading), 0);
}

Processor WithAvx() {
    Processor processor = Typical();
    processor.leaves[1].ecx = Flag(27) | Flag(28) | Flag(12);
    processor.leaves[7].ebx = Flag(5);
    processor.xcr0 = 0x200000007;
    return processor;
}

TEST(CpuInfo, AvxNeedsBothStatesAndBothBits) {
    const CpuInfo info = WithAvx().Fill();
    EXPECT_EQ(info.xcr0Low, 7u);
    EXPECT_EQ(info.xcr0High, 2u);
    for (LONG index : {kCpuAvx, kCpuFma, kCpuAvx2}) {
        EXPECT_EQ(HasCpuFeature(info, index), 1);
        for (unsigned xcr0 : {1u, 3u, 5u}) {
            Processor processor = WithAvx();
            processor.xcr0 = xcr0;
            EXPECT_EQ(HasCpuFeature(processor.Fill(), index), 0);
        }
        Processor processor = WithAvx();
        processor.leaves[1].ecx &= ~Flag(28);
        EXPECT_EQ(HasCpuFeature(processor.Fill(), index), 0);
    }
}

TEST(CpuInfo, Xcr0IsNotReadWithoutOsxsave) {
    Processor processor = WithAvx();
    processor.leaves[1].ecx &= ~Flag(27);
    const CpuInfo info = processor.Fill();
    EXPECT_EQ(processor.xcr0Reads, 0);
    EXPECT_EQ(info.xcr0Low, 0u);
    for (LONG index : {kCpuAvx, kCpuFma, kCpuAvx2}) {
        EXPECT_EQ(HasCpuFeature(info, index), 0);
    }
}

TEST(CpuInfo, Avx2IsAbsentBelowLeafSeven) {
    Processor processor = WithAvx();
    processor.leaves[0].eax = 6;
    const CpuInfo info = processor.Fill();
    EXPECT_EQ(info.leaves[7].ebx, 0u);
    EXPECT_EQ(HasCpuFeature(info, kCpuAvx), 1);
    EXPECT_EQ(HasCpuFeature(info, kCpuAvx2), 0);
}

TEST(CpuInfo, LeavesBeyondTheSlotsAreNotRead) {
    Processor processor = Typical();
    processor.leaves[0].eax = 0x20;
    processor.leaves[kExtended].eax = kExtended + 0x1F;
    processor.Fill();
    for (DWORD leaf : processor.asked) {
        EXPECT_TRUE(leaf <= 7 || (leaf >= kExtended && leaf <= kExtended + 6)) << leaf;
    }
}

TEST(CpuInfo, LeavesLieInTheirSlots) {
    Processor processor = Typical();
    processor.leaves[kExtended].eax = kExtended + 6;
    for (DWORD i = 1; i <= 7; ++i) {
        processor.leaves[i].ebx = 100 + i;
    }
    for (DWORD i = 0; i <= 6; ++i) {
        processor.leaves[kExtended + i].ecx = 200 + i;
    }
    const CpuInfo info = processor.Fill();
    for (DWORD i = 1; i <= 7; ++i) {
        EXPECT_EQ(info.leaves[i].ebx, 100 + i);
    }
    for (DWORD i = 0; i <= 6; ++i) {
        EXPECT_EQ(info.leaves[8 + i].ecx, 200 + i);
    }
}

TEST(CpuInfo, BrandNeedsAllThreeLeaves) {
    const char brand[49] = "An imaginary processor, made for this test only.";
    Processor processor = Typical();
    for (DWORD i = 0; i < 3; ++i) {
        std::memcpy(&processor.leaves[kExtended + 2 + i], brand + 16 * i, 16);
    }
    processor.leaves[kExtended].eax = kExtended + 4;
    EXPECT_EQ(std::wstring(processor.Fill().brand), std::wstring(brand, brand + 48));
    for (DWORD highest : {kExtended + 3, kExtended + 1, kExtended, DWORD{0}, DWORD{0x1234}}) {
        processor.leaves[kExtended].eax = highest;
        EXPECT_EQ(std::wstring(processor.Fill().brand), L"") << highest;
    }
}

TEST(CpuInfo, ASilentProcessorHasNothing) {
    Processor processor;
    const CpuInfo info = processor.Fill();
    for (LONG index = 0; index <= 40; ++index) {
        EXPECT_EQ(HasCpuFeature(info, index), 0) << index;
    }
}

TEST(CpuInfo, TheRecordOfThisProcessorIsFilledOnce) {
    const CpuInfo& info = GetCpuInfo();
    EXPECT_EQ(&info, &GetCpuInfo());
    EXPECT_EQ(std::wstring(info.vendor).size(), 12u);
    EXPECT_EQ(HasCpuFeature(kCpuSse2), 1);
    EXPECT_EQ(HasCpuFeature(kCpuSsse3), HasCpuFeature(info, kCpuSsse3));
}

}  // namespace
}  // namespace nyx::test
