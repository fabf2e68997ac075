#include "codecs/fault_guard.h"

#include "codecs/guard_frame.h"

namespace nyx {
namespace {

constexpr DWORD kSeverityMask = 0xC0000000;
constexpr DWORD kSeverityError = 0xC0000000;

struct GuardedCall {
    void (*function)(void* context);
    void* context;
    bool returned;
};

/// Catches this module's C++ exceptions before they reach frames that its unwinder must not cross.
void CallCatching(void* context) {
    auto* call = static_cast<GuardedCall*>(context);
    try {
        call->function(call->context);
        call->returned = true;
    } catch (...) {
    }
}

struct FloatingPointState {
    WORD x87Control;
    DWORD mxcsr;
};

FloatingPointState SaveFloatingPoint() {
    FloatingPointState state;
    asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(state.x87Control), "=m"(state.mxcsr));
    return state;
}

/// Clears pending x87 exceptions and the MMX state first: either would make the host's next
/// floating-point instruction fail.
void RestoreFloatingPoint(const FloatingPointState& state) {
    asm volatile("fnclex\n\temms\n\tfldcw %0\n\tldmxcsr %1"
                 :
                 : "m"(state.x87Control), "m"(state.mxcsr));
}

}  // namespace

bool IsForGuard(const EXCEPTION_RECORD& record) noexcept {
    switch (record.ExceptionCode) {
        case EXCEPTION_STACK_OVERFLOW:
        case EXCEPTION_BREAKPOINT:
        case EXCEPTION_SINGLE_STEP:
            return false;
        case EXCEPTION_GUARD_PAGE:  // these two faults have the severity "warning"
        case EXCEPTION_DATATYPE_MISALIGNMENT:
            return true;
        default:
            return (record.ExceptionCode & kSeverityMask) == kSeverityError ||
                   (record.ExceptionFlags & EXCEPTION_NONCONTINUABLE) != 0;
    }
}

HRESULT CallGuarded(void (*function)(void* context), void* context) {
    const FloatingPointState floatingPoint = SaveFloatingPoint();
    GuardedCall call = {function, context, false};
    CallInFrame(&CallCatching, &call);
    asm volatile("cld");
    RestoreFloatingPoint(floatingPoint);
    return call.returned ? S_OK : E_FAIL;
}

}  // namespace nyx
