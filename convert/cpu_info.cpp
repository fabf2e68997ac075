#include "convert/cpu_info.h"

#include <cpuid.h>

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace nyx {
namespace {

constexpr DWORD kFirstExtendedLeaf = 0x80000000;
constexpr int kExtendedFeatures = CpuInfo::kStandardSlots + 1;

/// A requirement beside a flag's own bit.
enum class Requirement { kNothing, kSseUsable, kAvxUsable, kSeveralProcessors };

/// One flag: a bit of a word of a slot of the record.
struct Flag {
    LONG index;
    int slot;
    DWORD CpuidWords::*word;
    int bit;
    Requirement requirement = Requirement::kNothing;
};

constexpr auto kEbx = &CpuidWords::ebx;
constexpr auto kEcx = &CpuidWords::ecx;
constexpr auto kEdx = &CpuidWords::edx;

constexpr Flag kSse = {26, 1, kEdx, 25};
constexpr Flag kOsSavesState = {-1, 1, kEcx, 27};
constexpr Flag kAvx = {-1, 1, kEcx, 28};

/// The flags after the first seventeen; of an index with two rows either suffices.
constexpr Flag kFlags[] = {
    // index, slot, word, bit, requirement
    {20, 1, kEdx, 25},
    {20, kExtendedFeatures, kEdx, 22},
    {21, 1, kEdx, 23},
    {23, kExtendedFeatures, kEdx, 30},
    {25, kExtendedFeatures, kEdx, 22},
    kSse,
    {27, 1, kEdx, 25, Requirement::kSseUsable},
    {28, 1, kEdx, 26, Requirement::kSseUsable},
    {29, 1, kEcx, 0},
    {kCpuSsse3, 1, kEcx, 9},
    {kCpuSse41, 1, kEcx, 19},
    {32, 1, kEcx, 20},
    {33, kExtendedFeatures, kEcx, 11},
    {34, 1, kEdx, 28, Requirement::kSeveralProcessors},
    {35, 1, kEcx, 28, Requirement::kAvxUsable},
    {36, 1, kEcx, 12, Requirement::kAvxUsable},
    {37, 7, kEbx, 5, Requirement::kAvxUsable},
};

bool Bit(const CpuInfo& info, const Flag& flag) {
    return (info.leaves[flag.slot].*flag.word >> flag.bit & 1) != 0;
}

bool Holds(const CpuInfo& info, Requirement requirement) {
    switch (requirement) {
        case Requirement::kSseUsable:
            return Bit(info, kSse) && info.sseUsable;
        case Requirement::kAvxUsable:
            return (info.xcr0Low & 6) == 6 && Bit(info, kOsSavesState) && Bit(info, kAvx);
        case Requirement::kSeveralProcessors:
            return (info.leaves[1].ebx >> 16 & 0xFF) >= 2;
        default:
            return true;
    }
}

void Widen(const char* text, std::size_t length, wchar_t* wide) {
    for (std::size_t i = 0; i < length && text[i] != '\0'; ++i) {
        wide[i] = static_cast<unsigned char>(text[i]);
    }
}

void FillVendor(CpuInfo& info) {
    const CpuidWords& leaf = info.leaves[0];
    const DWORD words[] = {leaf.ebx, leaf.edx, leaf.ecx};
    char text[sizeof words];
    std::memcpy(text, words, sizeof words);
    Widen(text, sizeof text, info.vendor);
}

void FillExtendedLeaves(const CpuSource& source, CpuInfo& info) {
    const DWORD highest = source.cpuid(kFirstExtendedLeaf).eax;
    if (highest < kFirstExtendedLeaf) {
        return;
    }
    const DWORD count =
        std::min<DWORD>(highest - kFirstExtendedLeaf, CpuInfo::kExtendedSlots - 1) + 1;
    for (DWORD i = 0; i < count; ++i) {
        info.leaves[CpuInfo::kStandardSlots + i] = source.cpuid(kFirstExtendedLeaf + i);
    }
    if (highest >= kFirstExtendedLeaf + 4) {
        char text[3 * sizeof(CpuidWords)];
        std::memcpy(text, &info.leaves[CpuInfo::kStandardSlots + 2], sizeof text);
        Widen(text, sizeof text, info.brand);
    }
}

LONG VendorCode(const CpuInfo& info) {
    static constexpr struct {
        const wchar_t* vendor;
        LONG code;
    } kVendors[] = {
        {L"GenuineIntel", 2},
        {L"AuthenticAMD", 1},
        {L"CyrixInstead", 3},
        {L"CentaurHauls", 4},
    };
    for (const auto& known : kVendors) {
        if (std::wcscmp(info.vendor, known.vendor) == 0) {
            return known.code;
        }
    }
    return 0;
}

/// Indices 3 to 19: the first bits of leaf 1 EDX without the reserved bit 10.
LONG BasicFeature(const CpuInfo& info, LONG index) {
    const int bit = index - 3;
    return Bit(info, {index, 1, kEdx, bit < 10 ? bit : bit + 1});
}

CpuidWords HardwareCpuid(DWORD leaf) {
    CpuidWords words;
    __cpuid_count(leaf, 0, words.eax, words.ebx, words.ecx, words.edx);
    return words;
}

std::uint64_t HardwareXcr0() {
    DWORD low;
    DWORD high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return std::uint64_t{high} << 32 | low;
}

bool HardwareSseUsable() {
#ifdef _WIN32
    // The platform considers both the processor and whether it saves the state itself.
    return IsProcessorFeaturePresent(PF_XMMI_INSTRUCTIONS_AVAILABLE) != FALSE;
#else
    return true;
#endif
}

/// Filled while the program or library loads, once and on one thread. The compiler's thread runtime
/// would guard a function-local static, and leave a thread-local slot and a record of the thread
/// behind when the library is unloaded.
const CpuInfo thisProcessor = FillCpuInfo({HardwareCpuid, HardwareXcr0, HardwareSseUsable});

}  // namespace

CpuInfo FillCpuInfo(const CpuSource& source) {
    CpuInfo info{};
    info.leaves[0] = source.cpuid(0);
    FillVendor(info);
    const DWORD highest = std::min<DWORD>(info.leaves[0].eax, CpuInfo::kStandardSlots - 1);
    for (DWORD leaf = 1; leaf <= highest; ++leaf) {
        info.leaves[leaf] = source.cpuid(leaf);
    }
    if (Bit(info, kOsSavesState)) {
        const std::uint64_t xcr0 = source.xcr0();
        info.xcr0Low = static_cast<DWORD>(xcr0);
        info.xcr0High = static_cast<DWORD>(xcr0 >> 32);
    }
    FillExtendedLeaves(source, info);
    info.sseUsable = Bit(info, kSse) && source.sseUsable();
    return info;
}

const CpuInfo& GetCpuInfo() {
    return thisProcessor;
}

LONG HasCpuFeature(const CpuInfo& info, LONG index) {
    if (info.leaves[0].eax == 0) {
        return 0;
    }
    if (index >= 3 && index <= 19) {
        return BasicFeature(info, index);
    }
    if (index == 0 || index == 2) {
        return index == 0 ? VendorCode(info) : 1;
    }
    for (const Flag& flag : kFlags) {
        if (flag.index == index && Bit(info, flag) && Holds(info, flag.requirement)) {
            return 1;
        }
    }
    return 0;
}

LONG HasCpuFeature(LONG index) {
    return HasCpuFeature(GetCpuInfo(), index);
}

}  // namespace nyx
