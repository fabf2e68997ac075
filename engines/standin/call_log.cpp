#include "engines/standin/call_log.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>

namespace standin {
namespace {

std::mutex mutex;
Call calls[kPurposes];
std::atomic<DWORD> countedCalls[kPurposes];

const char* const kPurposeNames[kPurposes] = {"probe", "decode", "encode"};

struct ActionName {
    const char* name;
    Action action;
};
constexpr ActionName kActions[] = {
    {"access", Action::kAccess},
    {"divide", Action::kDivide},
    {"throw", Action::kThrow},
    {"callback", Action::kCallback},
    {"breakpoint", Action::kBreakpoint},
    {"longer", Action::kLonger},
    {"full", Action::kFull},
    {"zero", Action::kZero},
    {"negative", Action::kNegative},
};

/// Copies a record's words one by one.
void Unpack(const void* record, RecordShape shape, LONG_PTR* words) {
    const auto* at = static_cast<const BYTE*>(record);
    std::size_t place = 0;
    for (std::size_t i = 0; i < shape.words; ++i) {
        if ((shape.wide >> (i + 1) & 1) != 0) {
            place = (place + sizeof(LONG_PTR) - 1) / sizeof(LONG_PTR) * sizeof(LONG_PTR);
            std::memcpy(&words[i], at + place, sizeof(LONG_PTR));
            place += sizeof(LONG_PTR);
        } else {
            LONG word;
            std::memcpy(&word, at + place, sizeof(word));
            words[i] = word;
            place += sizeof(word);
        }
    }
}

Call& NewCall(Purpose purpose, std::size_t words) {
    Call& call = calls[purpose];
    call = {.count = call.count + 1, .wordCount = static_cast<DWORD>(words)};
    return call;
}

constexpr DWORD kForeignException = 0xE06D7363;  // "msc" of another compiler's C++ runtime
constexpr DWORD kForeignMagic = 0x19930520;

}  // namespace

Action ActionFor(Purpose purpose) {
    char value[64];
    const DWORD length = GetEnvironmentVariableA(kMisbehave, value, sizeof(value));
    if (length == 0 || length >= sizeof(value)) {
        return Action::kNone;
    }
    const std::string_view text(value, length);
    const std::size_t colon = text.find(':');
    if (colon == text.npos || text.substr(0, colon) != kPurposeNames[purpose]) {
        return Action::kNone;
    }
    const std::size_t slash = std::min(text.find('/'), text.size());
    if (slash < text.size()) {
        const auto every = static_cast<DWORD>(std::atoi(value + slash + 1));
        if (every == 0 || ++countedCalls[purpose] % every != 0) {
            return Action::kNone;
        }
    }
    const std::string_view name = text.substr(colon + 1, slash - colon - 1);
    for (const ActionName& known : kActions) {
        if (known.name == name) {
            return known.action;
        }
    }
    return Action::kNone;
}

void LogCall(Purpose purpose, const void* record, RecordShape shape, const void* inner,
             RecordShape innerShape) {
    const std::lock_guard<std::mutex> hold(mutex);
    Call& call = NewCall(purpose, shape.words);
    Unpack(record, shape, call.words);
    if (inner) {
        call.innerCount = static_cast<DWORD>(innerShape.words);
        Unpack(inner, innerShape, call.inner);
    }
}

void LogArguments(Purpose purpose, std::initializer_list<LONG_PTR> arguments) {
    const std::lock_guard<std::mutex> hold(mutex);
    std::copy(arguments.begin(), arguments.end(), NewCall(purpose, arguments.size()).words);
}

void LogResult(Purpose purpose, LONG result) {
    const std::lock_guard<std::mutex> hold(mutex);
    calls[purpose].result = result;
}

void Raise(Action action) {
    switch (action) {
        case Action::kAccess:
            *static_cast<volatile LONG*>(nullptr) = 1;
            break;
        case Action::kDivide: {
            volatile LONG dividend = 10;
            volatile LONG zero = 0;
            volatile LONG quotient = dividend / zero;
            static_cast<void>(quotient);
            break;
        }
        case Action::kThrow: {
            const ULONG_PTR arguments[] = {kForeignMagic, 0, 0};
            RaiseException(kForeignException, EXCEPTION_NONCONTINUABLE, 3, arguments);
            break;
        }
        case Action::kBreakpoint:
            DebugBreak();
            break;
        default:
            break;
    }
}

}  // namespace standin

extern "C" BOOL __cdecl standin_last_call(DWORD purpose, standin::Call* call) {
    if (purpose >= standin::kPurposes || !call) {
        return FALSE;
    }
    const std::lock_guard<std::mutex> hold(standin::mutex);
    *call = standin::calls[purpose];
    return call->count != 0;
}
