#include "convert/cpu_info.h"

#include <cpuid.h>

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace nyx {
namespace {

constexpr DWORD kFirstExtendedLeaf = 0x80000000;
constexpr int kExtendedFeatures = CpuInfo::kStandardSlots + 1;

enum class Word { kEax, kEbx, kEcx, kEdx };

/// One flag: a bit of a word of a slot of the record.
struct FeatureBit {
    int slot;
    Word word;
    int bit;
};

DWORD WordOf(const CpuInfo& info, int slot, Word word) {
    const CpuidWords& leaf = info.leaves[slot];
    switch (word) {
        case Word::kEax:
            return leaf.eax;
        case Word::kEbx:
            return leaf.ebx;
        case Word::kEcx:
            return leaf.ecx;
        default:
            return leaf.edx;
    }
}

LONG Bit(const CpuInfo& info, FeatureBit at) {
    return WordOf(info, at.slot, at.word) >> at.bit & 1;
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
        CpuVendorCode code;
    } kVendors[] = {
        {L"GenuineIntel", kVendorIntel},
        {L"AuthenticAMD", kVendorAmd},
        {L"CyrixInstead", kVendorCyrix},
        {L"CentaurHauls", kVendorCentaur},
    };
    for (const auto& known : kVendors) {
        if (std::wcscmp(info.vendor, known.vendor) == 0) {
            return known.code;
        }
    }
    return kVendorOther;
}

LONG AvxUsable(const CpuInfo& info) {
    const bool stateSaved = (info.xcr0Low & 6) == 6;
    return stateSaved && Bit(info, {1, Word::kEcx, 27}) && Bit(info, {1, Word::kEcx, 28});
}

LONG SseUsable(const CpuInfo& info) {
    return Bit(info, {1, Word::kEdx, 25}) && info.sseUsable;
}

LONG SeveralLogicalProcessors(const CpuInfo& info) {
    return Bit(info, {1, Word::kEdx, 28}) && (info.leaves[1].ebx >> 16 & 0xFF) >= 2;
}

LONG BasicFeature(const CpuInfo& info, LONG index) {
    constexpr LONG kFirst = 3;
    constexpr LONG kReservedBit = 10;
    const LONG bit = index - kFirst;
    return Bit(info, {1, Word::kEdx, bit < kReservedBit ? bit : bit + 1});
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
    // The platform's own answer to whether an SSE instruction would fault; it knows both the
    // processor and whether it saves the state.
    return IsProcessorFeaturePresent(PF_XMMI_INSTRUCTIONS_AVAILABLE) != FALSE;
#else
    return true;
#endif
}

}  // namespace

CpuInfo FillCpuInfo(const CpuSource& source) {
    CpuInfo info{};
    info.leaves[0] = source.cpuid(0);
    FillVendor(info);
    const DWORD highest = std::min<DWORD>(info.leaves[0].eax, CpuInfo::kStandardSlots - 1);
    for (DWORD leaf = 1; leaf <= highest; ++leaf) {
        info.leaves[leaf] = source.cpuid(leaf);
    }
    if (Bit(info, {1, Word::kEcx, 27})) {
        const std::uint64_t xcr0 = source.xcr0();
        info.xcr0Low = static_cast<DWORD>(xcr0);
        info.xcr0High = static_cast<DWORD>(xcr0 >> 32);
    }
    FillExtendedLeaves(source, info);
    info.sseUsable = Bit(info, {1, Word::kEdx, 25}) && source.sseUsable();
    return info;
}

const CpuInfo& GetCpuInfo() {
    static const CpuInfo info = FillCpuInfo({HardwareCpuid, HardwareXcr0, HardwareSseUsable});
    return info;
}

LONG HasCpuFeature(const CpuInfo& info, LONG index) {
    if (info.leaves[0].eax == 0) {
        return 0;
    }
    if (index >= 3 && index <= 19) {
        return BasicFeature(info, index);
    }
    switch (index) {
        case kCpuVendorCode:
            return VendorCode(info);
        case 2:
            return 1;
        case 20:
            return Bit(info, {1, Word::kEdx, 25}) | Bit(info, {kExtendedFeatures, Word::kEdx, 22});
        case kCpuMmx:
            return Bit(info, {1, Word::kEdx, 23});
        case 23:
            return Bit(info, {kExtendedFeatures, Word::kEdx, 30});
        case 25:
            return Bit(info, {kExtendedFeatures, Word::kEdx, 22});
        case kCpuSse:
            return Bit(info, {1, Word::kEdx, 25});
        case kCpuSseUsable:
            return SseUsable(info);
        case kCpuSse2:
            return SseUsable(info) & Bit(info, {1, Word::kEdx, 26});
        case kCpuSse3:
            return Bit(info, {1, Word::kEcx, 0});
        case kCpuSsse3:
            return Bit(info, {1, Word::kEcx, 9});
        case kCpuSse41:
            return Bit(info, {1, Word::kEcx, 19});
        case kCpuSse42:
            return Bit(info, {1, Word::kEcx, 20});
        case 33:
            return Bit(info, {kExtendedFeatures, Word::kEcx, 11});
        case kCpuHyperThreading:
            return SeveralLogicalProcessors(info);
        case kCpuAvx:
            return AvxUsable(info);
        case kCpuFma:
            return AvxUsable(info) & Bit(info, {1, Word::kEcx, 12});
        case kCpuAvx2:
            return AvxUsable(info) & Bit(info, {7, Word::kEbx, 5});
        default:
            return 0;
    }
}

LONG HasCpuFeature(LONG index) {
    return HasCpuFeature(GetCpuInfo(), index);
}

}  // namespace nyx
