/// 32-bit hosts built by other compilers keep the stack aligned to 4 bytes alone.

#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class MisalignedStack : public RowTest {};
NYX_FOR_ROWS(MisalignedStack, Rows({"Q210Decoder", "ZetaDecoder", "ZetaEncoder"}));

TEST_P(MisalignedStack, StillBringsAFrame) {
    Rig rig{row()};
    const auto sample = MakeSample(rig.Frame());
    rig.Start();
    for (const DWORD offset : {0u, 4u, 8u, 12u}) {  // of the stack, from a 16-byte boundary
        DWORD result = offset;
        IMemInputPin* object = rig.transport.Get();
        asm volatile(
            "movl %%esp, %%ebx; andl $-16, %%esp; subl %%eax, %%esp; pushl %%esi; pushl %%ecx;"
            "movl (%%ecx), %%edx; call *24(%%edx); movl %%ebx, %%esp"  // Receive is in slot 6
            : "+a"(result), "+c"(object)
            : "S"(sample.Get())
            : "ebx", "edx", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
              "xmm7");
        EXPECT_EQ(HRESULT(result), S_OK);
    }
}

}  // namespace
}  // namespace nyx::test
