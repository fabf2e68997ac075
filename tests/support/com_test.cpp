#include "tests/support/com_test.h"

#include <cstdio>

#include "tests/support/loaded_module.h"
#include "tests/support/task_memory.h"
#include "tests/support/test_object.h"

namespace nyx::test {
namespace {

/// Ends the program as failed. Otherwise the runtime's debugger takes a crash over, and the exit
/// code that it leaves may say success.
LONG WINAPI EndOnCrash(EXCEPTION_POINTERS* crash) {
    std::printf("crash %08lX at %p\n", crash->ExceptionRecord->ExceptionCode,
                crash->ExceptionRecord->ExceptionAddress);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

/// COM for the whole program. What the runtime allocates once, on the first use of its DirectShow
/// objects, is brought about here, before the leak checks begin.
class ComEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        SetUnhandledExceptionFilter(EndOnCrash);
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        for (const CLSID& clsid : {CLSID_MemoryAllocator, CLSID_SeekingPassThru}) {
            ComPtr<IUnknown> object;
            ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                       object.PutVoid()),
                      S_OK);
        }
        WatchTaskMemory();
    }
    void TearDown() override { CoUninitialize(); }
};

[[maybe_unused]] const auto* const environment =
    ::testing::AddGlobalTestEnvironment(new ComEnvironment);

}  // namespace

ComTest::ComTest() : taskMemoryBefore_(LiveTaskMemoryBlocks()) {}

ComTest::~ComTest() {
    EXPECT_EQ(CountedObject::Alive(), 0) << "the module still holds objects of the host";
    EXPECT_EQ(Module().CanUnloadNow(), S_OK) << "objects of the module are still alive";
    if (watchesTaskMemory_) {
        EXPECT_EQ(LiveTaskMemoryBlocks(), taskMemoryBefore_) << "task memory was lost";
    }
}

}  // namespace nyx::test
