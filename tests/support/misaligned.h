#pragma once

#include <windows.h>

#include <cstring>

namespace nyx::test {

/// Calls the method in slot `slot` of a COM interface (IUnknown's are 0 to 2), with 32-bit
/// arguments, from a stack that is `offset` bytes (0, 4, 8 or 12) below a 16-byte boundary at the
/// call, as hosts built by other compilers do.
template <class Interface, class... Arguments>
HRESULT CallMethodMisaligned(DWORD offset, Interface* object, unsigned slot,
                             Arguments... arguments) {
    static_assert(((sizeof(Arguments) == sizeof(DWORD)) && ...));
    const void* function = (*reinterpret_cast<const void* const* const*>(object))[slot];
    const auto word = [](auto argument) {
        DWORD bits;
        std::memcpy(&bits, &argument, sizeof(bits));
        return bits;
    };
    const DWORD words[] = {word(object), word(arguments)...};
    const DWORD* from = words;
    DWORD count = 1 + sizeof...(arguments);
    DWORD result = offset;
    // Cuts the stack to a boundary, lowers it and lays the arguments there.
    asm volatile(
        "movl %%esp, %%ebx\n\t"
        "leal (,%%ecx,4), %%edi\n\t"
        "subl %%edi, %%esp\n\t"
        "andl $-16, %%esp\n\t"
        "subl %%eax, %%esp\n\t"
        "movl %%esp, %%edi\n\t"
        "cld\n\t"
        "rep movsl\n\t"
        "call *%%edx\n\t"
        "movl %%ebx, %%esp"
        : "+a"(result), "+c"(count), "+S"(from), "+d"(function)
        :
        : "ebx", "edi", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
          "xmm7");
    return static_cast<HRESULT>(result);
}

}  // namespace nyx::test
