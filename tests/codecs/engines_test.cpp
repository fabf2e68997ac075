/// How the engines' libraries are found, refused, shared and freed, and the guard around every call
/// into them.

#include <mmintrin.h>
#include <xmmintrin.h>

#include <stdexcept>
#include <tuple>

#include "codecs/fault_guard.h"
#include "codecs/guard_frame.h"
#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

TEST(Engines, AreLoadedByTheFirstUserAndFreedByTheLast) {
    std::optional<EngineUse> first;
    {
        const EngineSearch search;
        first.emplace(zetaEngines);
    }
    const EngineSearch nowhere(L"none");  // a second load would now find nothing
    {
        const EngineUse second(zetaEngines);
        first.reset();
        EXPECT_TRUE(zetaEngines.IsComplete() && IsLoaded(kCore) && IsLoaded(kAlpha));
    }
    EXPECT_FALSE(zetaEngines.IsComplete() || IsLoaded(kCore) || IsLoaded(kAlpha));
    for (const std::size_t engine : {kZetaCoreEngine, kZetaAlphaEngine}) {
        EXPECT_EQ(zetaEngines[engine].Decode<ZetaEntry>(), nullptr);
        EXPECT_EQ(zetaEngines[engine].Encode<ZetaEntry>(), nullptr);
    }
}

TEST(Engines, AreKeptIfWholeAndNewEnoughElseFreedAtOnce) {
    // The old ones are one version too old; the low words of their versions are the greatest.
    for (const wchar_t* folder :
         {L"", L"none", L"old", L"unversioned", L"no_encode", L"no_decode"}) {
        SCOPED_TRACE(std::wstring(folder).size());
        const bool whole = folder[0] == L'\0';
        const EngineSearch search(folder);
        const Codecs codecs;
        const EngineUse dv(dvEngines);
        EXPECT_EQ(CZetaCodec::IsEngineAvailable(kEngineForEncoding), whole);
        EXPECT_EQ(CZeta2Codec::IsEngineAvailable(kEngineForDecoding), whole);
        EXPECT_EQ(CLosslessCodec::IsEngineAvailable(kEngineForDecoding), whole);
        EXPECT_EQ(CMpegIntraCodec::IsEngineAvailable(kEngineForDecoding), whole);
        EXPECT_FALSE(CMpegIntraCodec::IsEngineAvailable(kEngineForEncoding));
        EXPECT_EQ(dvEngines.IsComplete(), whole);
        for (const wchar_t* library : {kCore, kAlpha, kZeta2Core, kLlc, L"rkdvh.dll"}) {
            EXPECT_EQ(IsLoaded(library), whole);
        }
    }
}

TEST(Engines, AreRefusedOneByOne) {
    // The loader finds a library that the process has loaded before it searches the folders.
    const HMODULE old = LoadLibraryW((EngineFolder(L"old") + L"\\" + kCore).c_str());
    const EngineSearch search;
    {
        const EngineUse use(zetaEngines);
        EXPECT_TRUE(!use[kZetaCoreEngine].Decode<ZetaEntry>() && !zetaEngines.IsComplete());
        EXPECT_TRUE(use[kZetaAlphaEngine].Decode<ZetaEntry>());
    }
    EXPECT_TRUE(IsLoaded(kCore)) << "the process's own reference";
    FreeLibrary(old);
    EXPECT_FALSE(IsLoaded(kCore));
}

// The guard.

void Raise(DWORD code, DWORD flags = EXCEPTION_NONCONTINUABLE) {
    RaiseException(code, flags, 0, nullptr);
}
void WriteToNull() {
    volatile LONG* volatile nowhere = nullptr;  // hides the null from the optimiser
    *nowhere = 1;
}
LONG __stdcall Quotient(LONG a, LONG b) {
    volatile LONG quotient = b;
    quotient = a / quotient;
    return quotient;
}

