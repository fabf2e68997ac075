// 32 bits: a record on the thread's chain of exception handlers, and a jump back out of the
// handler.

#include "codecs/guard_frame.h"

namespace nyx {
namespace {

constexpr DWORD kUnwinding = 0x02 | 0x04;  // EXCEPTION_UNWINDING, EXCEPTION_EXIT_UNWIND

/// One guarded call's record on the chain. The system passes the registration's address to the
/// handler, so the registration comes first.
struct GuardFrame {
    EXCEPTION_REGISTRATION_RECORD registration;
    void* landing[5];  // __builtin_setjmp's buffer: frame pointer, resume address, stack pointer
};

/// The chain's head is the first word of the thread's block at FS. The header's intrinsics for it
/// look to the compiler like a store through a null pointer, which it may omit.
EXCEPTION_REGISTRATION_RECORD* ChainHead() {
    EXCEPTION_REGISTRATION_RECORD* head;
    asm volatile("movl %%fs:0, %0" : "=r"(head) : : "memory");
    return head;
}

void SetChainHead(EXCEPTION_REGISTRATION_RECORD* head) {
    asm volatile("movl %0, %%fs:0" : : "r"(head) : "memory");
}

/// Lets every handler below `frame` clean up and removes it from the chain. RtlUnwind preserves
/// none of the registers that a callee must preserve, hence the clobbers.
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
    if ((record->ExceptionFlags & kUnwinding) != 0 || !IsForGuard(*record)) {
        return ExceptionContinueSearch;
    }
    auto* frame = static_cast<GuardFrame*>(establisher);
    UnwindTo(&frame->registration, record);
    __builtin_longjmp(frame->landing, 1);
}

/// Its own function, because no variable may stay in a register across the landing.
[[gnu::noinline]] void CallWithinFrame(GuardFrame* linked, void (*function)(void*), void* context) {
    GuardFrame* volatile frame = linked;
    frame->registration.Next = ChainHead();
    frame->registration.Handler = reinterpret_cast<PEXCEPTION_ROUTINE>(&HandleException);
    if (__builtin_setjmp(frame->landing) == 0) {
        SetChainHead(&frame->registration);
        function(context);
    }
    SetChainHead(frame->registration.Next);
}

}  // namespace

void CallInFrame(void (*function)(void* context), void* context) {
    GuardFrame frame;
    CallWithinFrame(&frame, function, context);
}

}  // namespace nyx
