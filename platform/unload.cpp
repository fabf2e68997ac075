// What the compiler's static runtime keeps when a library that holds a copy of it is unloaded: the
// thread library its thread-local slot, of which a process has 1088, and its record of the thread
// that unloads, with two handles, which it would drop only at that thread's end; the C++ runtime
// its reserve for exceptions. A host that loads and frees a library again and again would run out
// of them, so they are given back here, after everything else of the library has ended.

#include <windows.h>

namespace __gnu_cxx {
void __freeres();  // frees the reserve; libstdc++ declares it in no header
}

/// The library's thread-local storage as the linker lays it out, with the runtime's callbacks.
extern "C" const IMAGE_TLS_DIRECTORY _tls_used;
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace {

/// More than the runtime asks for.
constexpr LONG kMostSlots = 8;
DWORD slots[kMostSlots];
LONG slotCount = 0;

/// A function of a system library that is always loaded; null when it lacks it.
template <typename Function>
Function SystemFunction(const wchar_t* library, const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(library), name)));
}

DWORD WINAPI AllocateSlot() {
    const DWORD slot = SystemFunction<DWORD(WINAPI*)()>(L"kernel32.dll", "TlsAlloc")();
    const LONG at = InterlockedIncrement(&slotCount) - 1;
    if (slot != TLS_OUT_OF_INDEXES && at < kMostSlots) {
        slots[at] = slot;
    }
    return slot;
}

/// Tells the runtime what the loader would tell it when this thread ended.
void EndThisThreadsPart() {
    const auto* callback =
        reinterpret_cast<const PIMAGE_TLS_CALLBACK*>(_tls_used.AddressOfCallBacks);
    for (; *callback; ++callback) {
        (*callback)(&__ImageBase, DLL_THREAD_DETACH, nullptr);
    }
}

/// The process ends: its other threads are gone, perhaps with a lock of the runtime.
bool ProcessEnds() {
    const auto asks = SystemFunction<BOOLEAN(WINAPI*)()>(L"ntdll.dll", "RtlDllShutdownInProgress");
    return !asks || asks();
}

/// The first object to be made and so the last to go.
struct Unloading {
    ~Unloading() {
        if (ProcessEnds()) {
            return;
        }
        EndThisThreadsPart();
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
