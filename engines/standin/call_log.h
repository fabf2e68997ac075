#pragma once

/// @file
/// The common part of every stand-in entry: it logs the call for tests, misbehaves on demand and
/// contains C++ exceptions.

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

/// The action that the environment demands of this purpose, read at each call.
Action ActionFor(Purpose purpose);

/// The layout of a record's words in memory.
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

/// Logs a call with a record. `inner` may be null.
void LogCall(Purpose purpose, const void* record, RecordShape shape, const void* inner = nullptr,
             RecordShape innerShape = {});

/// Logs a call with arguments and no record.
void LogArguments(Purpose purpose, std::initializer_list<LONG_PTR> arguments);

inline LONG_PTR Word(const void* pointer) {
    return reinterpret_cast<LONG_PTR>(pointer);
}

/// Adds the entry's result to the logged call.
void LogResult(Purpose purpose, LONG result);

/// Carries out the actions that raise; the others return.
void Raise(Action action);

/// Runs an entry's body, a function from the action to the result, and logs the result.
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
