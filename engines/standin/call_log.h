#pragma once

/// @file
/// The frame around every stand-in entry: keep the call for tests, misbehave when told to, let no
/// C++ exception out.

#include <cstddef>
#include <new>

#include "engines/standin/standin.h"

namespace standin {

enum class Action {
    kNone,
    kAccess,
    kDivide,
    kThrow,
    kCallback,
    kBreakpoint,
    kLonger,
    kFull,
    kZero,
    kNegative
};

/// What the environment tells this purpose to do, asked anew at each call.
Action ActionFor(Purpose purpose);

/// Keeps a call. `inner` may be null.
void LogCall(Purpose purpose, const void* words, std::size_t wordCount, const void* inner = nullptr,
             std::size_t innerCount = 0);

/// Adds the entry's result to the call that was kept.
void LogResult(Purpose purpose, LONG result);

/// Carries out the actions that raise; the others return.
void Raise(Action action);

/// Runs an entry's body between log and result. The body takes the action and gives the result.
template <typename Body>
LONG RunEntry(Purpose purpose, Body body) {
    const Action action = ActionFor(purpose);
    Raise(action);
    LONG result;
    try {
        result = body(action);
    } catch (const std::bad_alloc&) {
        result = kNoMemory;
    }
    result = purpose == kEncode && action == Action::kNegative ? kBadFrame : result;
    LogResult(purpose, result);
    return result;
}

}  // namespace standin
