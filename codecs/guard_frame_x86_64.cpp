// 64 bits: a function whose entry in the image's table of unwind information names the runtime's
// own scope handler. It unwinds to the landing and restores the registers that a callee must
// preserve.

#include "codecs/guard_frame.h"

extern "C" {

/// The scope's filter.
[[gnu::used]] LONG nyx_guard_filter(const EXCEPTION_POINTERS* pointers, void*) {
    return nyx::IsForGuard(*pointers->ExceptionRecord) ? EXCEPTION_EXECUTE_HANDLER
                                                       : EXCEPTION_CONTINUE_SEARCH;
}

/// CallInFrame in assembly, since the compiler has no syntax for such a scope. Forty bytes are the
/// callee's home space for its four register arguments, and the stack's alignment.
void nyx_call_in_frame(void (*function)(void* context), void* context);

asm(R"(
    .text
    .def nyx_call_in_frame; .scl 2; .type 32; .endef
    .globl nyx_call_in_frame
    .seh_proc nyx_call_in_frame
nyx_call_in_frame:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
.Lnyx_guarded:
    call *%rax
    nop
.Lnyx_landing:
    addq $40, %rsp
    ret
    .seh_handler __C_specific_handler, @except
    .seh_handlerdata
    .long 1
    .rva .Lnyx_guarded, .Lnyx_landing, nyx_guard_filter, .Lnyx_landing
    .text
    .seh_endproc
)");
}

namespace nyx {

void CallInFrame(void (*function)(void* context), void* context) {
    nyx_call_in_frame(function, context);
}

}  // namespace nyx
