#pragma once

/// @file
/// The few names of the system's header that the engine boundary uses, for the fuzzers' 32-bit
/// Linux build alone. Widths and calling conventions are the system's.

#include <sched.h>

#include "platform/win_types.h"

using HMODULE = void*;
using ULONG = DWORD;

#define __stdcall __attribute__((stdcall))
#define __cdecl __attribute__((cdecl))

inline LONG InterlockedExchange(volatile LONG* target, LONG value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}

inline void YieldProcessor() {
    __builtin_ia32_pause();
}

inline void Sleep(DWORD) {
    sched_yield();
}
