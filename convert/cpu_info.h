#pragma once

/// @file
/// The processor's description of itself, read once, and its features by number.

#include <cstdint>

#include "platform/win_types.h"

namespace nyx {

/// The four result words of one CPUID leaf.
struct CpuidWords {
    DWORD eax;
    DWORD ebx;
    DWORD ecx;
    DWORD edx;
};

/// The process-wide processor record. Written once, read-only afterwards.
struct CpuInfo {
    static constexpr int kStandardSlots = 8;  ///< leaves 0 to 7
    static constexpr int kExtendedSlots = 7;  ///< leaves 0x80000000 to 0x80000006

    /// Slots 0 to 7 hold the standard leaves, slots 8 to 14 the extended ones; a leaf that the
    /// processor does not have is all zero.
    CpuidWords leaves[kStandardSlots + kExtendedSlots];
    DWORD xcr0Low;  ///< extended control register 0; zero without OSXSAVE
    DWORD xcr0High;
    wchar_t vendor[16];  ///< e.g. L"GenuineIntel", zero-terminated
    wchar_t brand[64];   ///< zero-terminated; empty when the processor has no brand string
    LONG sseUsable;      ///< 1 when the operating system runs SSE instructions without a fault
};

/// The indices of HasCpuFeature that the module uses.
enum CpuFeature : LONG {
    kCpuSsse3 = 30,
    kCpuSse41 = 31,
};

/// The source of a record: the processor itself, or a simulated one in tests.
struct CpuSource {
    CpuidWords (*cpuid)(DWORD leaf);  ///< called with sub-leaf 0
    std::uint64_t (*xcr0)();          ///< called only when leaf 1 reports OSXSAVE
    bool (*sseUsable)();              ///< called only when leaf 1 reports SSE
};

/// Fills a record. Throws only what the source throws.
CpuInfo FillCpuInfo(const CpuSource& source);

/// The record of this processor, filled while the program or library loads. Callable on any thread
/// after static initialisation.
const CpuInfo& GetCpuInfo();

/// The value of a feature; 1 or 0 for flags. 0 for every index when the processor reports no
/// standard leaf beyond 0, and for an index outside the table.
///
/// | index | value |
/// |---|---|
/// | 0 | vendor: 2 "GenuineIntel", 1 "AuthenticAMD", 3 "CyrixInstead", 4 "CentaurHauls", else 0 |
/// | 1 | processor generation; not kept, always 0 (unknown) |
/// | 2 | 1 |
/// | 3 to 19 | leaf 1 EDX bits 0 to 9 (3 to 12) and 11 to 17 (13 to 19) |
/// | 20 | SSE or the vendor's integer extensions: leaf 1 EDX 25 or leaf 0x80000001 EDX 22 |
/// | 21 | leaf 1 EDX 23 (MMX) |
/// | 23, 25 | leaf 0x80000001 EDX 30, EDX 22 |
/// | 26 | leaf 1 EDX 25 (SSE) |
/// | 27 | index 26 and the operating system saves SSE state |
/// | 28 | index 27 and leaf 1 EDX 26 (SSE2) |
/// | 29 to 32 | leaf 1 ECX 0 (SSE3), 9 (SSSE3), 19 (SSE4.1), 20 (SSE4.2) |
/// | 33 | leaf 0x80000001 ECX 11 |
/// | 34 | leaf 1 EDX 28 and at least two logical processors (leaf 1 EBX 16 to 23) |
/// | 35 | XCR0 bits 1 and 2, and leaf 1 ECX 27 and 28 (AVX usable) |
/// | 36, 37 | index 35 and leaf 1 ECX 12 (FMA), leaf 7 EBX 5 (AVX2) |
/// | 38 and above | cache descriptions; not kept, always 0 |
LONG HasCpuFeature(const CpuInfo& info, LONG index);

/// The same of this processor.
LONG HasCpuFeature(LONG index);

}  // namespace nyx
