/// 64-bit programs take all addresses that fit 32 bits before their tests begin: memory that they
/// and the module ask for then has addresses that do not, as Windows gives it from the start.

#include <windows.h>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr DWORD_PTR kGranularity = 1 << 16, kEnd = DWORD_PTR{1} << 32;

const bool taken = [] {
    MEMORY_BASIC_INFORMATION region = {};
    DWORD_PTR at = kGranularity;
    while (at < kEnd && VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof(region)) != 0) {
        const auto end = reinterpret_cast<DWORD_PTR>(region.BaseAddress) + region.RegionSize;
        const DWORD_PTR size = std::min(end, kEnd) - at;  // of what is free, or refused
        VirtualAlloc(reinterpret_cast<void*>(at), size, MEM_RESERVE, PAGE_NOACCESS);
        at = (end + kGranularity - 1) / kGranularity * kGranularity;
    }
    for (std::size_t size = 4096; size >= 16; size /= 16) {  // what the heaps have already
        while (DWORD_PTR(std::malloc(size)) < kEnd ||
               DWORD_PTR(HeapAlloc(GetProcessHeap(), 0, size)) < kEnd) {
        }
    }
    return true;
}();

}  // namespace