/// An event in a guarded call.
struct Event {
    const char* name;
    void (*call)();
    bool taken = true;         ///< by the guard; it leaves the others to the host
    HRESULT result = S_FALSE;  ///< the guard's
};
__attribute__((noinline)) LONG Recurse(LONG depth) {
    volatile char page[2048];
    page[depth & 2047] = 1;
    return depth < 1 << 30 ? Recurse(depth + 1) + page[0] : 0;
}
const Event kEvents[] = {
    {"write to null", &WriteToNull},
    {"divide", [] { Quotient(1, 0); }},
    {"illegal instruction", [] { asm volatile("ud2"); }},
    {"C++ of another compiler", [] { Raise(0xE06D7363); }},
    {"an error that may be continued", [] { Raise(0xE0000001, 0); }},
    {"guard page", [] { Raise(EXCEPTION_GUARD_PAGE, 0); }},
    {"misalignment", [] { Raise(EXCEPTION_DATATYPE_MISALIGNMENT, 0); }},
    {"another language, a success code", [] { Raise(0x0EEDFADE); }},
    {"another language, a warning", [] { Raise(0x8A000001); }},
    {"our object", [] { throw std::runtime_error("thrown inside a guarded call"); }},
    {"breakpoint", [] { asm volatile("int3"); }, false},
    {"lasting breakpoint", [] { Raise(EXCEPTION_BREAKPOINT); }, false},
    {"single step", [] { Raise(EXCEPTION_SINGLE_STEP); }, false},
    {"debug output", [] { Raise(0x40010006, 0); }, false},
    {"a warning", [] { Raise(0x8A000001, 0); }, false},
    {"a success code", [] { Raise(0x0EEDFADE, 0); }, false},
    {"a raised stack overflow", [] { Raise(EXCEPTION_STACK_OVERFLOW); }, false},
    {"a real stack overflow", [] { Recurse(0); }, false},
};

constexpr DWORD kOfTheHost = 0xE0000002;

DWORD WINAPI RunGuarded(void* context) {
    auto& event = *static_cast<Event*>(context);
    event.result = Guarded([&] { event.call(); });
    EXPECT_THROW(throw std::runtime_error("outside"), std::runtime_error);
    Raise(kOfTheHost);  // the guard must not handle it
    return 0;
}

/// The host's filter for unhandled exceptions ends the thread, which may have no stack left.
LONG WINAPI EndThread(EXCEPTION_POINTERS* pointers) {
    return TerminateThread(GetCurrentThread(), pointers->ExceptionRecord->ExceptionCode), 0;
}

TEST(Guard, TakesFaultsAndLeavesTheHostWhatIsItsOwn) {
    const auto before = SetUnhandledExceptionFilter(&EndThread);
    for (Event event : kEvents) {
        const HANDLE handle = CreateThread(nullptr, 0, &RunGuarded, &event, 0, nullptr);
        DWORD seen = 0;
        WaitForSingleObject(handle, INFINITE);
        GetExitCodeThread(handle, &seen);
        CloseHandle(handle);
        EXPECT_EQ(seen == kOfTheHost, event.taken) << event.name << std::hex << seen;
        EXPECT_EQ(event.result, event.taken ? E_FAIL : S_FALSE) << event.name;
    }
    SetUnhandledExceptionFilter(before);
    if (sizeof(void*) == 8) {  // where C++ is unwound by the same tables
        EXPECT_THROW(CallInFrame([](void*) { throw 1; }, nullptr), int);
    }
}

TEST(Guard, StoresTheResultOnlyOfACallThatReturned) {
    LONG returned = -7;
    EXPECT_EQ(CallEngine(&returned, &Quotient, LONG{84}, LONG{2}), S_OK);
    EXPECT_EQ(returned, 42);
    EXPECT_EQ(CallEngine(&returned, &Quotient, LONG{1}, LONG{0}), E_FAIL);
    EXPECT_EQ(CallEngine(&returned, decltype(&Quotient){nullptr}, LONG{1}, LONG{2}), E_FAIL);
    EXPECT_EQ(returned, 42);
    EXPECT_EQ(GuardedResult([] { return S_FALSE; }), S_FALSE);
    auto nested = [] {
        EXPECT_EQ(Guarded(&WriteToNull), E_FAIL);
        WriteToNull();
    };
    EXPECT_EQ(Guarded(nested), E_FAIL);
}

TEST(Guard, GivesTheProcessorsStateBack) {
    const WORD control = 0x037B;  // dividing by zero faults
    WORD after = 0;
    DWORD_PTR flags = 0;
    asm volatile("fldcw %0" : : "m"(control));
    const unsigned mxcsr = _mm_getcsr();
    std::ignore = Guarded([&] {
        const WORD truncating = 0x0C7F;  // in single precision, without faults
        asm volatile("fldcw %0; fld1; fldz; fdivrp" : : "m"(truncating));
        _mm_setcsr(mxcsr | 0xE040);                 // truncating, denormals to zero
        asm volatile("movd %0, %%mm0" : : "r"(1));  // the x87 registers taken by MMX
        WriteToNull();
    });
    asm volatile("fnstcw %0" : "=m"(after));
    EXPECT_EQ(std::pair(after, _mm_getcsr()), std::pair(control, mxcsr));
    volatile long double third = 1.0L;
    third = third / 3;
    EXPECT_EQ(third * 3, 1.0L);
    asm volatile("fninit");
    std::ignore = Guarded([] { asm volatile("std"); });
    asm volatile("pushf; pop %0" : "=r"(flags));
    EXPECT_EQ(flags & 0x400, 0u) << "the direction of strings";
}

}  // namespace
}  // namespace nyx::test
