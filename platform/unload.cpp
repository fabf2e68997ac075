// What the compiler's static runtime keeps when a library that holds a copy of it is unloaded: the
// thread library its thread-local slot, of which a process has 1088, and the C++ runtime its
// reserve for exceptions. A host that loads and frees a library again and again would run out of
// both, so they are given back here, after everything else of the library has ended.

#include <windows.h>

namespace __gnu_cxx {
void __freeres();  // frees the reserve; libstdc++ declares it in no header
}

namespace {

/// More than the runtime asks for.
constexpr LONG kMostSlots = 8;
DWORD slots[kMostSlots];
LONG slotCount = 0;

DWORD WINAPI AllocateSlot() {
    using Allocate = DWORD(WINAPI*)();
    const auto allocate = reinterpret_cast<Allocate>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "TlsAlloc")));
    const DWORD slot = allocate();
    const LONG at = InterlockedIncrement(&slotCount) - 1;
    if (slot != TLS_OUT_OF_INDEXES && at < kMostSlots) {
        slots[at] = slot;
    }
    return slot;
}

/// The first object to be made and so the last to go.
struct Unloading {
    ~Unloading() {
        __gnu_cxx::__freeres();
        for (LONG i = 0; i < slotCount && i < kMostSlots; ++i) {
            TlsFree(slots[i]);
        }
    }
};
__attribute__((init_priority(101))) Unloading unloading;

}  // namespace

/// The import of TlsAlloc as the thread library refers to it, led here instead.
extern "C" decltype(&AllocateSlot) const nyx_tls_alloc_import __asm__("__imp__TlsAlloc@0");
extern "C" decltype(&AllocateSlot) const nyx_tls_alloc_import = &AllocateSlot;
