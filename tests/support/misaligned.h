#pragma once

#include <windows.h>

namespace nyx::test {

/// Calls the method in slot `slot` of a COM interface (IUnknown's are 0 to 2), which has one
/// argument of 32 bits, as hosts built by other compilers do: from a stack that is `offset` + 8
/// bytes below a 16-byte boundary at the call, `offset` being 0, 4, 8 or 12.
template <class Interface, class Argument>
HRESULT CallMethodMisaligned(DWORD offset, Interface* object, unsigned slot, Argument argument) {
    const void* function = (*reinterpret_cast<const void* const* const*>(object))[slot];
    DWORD result = offset;
    asm volatile(
        "movl %%esp, %%ebx\n\t"
        "andl $-16, %%esp\n\t"
        "subl %%eax, %%esp\n\t"
        "pushl %%esi\n\t"
        "pushl %%ecx\n\t"
        "call *%%edx\n\t"
        "movl %%ebx, %%esp"
        : "+a"(result), "+c"(object), "+d"(function)
        : "S"(argument)
        : "ebx", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
    return static_cast<HRESULT>(result);
}

}  // namespace nyx::test
