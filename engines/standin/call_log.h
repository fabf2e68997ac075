#pragma once

/// @file
/// The frame around every stand-in entry: keep the call for tests, misbehave when told to, let no
/// C++ exception out.

#include <cstddef>
#include <initializer_list>
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

/// How the words of a record lie in memory.
struct RecordShape {
    std::size_t words = 0;
    DWORD wide = 0;  ///< bit N: word N, counted from 1, is as wide as an address

    constexpr RecordShape() = default;
    constexpr RecordShape(std::size_t count, std::initializer_list<int> wideWords) : words(count) {
        for (const int word : wideWords) {
            wide |= 1u << word;
        }
    }
};

/// Keeps a call with a record. `inner` may be null.
void LogCall(Purpose purpose, const void* record, RecordShape shape, const void* inner = nullptr,
             RecordShape innerShape = {});

/// Keeps a call with arguments and no record.
void LogArguments(Purpose purpose, std::initializer_list<LONG_PTR> arguments);

inline LONG_PTR Word(const void* pointer) {
    return reinterpret_cast<LONG_PTR>(pointer);
}

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
