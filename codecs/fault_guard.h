#pragma once

/// @file
/// The guard around code that may fault: the closed engines, their callbacks, and loops over
/// pictures and frames whose memory a host may unmap meanwhile. Then the call ends with `E_FAIL`
/// and the host continues with the next frame.

#include <type_traits>

#include "platform/win_types.h"

namespace nyx {

#ifdef _WIN32
/// Calls `function(context)` on this thread. `S_OK` when it returned; `E_FAIL` when it raised
///
/// - an exception of severity "error", such as an access violation, a divide error or another
///   compiler's C++ exception (code 0xE06D7363); a guard-page or a misalignment fault,
/// - any exception that cannot be continued: other compilers raise their languages' exceptions with
///   codes of lower severity,
/// - or when it threw a C++ exception of this module.
///
/// Stack overflows continue to the host's handlers, because a stack without its guard page must not
/// be used again; so do breakpoints and single steps, for a debugger, and every other continuable
/// exception below severity "error", such as debug output. The x87 control word and MXCSR are
/// restored, the x87 register stack is empty.
///
/// After an exception the frames between the fault and this call are dropped without destructors:
/// no object that has one may live in them. Calls may be nested.
[[nodiscard]] HRESULT CallGuarded(void (*function)(void* context), void* context);
#else
/// No guard on other systems: a fault ends the process, so that sanitizers and fuzzers see it.
[[nodiscard]] inline HRESULT CallGuarded(void (*function)(void* context), void* context) {
    function(context);
    return S_OK;
}
#endif

/// CallGuarded for a callable without arguments.
template <typename Call>
[[nodiscard]] HRESULT Guarded(Call&& call) {
    using Callable = std::remove_reference_t<Call>;
    return CallGuarded([](void* context) { (*static_cast<Callable*>(context))(); }, &call);
}

/// The result of a guarded callable that has one; `E_FAIL` when it raised.
template <typename Call>
[[nodiscard]] HRESULT GuardedResult(Call&& call) {
    HRESULT result = E_FAIL;
    return FAILED(Guarded([&] { result = call(); })) ? E_FAIL : result;
}

/// Calls an engine's entry through the guard and stores what it returned. `E_FAIL`, with `returned`
/// untouched, when the entry is not bound (null) or raised.
template <typename Entry, typename... Arguments>
[[nodiscard]] HRESULT CallEngine(LONG* returned, Entry entry, Arguments... arguments) {
    return entry ? Guarded([&] { *returned = entry(arguments...); }) : E_FAIL;
}

}  // namespace nyx
