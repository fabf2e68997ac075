/// The engines' libraries as they are found, refused, shared and let go, and the guard that every
/// call into them crosses.

#include <gtest/gtest.h>
#include <mmintrin.h>
#include <xmmintrin.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "codecs/fault_guard.h"
#include "tests/codecs/codecs.h"
#include "tests/support/engines.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

constexpr wchar_t kCore[] = L"rkzcore.dll";
constexpr wchar_t kAlpha[] = L"rkzalpha.dll";
constexpr wchar_t kZeta2Engine[] = L"rkz2core.dll";

template <typename Body>
void OnFourThreads(Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(body, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(SpinLock, LetsOneThreadInAtATime) {
    SpinLock lock;
    int counter = 0;
    OnFourThreads([&](int) {
        for (int i = 0; i < 2000; ++i) {
            const std::lock_guard<SpinLock> hold(lock);
            const int seen = counter;
            if (i % 64 == 0) {
                Sleep(0);  // while others wait
            }
            counter = seen + 1;
        }
    });
    EXPECT_EQ(counter, 4 * 2000);
}

TEST(Engines, AreLoadedByTheFirstUserAndFreedByTheLast) {
    std::optional<EngineUse> first;
    {
        const EngineSearch search;
        first.emplace(ZetaEngines());
    }
    EXPECT_TRUE(IsLoaded(kCore) && IsLoaded(kAlpha));
    const EngineSearch nowhere(L"none");  // a second load would now find nothing
    {
        const EngineUse second(ZetaEngines());
        first.reset();
        EXPECT_TRUE(ZetaEngines().IsComplete() && IsLoaded(kCore) && IsLoaded(kAlpha));
    }
    EXPECT_FALSE(ZetaEngines().IsComplete() || IsLoaded(kCore) || IsLoaded(kAlpha));
    EXPECT_EQ(ZetaEngines()[kZetaCoreEngine].Decode<ZetaEntry>(), nullptr);
    EXPECT_EQ(ZetaEngines()[kZetaCoreEngine].Encode<ZetaEntry>(), nullptr);
    EXPECT_EQ(ZetaEngines()[kZetaAlphaEngine].Decode<ZetaEntry>(), nullptr);
}

TEST(Engines, AreKeptWholeAndNewEnoughOrLetGoAtOnce) {
    // The old ones are a step too old, their low version words at the most.
    for (const wchar_t* folder :
         {L"", L"none", L"old", L"unversioned", L"no_encode", L"no_decode"}) {
        SCOPED_TRACE(std::wstring(folder).size());
        const bool whole = folder[0] == L'\0';
        const EngineSearch search(folder);
        const Codecs codecs;
        const EngineUse dv(DvEngines());
        for (const LONG mode : {kEngineForEncoding, kEngineForDecoding}) {
            EXPECT_EQ(CZetaCodec::IsEngineAvailable(mode), whole);
            EXPECT_EQ(CZeta2Codec::IsEngineAvailable(mode), whole);
            EXPECT_EQ(CLosslessCodec::IsEngineAvailable(mode), whole);
            EXPECT_EQ(CMpegIntraCodec::IsEngineAvailable(mode), whole && mode == 1);
        }
        EXPECT_EQ(DvEngines().IsComplete(), whole);
        for (const wchar_t* library : {kCore, kAlpha, kZeta2Engine, L"rkllc.dll", L"rkdvh.dll"}) {
            EXPECT_EQ(IsLoaded(library), whole);
        }
    }
}

TEST(Engines, AreRefusedOneByOne) {
    // A library that the process has already is found before the folders are searched.
    const HMODULE old = LoadLibraryW((EngineFolder(L"old") + L"\\" + kCore).c_str());
    {
        const EngineSearch search;
        const EngineUse use(ZetaEngines());
        EXPECT_EQ(use[kZetaCoreEngine].Decode<ZetaEntry>(), nullptr);
        EXPECT_NE(use[kZetaAlphaEngine].Decode<ZetaEntry>(), nullptr);
        EXPECT_FALSE(ZetaEngines().IsComplete());
    }
    EXPECT_TRUE(IsLoaded(kCore)) << "the process's own reference";
    FreeLibrary(old);
    EXPECT_FALSE(IsLoaded(kCore));
}

TEST(Engines, AreThereForEveryThreadThatMakesACodecWhileOthersComeAndGo) {
    const EngineSearch search;
    std::atomic<int> missing{0};
    EngineFamily* const families[] = {&ZetaEngines(), &Zeta2Engines(), &LosslessEngines(),
                                      &DvEngines()};
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    OnFourThreads([&](int round) {
        do {
            EngineFamily& family = *families[round++ % 4];
            const EngineUse use(family);
            missing += family.IsComplete() && use[0].Decode<ZetaEntry>() ? 0 : 1;
        } while (std::chrono::steady_clock::now() < end);
    });
    EXPECT_EQ(missing, 0);
    EXPECT_FALSE(IsLoaded(kCore) || IsLoaded(kAlpha) || IsLoaded(kZeta2Engine));
}

// The guard.

void Raise(DWORD code, DWORD flags = EXCEPTION_NONCONTINUABLE) {
    RaiseException(code, flags, 0, nullptr);
}
void WriteToNull() {
    volatile LONG* volatile nowhere = nullptr;  // unknown to the optimiser, which drops the rest
    *nowhere = 1;
}
void DivideByZero() {
    volatile LONG zero = 0;
    zero = 10 / zero;
}

void (*volatile nothing)() = nullptr;

struct Named {
    const char* name;
    void (*call)();
};
const Named kTaken[] = {
    {"write to null", &WriteToNull},
    {"read of high memory",
     [] { static_cast<void>(*reinterpret_cast<volatile LONG*>(0xFFFFFFF0)); }},
    {"call of null", [] { nothing(); }},
    {"divide", &DivideByZero},
    {"illegal instruction", [] { asm volatile("ud2"); }},
    {"C++ of another compiler", [] { Raise(0xE06D7363); }},
    {"an error that may be continued", [] { Raise(0xE0000001, 0); }},
    {"guard page", [] { Raise(EXCEPTION_GUARD_PAGE, 0); }},
    {"misalignment", [] { Raise(EXCEPTION_DATATYPE_MISALIGNMENT, 0); }},
    {"another language, a success code", [] { Raise(0x0EEDFADE); }},
    {"another language, informational", [] { Raise(0x4A000001); }},
    {"another language, a warning", [] { Raise(0x8A000001); }},
    {"our object", [] { throw std::runtime_error("thrown inside a guarded call"); }},
    {"our number", [] { throw 7; }},
};
__attribute__((noinline)) LONG Recurse(LONG depth) {
    volatile char page[2048];
    page[depth & 2047] = 1;
    return depth < 1 << 30 ? Recurse(depth + 1) + page[0] : 0;
}
const Named kPassedOn[] = {
    {"breakpoint", [] { asm volatile("int3"); }},
    {"lasting breakpoint", [] { Raise(EXCEPTION_BREAKPOINT); }},
    {"single step", [] { Raise(EXCEPTION_SINGLE_STEP); }},
    {"debug output", [] { Raise(0x40010006, 0); }},
    {"a warning", [] { Raise(0x8A000001, 0); }},
    {"a success code", [] { Raise(0x0EEDFADE, 0); }},
    {"a raised stack overflow", [] { Raise(EXCEPTION_STACK_OVERFLOW); }},
    {"a real stack overflow", [] { Recurse(0); }},
};

// Not by the header's intrinsics: they write through a null pointer, which may be left out.
DWORD ChainHead() {
    DWORD head;
    asm volatile("movl %%fs:0, %0" : "=r"(head) : : "memory");
    return head;
}
void SetChainHead(const void* head) {
    asm volatile("movl %0, %%fs:0" : : "r"(head) : "memory");
}

/// A handler of the host that gives up on the whole call, as its own C++ handling would.
struct HostFrame {
    EXCEPTION_REGISTRATION_RECORD registration;
    DWORD code;
    void* landing[5];
};

EXCEPTION_DISPOSITION __cdecl LandInHost(EXCEPTION_RECORD* record, void* establisher, CONTEXT*,
                                         void*) {
    if ((record->ExceptionFlags & 6) != 0) {
        return ExceptionContinueSearch;
    }
    auto* volatile frame = static_cast<HostFrame*>(establisher);
    frame->code = record->ExceptionCode;
    RtlUnwind(frame, nullptr, record, nullptr);
    __builtin_longjmp(frame->landing, 1);
}

/// What reaches the host when `call` runs guarded, 0 for nothing, 1 for a chain of handlers that is
/// not the host's afterwards; `*result` is the guard's.
__attribute__((noinline)) DWORD SeenByHost(void (*call)(), HRESULT* result) {
    HostFrame onThisStack = {};
    HostFrame* volatile frame = &onThisStack;
    frame->registration.Handler = reinterpret_cast<PEXCEPTION_ROUTINE>(&LandInHost);
    frame->registration.Next = reinterpret_cast<EXCEPTION_REGISTRATION_RECORD*>(ChainHead());
    if (__builtin_setjmp(frame->landing) == 0) {
        SetChainHead(frame);
        *result = Guarded([call] { call(); });
        frame->code = ChainHead() == reinterpret_cast<DWORD>(frame) ? 0 : 1;
    }
    SetChainHead(frame->registration.Next);
    return frame->code;
}

TEST(Guard, TakesFaultsAndLeavesTheHostWhatIsItsOwn) {
    for (const Named& fault : kTaken) {
        HRESULT result = S_OK;
        EXPECT_EQ(SeenByHost(fault.call, &result), 0u) << fault.name;
        EXPECT_EQ(result, E_FAIL) << fault.name;
        EXPECT_THROW(throw std::runtime_error("outside"), std::runtime_error);
    }
    for (const Named& event : kPassedOn) {
        std::thread([&] {
            HRESULT result = S_FALSE;
            EXPECT_NE(SeenByHost(event.call, &result), 0u) << event.name;
            EXPECT_EQ(result, S_FALSE) << event.name;
        }).join();
    }
}

LONG __stdcall Sum(LONG a, LONG b) {
    return a + b;
}
LONG __stdcall Faulting(LONG, LONG) {
    WriteToNull();
    return 0;
}

TEST(Guard, StoresTheResultOnlyOfACallThatReturned) {
    LONG returned = -7;
    EXPECT_EQ(CallEngine(&returned, &Sum, LONG{40}, LONG{2}), S_OK);
    EXPECT_EQ(returned, 42);
    EXPECT_EQ(CallEngine(&returned, &Faulting, LONG{1}, LONG{2}), E_FAIL);
    EXPECT_EQ(CallEngine(&returned, decltype(&Sum){nullptr}, LONG{1}, LONG{2}), E_FAIL);
    EXPECT_EQ(returned, 42);
    EXPECT_EQ(GuardedResult([] { return S_FALSE; }), S_FALSE);
    auto nested = [] {
        EXPECT_EQ(Guarded(&WriteToNull), E_FAIL);
        DivideByZero();
    };
    EXPECT_EQ(Guarded(nested), E_FAIL);
}

TEST(Guard, LosesNeitherMemoryNorStack) {
    const DWORD chain = ChainHead();
    std::set<void*> frames;
    ExpectNoLeak(40, [&] {
        for (const Named& fault : kTaken) {
            const HRESULT result = Guarded([&] {
                frames.insert(__builtin_frame_address(0));
                fault.call();
            });
            EXPECT_EQ(std::pair(result, ChainHead()), std::pair(E_FAIL, chain)) << fault.name;
        }
    });
    EXPECT_EQ(frames.size(), 1u);
}

TEST(Guard, GivesTheFloatingPointStateBack) {
    WORD control = 0, after = 0;
    asm volatile("fnstcw %0" : "=m"(control));
    const unsigned mxcsr = _mm_getcsr();
    for (const bool fault : {false, true}) {
        Guarded([&] {
            const WORD truncating = 0x0C7F;  // and single precision
            asm volatile("fldcw %0" : : "m"(truncating));
            _mm_setcsr(mxcsr | 0xE040);                 // truncating, denormals to zero
            asm volatile("movd %0, %%mm0" : : "r"(1));  // and the x87 registers taken by MMX
            if (fault) {
                WriteToNull();
            }
        });
        asm volatile("fnstcw %0" : "=m"(after));
        EXPECT_EQ(after, control);
        EXPECT_EQ(_mm_getcsr(), mxcsr);
        volatile long double third = 1.0L;
        third = third / 3;
        EXPECT_EQ(third * 3, 1.0L) << fault;
    }
}

}  // namespace
}  // namespace nyx::test
