#include "codecs/fault_guard.h"

#include <gtest/gtest.h>
#include <mmintrin.h>
#include <xmmintrin.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <thread>
#include <vector>

#include "codecs/row_callbacks.h"
#include "tests/support/engines.h"
#include "tests/support/private_bytes.h"

namespace nyx {
namespace {

void WriteToNull() {
    volatile LONG* volatile nowhere = nullptr;  // unknown to the optimiser, which drops the rest
    *nowhere = 1;
}

void ReadHighMemory() {
    static_cast<void>(*reinterpret_cast<volatile LONG*>(0xFFFFFFF0));
}

void CallNull() {
    void (*volatile nothing)() = nullptr;
    nothing();
}

volatile LONG sink;

void DivideByZero() {
    volatile LONG dividend = 10;
    volatile LONG zero = 0;
    sink = dividend / zero;
}

void IllegalInstruction() {
    asm volatile("ud2");
}

void RaiseForeign() {
    const ULONG_PTR arguments[] = {0x19930520, 0, 0};
    RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 3, arguments);
}

void RaiseOfAnotherLanguage() {
    RaiseException(0x0EEDFADE, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void RaiseSuccess() {
    RaiseException(1, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void ThrowOurs() {
    throw std::runtime_error("thrown inside a guarded call");
}

void ThrowNumber() {
    throw 7;
}

using Fault = void (*)();
struct NamedFault {
    const char* name;
    Fault fault;
};
const NamedFault kFaults[] = {
    {"write to null", &WriteToNull},
    {"read of high memory", &ReadHighMemory},
    {"call of null", &CallNull},
    {"divide", &DivideByZero},
    {"illegal instruction", &IllegalInstruction},
    {"foreign C++ exception", &RaiseForeign},
    {"another language's exception", &RaiseOfAnotherLanguage},
    {"a success that cannot be continued", &RaiseSuccess},
    {"thrown object", &ThrowOurs},
    {"thrown number", &ThrowNumber},
};

HRESULT GuardedFault(Fault fault) {
    return Guarded([fault] { fault(); });
}

// Not by the header's intrinsics: they write through a null pointer, which may be left out.
DWORD ChainHead() {
    DWORD head;
    asm volatile("movl %%fs:0, %0" : "=r"(head) : : "memory");
    return head;
}

void SetChainHead(const void* head) {
    asm volatile("movl %0, %%fs:0" : : "r"(head) : "memory");
}

TEST(Guard, AnswersEveryKindOfFaultWithFailure) {
    for (const NamedFault& fault : kFaults) {
        const DWORD chain = ChainHead();
        EXPECT_EQ(GuardedFault(fault.fault), E_FAIL) << fault.name;
        EXPECT_EQ(ChainHead(), chain) << fault.name;
    }
}

TEST(Guard, AnswersAPageThatWarnsOfItsFirstUseWithFailure) {
    void* const page = VirtualAlloc(nullptr, 1, MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD);
    auto read = [page] { static_cast<void>(*static_cast<volatile LONG*>(page)); };
    EXPECT_EQ(Guarded(read), E_FAIL);
    EXPECT_EQ(Guarded(read), S_OK) << "it warns once";
    VirtualFree(page, 0, MEM_RELEASE);
}

TEST(Guard, LetsACallThatReturnsThrough) {
    LONG value = 0;
    EXPECT_EQ(Guarded([&] { value = 42; }), S_OK);
    EXPECT_EQ(value, 42);
}

LONG __stdcall Sum(LONG a, LONG b) {
    return a + b;
}

LONG __stdcall Faulting(LONG, LONG) {
    WriteToNull();
    return 0;
}

TEST(CallEngine, StoresTheResultOnlyOfACallThatReturned) {
    LONG returned = -7;
    EXPECT_EQ(CallEngine(&returned, &Sum, LONG{40}, LONG{2}), S_OK);
    EXPECT_EQ(returned, 42);
    EXPECT_EQ(CallEngine(&returned, &Faulting, LONG{1}, LONG{2}), E_FAIL);
    EXPECT_EQ(CallEngine(&returned, decltype(&Sum){nullptr}, LONG{1}, LONG{2}), E_FAIL);
    EXPECT_EQ(returned, 42);
}

TEST(Guard, HoldsThousandsOfFaultsOnManyThreadsWithoutALeak) {
    constexpr int kRounds = 600;
    std::atomic<int> wrong{0};
    const auto storm = [&] {
        const DWORD chain = ChainHead();
        for (int round = 0; round < kRounds; ++round) {
            for (const NamedFault& fault : kFaults) {
                wrong += GuardedFault(fault.fault) == E_FAIL && ChainHead() == chain ? 0 : 1;
            }
        }
    };
    const auto onFourThreads = [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(storm);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    onFourThreads();  // the runtime's first-use allocations
    const std::size_t before = test::PrivateBytes();
    onFourThreads();
    const std::size_t after = test::PrivateBytes();
    EXPECT_EQ(wrong, 0);
    // 21,600 faults: even 12 bytes each would show.
    EXPECT_LT(after, before + 256 * 1024);
}

/// Where the stack stands inside a guarded call.
std::uintptr_t StackInside() {
    std::uintptr_t inside = 0;
    Guarded([&] { inside = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); });
    return inside;
}

TEST(Guard, LeavesTheStackWhereItWas) {
    const std::uintptr_t before = StackInside();
    for (int i = 0; i < 1000; ++i) {
        GuardedFault(kFaults[static_cast<std::size_t>(i) % std::size(kFaults)].fault);
    }
    EXPECT_EQ(StackInside(), before);
}

TEST(Guard, NestsInsideAnotherGuard) {
    HRESULT inner = S_OK;
    const HRESULT outer = Guarded([&] {
        inner = GuardedFault(&WriteToNull);
        DivideByZero();
    });
    EXPECT_EQ(inner, E_FAIL);
    EXPECT_EQ(outer, E_FAIL);
}

TEST(Guard, LetsOurOwnThrowsOutsideItAlone) {
    for (int i = 0; i < 100; ++i) {
        GuardedFault(&WriteToNull);
        EXPECT_THROW(ThrowOurs(), std::runtime_error);
    }
}

/// A handler of the host, registered outside the guard: notes the code and has execution go on.
struct HostFrame {
    EXCEPTION_REGISTRATION_RECORD registration;
    DWORD code;
};

EXCEPTION_DISPOSITION __cdecl NoteAndContinue(EXCEPTION_RECORD* record, void* frame,
                                              CONTEXT* context, void*) {
    static_cast<HostFrame*>(frame)->code = record->ExceptionCode;
    if (record->ExceptionCode == EXCEPTION_BREAKPOINT &&
        *reinterpret_cast<const BYTE*>(context->Eip) == 0xCC) {
        ++context->Eip;
    }
    return ExceptionContinueExecution;
}

/// What reaches the host's handler when `call` runs guarded.
template <typename Call>
DWORD SeenByHost(Call call, HRESULT* result) {
    HostFrame frame = {};
    frame.registration.Handler = reinterpret_cast<PEXCEPTION_ROUTINE>(&NoteAndContinue);
    frame.registration.Next = reinterpret_cast<EXCEPTION_REGISTRATION_RECORD*>(ChainHead());
    SetChainHead(&frame);
    *result = Guarded(call);
    SetChainHead(frame.registration.Next);
    return frame.code;
}

TEST(Guard, PassesOnWhatIsTheHostsBusiness) {
    const DWORD codes[] = {
        EXCEPTION_STACK_OVERFLOW, EXCEPTION_SINGLE_STEP,
        0x40010006,  // debug output
    };
    for (DWORD code : codes) {
        HRESULT result = E_FAIL;
        const DWORD seen = SeenByHost([&] { RaiseException(code, 0, 0, nullptr); }, &result);
        EXPECT_EQ(seen, code);
        EXPECT_EQ(result, S_OK) << std::hex << code;  // the host had it go on
    }
    HRESULT result = E_FAIL;
    EXPECT_EQ(SeenByHost([] { asm volatile("int3"); }, &result), DWORD{EXCEPTION_BREAKPOINT});
    EXPECT_EQ(result, S_OK);
}

TEST(Guard, KeepsFaultsFromTheHost) {
    for (const NamedFault& fault : kFaults) {
        HRESULT result = S_OK;
        EXPECT_EQ(SeenByHost([&] { fault.fault(); }, &result), 0u) << fault.name;
        EXPECT_EQ(result, E_FAIL) << fault.name;
    }
}

/// A host's handler that gives up on the whole call, as its own C++ or structured handling would.
struct HostLanding {
    EXCEPTION_REGISTRATION_RECORD registration;
    DWORD code;
    void* landing[5];
};

EXCEPTION_DISPOSITION __cdecl LandInHost(EXCEPTION_RECORD* record, void* establisher, CONTEXT*,
                                         void*) {
    if ((record->ExceptionFlags & 6) != 0) {
        return ExceptionContinueSearch;
    }
    auto* volatile frame = static_cast<HostLanding*>(establisher);
    frame->code = record->ExceptionCode;
    RtlUnwind(frame, nullptr, record, nullptr);
    __builtin_longjmp(frame->landing, 1);
}

__attribute__((noinline)) LONG Recurse(volatile LONG* depth) {
    volatile char page[2048];
    page[0] = static_cast<char>(*depth);
    *depth = *depth + 1;
    return *depth < 1 << 30 ? Recurse(depth) + page[0] : 0;
}

__attribute__((noinline)) void OverflowUnderHost(DWORD* seen) {
    HostLanding onThisStack = {};
    HostLanding* volatile frame = &onThisStack;
    frame->registration.Handler = reinterpret_cast<PEXCEPTION_ROUTINE>(&LandInHost);
    frame->registration.Next = reinterpret_cast<EXCEPTION_REGISTRATION_RECORD*>(ChainHead());
    if (__builtin_setjmp(frame->landing) == 0) {
        SetChainHead(&frame->registration);
        volatile LONG depth = 0;
        Guarded([&] { Recurse(&depth); });
    }
    SetChainHead(frame->registration.Next);
    *seen = frame->code;
}

TEST(Guard, PassesOnARealStackOverflow) {
    DWORD seen = 0;
    std::thread([&] { OverflowUnderHost(&seen); }).join();
    EXPECT_EQ(seen, DWORD{EXCEPTION_STACK_OVERFLOW});
}

WORD X87Control() {
    WORD control;
    asm volatile("fnstcw %0" : "=m"(control));
    return control;
}

void SetX87Control(WORD control) {
    asm volatile("fldcw %0" : : "m"(control));
}

TEST(Guard, GivesTheFloatingPointStateBack) {
    const WORD control = X87Control();
    const unsigned mxcsr = _mm_getcsr();
    for (bool fault : {false, true}) {
        Guarded([&] {
            SetX87Control(0x0C7F);                      // single precision, truncating
            _mm_setcsr(mxcsr | 0xE040);                 // truncating, denormals to zero
            asm volatile("movd %0, %%mm0" : : "r"(1));  // and the x87 registers taken by MMX
            if (fault) {
                WriteToNull();
            }
        });
        EXPECT_EQ(X87Control(), control) << fault;
        EXPECT_EQ(_mm_getcsr(), mxcsr) << fault;
        volatile long double third = 1.0L;
        third = third / 3;
        EXPECT_EQ(third * 3, 1.0L) << fault;
    }
}

}  // namespace
}  // namespace nyx
