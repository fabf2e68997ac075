#pragma once

#include <cstring>
#include <type_traits>

#include "tests/support/directshow.h"

namespace nyx::test {

extern "C" DWORD nyx_call_misaligned(const void* function, const DWORD* arguments, DWORD count,
                                     DWORD offset);
/// Returns the stack pointer at the call, before the return address was pushed.
extern "C" DWORD nyx_stack_pointer();

/// Calls a standard-call function of 32-bit arguments from a stack that is `offset` bytes (0, 4, 8
/// or 12) below a 16-byte boundary at the call, as hosts built by other compilers do.
template <class... Arguments>
HRESULT CallMisaligned(DWORD offset, const void* function, Arguments... arguments) {
    static_assert(((sizeof(Arguments) == sizeof(DWORD)) && ...));
    const DWORD words[] = {[](auto argument) {
        DWORD word;
        std::memcpy(&word, &argument, sizeof(word));
        return word;
    }(arguments)...};
    return static_cast<HRESULT>(nyx_call_misaligned(function, words, sizeof...(arguments), offset));
}

/// The same for the method in slot `slot` of a COM interface (IUnknown's are 0 to 2).
template <class Interface, class... Arguments>
HRESULT CallMethodMisaligned(DWORD offset, Interface* object, unsigned slot,
                             Arguments... arguments) {
    const void* const* table = *reinterpret_cast<const void* const* const*>(object);
    return CallMisaligned(offset, table[slot], object, arguments...);
}

}  // namespace nyx::test
