#include "tests/support/misaligned_call.h"

// nyx_call_misaligned(function, arguments, count, offset): the stack is cut to a 16-byte boundary,
// lowered by `offset`, the arguments are laid there and the function is called. The caller's stack
// comes back from the frame pointer, whoever popped the arguments.
asm(R"(
    .text
    .globl _nyx_call_misaligned
_nyx_call_misaligned:
    pushl %ebp
    movl  %esp, %ebp
    pushl %esi
    pushl %edi
    movl  12(%ebp), %esi
    movl  16(%ebp), %ecx
    leal  0(,%ecx,4), %edx
    subl  %edx, %esp
    andl  $-16, %esp
    subl  20(%ebp), %esp
    movl  %esp, %edi
    cld
    rep movsl
    call  *8(%ebp)
    leal  -8(%ebp), %esp
    popl  %edi
    popl  %esi
    popl  %ebp
    ret

    .globl _nyx_stack_pointer
_nyx_stack_pointer:
    leal  4(%esp), %eax
    ret
)");
