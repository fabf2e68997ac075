/// 64-bit programs take all addresses that fit 32 bits before their tests begin: memory that they
/// and the module ask for then has addresses that do not, as Windows gives it from the start.

#include <windows.h>

#include <algorithm>

namespace {

constexpr DWORD_PTR kGranularity = 1 << 16, kEnd = DWORD_PTR{1} << 32;

const bool taken = [] {
    MEMORY_BASIC_INFORMATION region = {};
    DWORD_PTR at = kGranularity;
    while (at < kEnd && VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof(region)) != 0) {
        const auto end = reinterpret_cast<DWORD_PTR>(region.BaseAddress) + region.RegionSize;
        if (region.State == MEM_FREE) {
            VirtualAlloc(reinterpret_cast<void*>(at), std::min(end, kEnd) - at, MEM_RESERVE,
                         PAGE_NOACCESS);
        }
        at = (end + kGranularity - 1) / kGranularity * kGranularity;
    }
    return true;
}();

}  // namespace
