#pragma once

/// @file
/// The crossing into closed code. An engine, or a callback that an engine calls, may raise: then
/// the call ends with `E_FAIL` and the host goes on with the next frame.

#include <windows.h>

#include <type_traits>

namespace nyx {

/// Calls `function(context)` on this thread. `S_OK` when it returned; `E_FAIL` when it raised an
/// access violation, a divide error, another compiler's C++ exception (code 0xE06D7363), any
/// further exception of severity "error", a guard-page or a misalignment fault, and when it threw a
/// C++ exception of this module.
/// Stack overflows go on to the host's handlers, because a stack without its guard page is not fit
/// to be used again; so do breakpoints, single steps, debug output and everything else below
/// severity "error". The x87 control word and MXCSR come back as they were on entry, the x87
/// register stack empty.
///
/// After a raise the frames between the fault and this call are dropped as they stand: no object
/// with a destructor may live in them.
HRESULT CallGuarded(void (*function)(void* context), void* context);

/// CallGuarded for a callable without arguments. It should do no more than the foreign call.
template <typename Call>
HRESULT Guarded(Call&& call) {
    using Callable = std::remove_reference_t<Call>;
    return CallGuarded([](void* context) { (*static_cast<Callable*>(context))(); }, &call);
}

/// The result of a guarded callable that has one; `E_FAIL` when it raised.
template <typename Call>
HRESULT GuardedResult(Call&& call) {
    HRESULT result = E_FAIL;
    Guarded([&] { result = call(); });
    return result;
}

/// Calls an engine's entry through the guard and stores what it returned. `E_FAIL`, with `returned`
/// untouched, when the entry is not bound (null) or raised.
template <typename Entry, typename... Arguments>
HRESULT CallEngine(LONG* returned, Entry entry, Arguments... arguments) {
    return entry ? Guarded([&] { *returned = entry(arguments...); }) : E_FAIL;
}

/// Raises the structured exception by which a callback tells the guard around its engine that it
/// threw. Does not return.
[[noreturn]] void RaiseCallbackFailure();

template <auto Body>
struct EngineCallback;

/// `EngineCallback<&Body>::Call` is what an engine is given in place of `Body`: a standard-call
/// function of the same arguments. A C++ exception of ours cannot unwind through an engine's frames
/// (the process would be terminated), so it crosses them as a structured exception.
template <typename... Arguments, void (*Body)(Arguments...)>
struct EngineCallback<Body> {
    static void __stdcall Call(Arguments... arguments) {
        bool threw = false;
        try {
            Body(arguments...);
        } catch (...) {
            threw = true;
        }
        if (threw) {
            RaiseCallbackFailure();  // after the handler, so that the exception object is freed
        }
    }
};

}  // namespace nyx
