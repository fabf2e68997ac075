#include "convert/cpu_info.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace nyx::test {
namespace {

constexpr DWORD kExtended = 0x80000000;

constexpr DWORD Flag(int bit) {
    return DWORD{1} << bit;
}

CpuidWords VendorLeaf(DWORD highest, const char* vendor) {
    CpuidWords leaf{highest, 0, 0, 0};
    std::memcpy(&leaf.ebx, vendor, 4);
    std::memcpy(&leaf.edx, vendor + 4, 4);
    std::memcpy(&leaf.ecx, vendor + 8, 4);
    return leaf;
}

/// A made-up processor with the standard leaves 0 to 7 and no extended ones.
struct Processor {
    std::map<DWORD, CpuidWords> leaves = {{0, VendorLeaf(7, "AuthenticAMD")}};
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
    LONG Answer(LONG index) { return HasCpuFeature(Fill(), index); }
};

TEST(CpuInfo, VendorIsComparedExactly) {
    const std::pair<const char*, LONG> vendors[] = {
        {"GenuineIntel", 2}, {"AuthenticAMD", 1}, {"CyrixInstead", 3},
        {"CentaurHauls", 4}, {"genuineintel", 0}, {"HygonGenuine", 0},
    };
    for (const auto& [vendor, code] : vendors) {
        Processor processor;
        processor.leaves[0] = VendorLeaf(1, vendor);
        EXPECT_EQ(std::wstring(processor.Fill().vendor), std::wstring(vendor, vendor + 12));
        EXPECT_EQ(processor.Answer(kCpuVendorCode), code) << vendor;
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
        Processor processor;
        processor.leaves[kExtended].eax = kExtended + 8;
        for (auto [word, answer] :
             {std::pair(DWORD{0}, 0), std::pair(Flag(row.bit), 1), std::pair(~Flag(row.bit), 0)}) {
            processor.leaves[row.leaf].*row.word = word;
            EXPECT_EQ(processor.Answer(row.index), answer) << row.index << " of " << word;
        }
    }
}

TEST(CpuInfo, IndexTwoIsAlwaysOneUnknownIndicesAreZeroAndASilentProcessorHasNothing) {
    EXPECT_EQ(Processor().Answer(2), 1);
    for (LONG index : {-1, 1, 22, 24, 38, 39, 1000}) {
        EXPECT_EQ(Processor().Answer(index), 0) << index;
    }
    Processor silent;
    silent.leaves[0] = {};
    for (LONG index = 0; index <= 40; ++index) {
        EXPECT_EQ(silent.Answer(index), 0) << index;
    }
}

TEST(CpuInfo, SseNeedsTheOperatingSystem) {
    for (bool usable : {true, false}) {
        Processor processor;
        processor.leaves[1].edx = Flag(25) | Flag(26);
        processor.sseUsable = usable;
        EXPECT_EQ(processor.Answer(kCpuSse), 1);
        EXPECT_EQ(processor.Answer(kCpuSseUsable), usable);
        EXPECT_EQ(processor.Answer(kCpuSse2), usable);
        processor.leaves[1].edx = Flag(25);
        EXPECT_EQ(processor.Answer(kCpuSse2), 0) << "its own bit counts too";
    }
}

TEST(CpuInfo, LogicalProcessorsAreCounted) {
    Processor processor;
    processor.leaves[1].edx = Flag(28);
    processor.leaves[1].ebx = 0xFF01FFFF;
    EXPECT_EQ(processor.Answer(kCpuHyperThreading), 0);
    processor.leaves[1].ebx = 0x00020000;
    EXPECT_EQ(processor.Answer(kCpuHyperThreading), 1);
    processor.leaves[1].edx = 0;
    EXPECT_EQ(processor.Answer(kCpuHyperThreading), 0);
}

TEST(CpuInfo, AvxNeedsItsBitsAndBothStates) {
    struct Case {
        DWORD highestLeaf;
        DWORD leaf1Ecx;
        std::uint64_t xcr0;
        LONG avx, avx2;
    };
    constexpr DWORD kAll = Flag(12) | Flag(27) | Flag(28);
    const Case cases[] = {
        {7, kAll, 0x200000007, 1, 1},
        {7, kAll, 1, 0, 0},
        {7, kAll, 3, 0, 0},
        {7, kAll, 5, 0, 0},
        {7, kAll & ~Flag(12), 7, 1, 1},
        {7, kAll & ~Flag(28), 7, 0, 0},
        {7, kAll & ~Flag(27), 7, 0, 0},
        {6, kAll, 7, 1, 0},
    };
    for (const Case& c : cases) {
        Processor processor;
        processor.leaves[0].eax = c.highestLeaf;
        processor.leaves[1].ecx = c.leaf1Ecx;
        processor.leaves[7].ebx = Flag(5);
        processor.xcr0 = c.xcr0;
        const CpuInfo info = processor.Fill();
        SCOPED_TRACE(testing::Message() << std::hex << c.leaf1Ecx << " " << c.xcr0);
        EXPECT_EQ(HasCpuFeature(info, kCpuAvx), c.avx);
        EXPECT_EQ(HasCpuFeature(info, kCpuFma), c.avx && (c.leaf1Ecx & Flag(12)) != 0);
        EXPECT_EQ(HasCpuFeature(info, kCpuAvx2), c.avx2);
        // Without OSXSAVE the register must not be read: the instruction would fault.
        const bool saves = (c.leaf1Ecx & Flag(27)) != 0;
        EXPECT_EQ(processor.xcr0Reads, saves ? 1 : 0);
        EXPECT_EQ(info.xcr0Low, saves ? static_cast<DWORD>(c.xcr0) : 0);
        EXPECT_EQ(info.xcr0High, c.xcr0 >> 32);
    }
}

TEST(CpuInfo, LeavesLieInTheirSlotsAndNoneBeyondThemIsRead) {
    Processor processor;
    processor.leaves[0].eax = 0x20;
    processor.leaves[kExtended].eax = kExtended + 0x1F;
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
    for (DWORD leaf : processor.asked) {
        EXPECT_TRUE(leaf <= 7 || (leaf >= kExtended && leaf <= kExtended + 6)) << leaf;
    }
}

TEST(CpuInfo, BrandNeedsAllThreeLeaves) {
    const char brand[49] = "An imaginary processor, made for this test only.";
    Processor processor;
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

TEST(CpuInfo, TheRecordOfThisProcessorIsFilledOnce) {
    EXPECT_EQ(&GetCpuInfo(), &GetCpuInfo());
    EXPECT_EQ(std::wstring(GetCpuInfo().vendor).size(), 12u);
    EXPECT_EQ(HasCpuFeature(kCpuSse2), 1);
}

}  // namespace
}  // namespace nyx::test
