// What the stack protector asks of the compiler's runtime. Its own version fetches the guard's
// value from the system's cryptography when a library is loaded, and that takes longer than most
// frames.

#include <windows.h>

#include <intrin.h>

#include <cstdint>

extern "C" {

/// What stands between a function's arrays and its return address.
std::uintptr_t __stack_chk_guard = 0;

/// An overwritten return address: nothing of this process can be trusted any more.
[[noreturn, gnu::used]] void __stack_chk_fail() {
    constexpr UINT kStackBufferOverrun = 0xC0000409;
    TerminateProcess(GetCurrentProcess(), kStackBufferOverrun);
    __builtin_trap();
}
}

namespace {

/// Before any other object is made. From what changes with every start and cannot be seen from
/// outside, as the system's own compilers do it; a byte of 0 stops copies of strings.
[[gnu::constructor(101), gnu::no_stack_protector]] void ChooseGuard() {
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    std::uint64_t value = static_cast<std::uint64_t>(counter.QuadPart) ^
                          (std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) ^
                          (std::uint64_t{GetCurrentProcessId()} << 32 | GetCurrentThreadId()) ^
                          __rdtsc() ^ reinterpret_cast<std::uintptr_t>(&counter);
    value *= 0x9E3779B97F4A7C15u;  // spreads every bit over those above it
    __stack_chk_guard = static_cast<std::uintptr_t>(value >> (64 - 8 * sizeof(std::uintptr_t))) &
                        ~std::uintptr_t{0xFF};
}

}  // namespace
