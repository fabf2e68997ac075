#include "codecs/fault_guard.h"

#include <windows.h>

namespace nyx {
namespace {

constexpr DWORD kSeverityMask = 0xC0000000;
constexpr DWORD kSeverityError = 0xC0000000;
constexpr DWORD kUnwinding = 0x02 | 0x04;  // EXCEPTION_UNWINDING, EXCEPTION_EXIT_UNWIND

/// One guarded call's record on the thread's chain of exception handlers. The system hands the
/// handler this record's address, so the registration stands first.
struct GuardFrame {
    EXCEPTION_REGISTRATION_RECORD registration;
    void* landing[5];  // __builtin_setjmp's buffer: frame pointer, resume address, stack pointer
};

/// The chain's head is the first word of the thread's block at FS. The header's intrinsics for it
/// tell the compiler of a store through a null pointer, which it may leave out.
EXCEPTION_REGISTRATION_RECORD* ChainHead() {
    EXCEPTION_REGISTRATION_RECORD* head;
    asm volatile("movl %%fs:0, %0" : "=r"(head) : : "memory");
    return head;
}

void SetChainHead(EXCEPTION_REGISTRATION_RECORD* head) {
    asm volatile("movl %0, %%fs:0" : : "r"(head) : "memory");
}

bool IsOurs(const EXCEPTION_RECORD& record) {
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

/// Has every handler below `frame` clean up and takes it off the chain. RtlUnwind keeps none of the
/// registers that a callee must keep, hence the clobbers.
void UnwindTo(EXCEPTION_REGISTRATION_RECORD* frame, EXCEPTION_RECORD* record) {
    auto unwind = &RtlUnwind;
    asm volatile(
        "pushl %%ebp\n\t"
        "pushl $0\n\t"
        "pushl %[record]\n\t"
        "pushl $0\n\t"
        "pushl %[frame]\n\t"
        "call *%[unwind]\n\t"
        "popl %%ebp"
        : [unwind] "+a"(unwind), [frame] "+c"(frame), [record] "+d"(record)
        :
        : "ebx", "esi", "edi", "memory", "cc");
}

EXCEPTION_DISPOSITION __cdecl HandleException(EXCEPTION_RECORD* record, void* establisher, CONTEXT*,
                                              void*) {
    if ((record->ExceptionFlags & kUnwinding) != 0 || !IsOurs(*record)) {
        return ExceptionContinueSearch;
    }
    auto* frame = static_cast<GuardFrame*>(establisher);
    UnwindTo(&frame->registration, record);
    __builtin_longjmp(frame->landing, 1);
}

/// A throw of this module ends here, before it reaches frames that its unwinder must not cross.
bool CallCatching(void (*function)(void*), void* context) {
    try {
        function(context);
        return true;
    } catch (...) {
        return false;
    }
}

/// Its own function, because nothing here may stay in registers across the landing.
[[gnu::noinline]] bool CallInFrame(GuardFrame* volatile frame, void (*function)(void*),
                                   void* context) {
    frame->registration.Next = ChainHead();
    frame->registration.Handler = reinterpret_cast<PEXCEPTION_ROUTINE>(&HandleException);
    volatile bool returned = false;
    if (__builtin_setjmp(frame->landing) == 0) {
        SetChainHead(&frame->registration);
        returned = CallCatching(function, context);
    }
    SetChainHead(frame->registration.Next);
    return returned;
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

/// Pending x87 exceptions and MMX registers in use go first: either would make the host's next
/// floating-point instruction fail.
void RestoreFloatingPoint(const FloatingPointState& state) {
    asm volatile("fnclex\n\temms\n\tfldcw %0\n\tldmxcsr %1"
                 :
                 : "m"(state.x87Control), "m"(state.mxcsr));
}

}  // namespace

HRESULT CallGuarded(void (*function)(void* context), void* context) {
    const FloatingPointState floatingPoint = SaveFloatingPoint();
    GuardFrame frame;
    const bool returned = CallInFrame(&frame, function, context);
    asm volatile("cld");
    RestoreFloatingPoint(floatingPoint);
    return returned ? S_OK : E_FAIL;
}

}  // namespace nyx
