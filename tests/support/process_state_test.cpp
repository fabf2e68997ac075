#include "tests/support/process_state.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace nyx::test {
namespace {

TEST(ProcessState, CountsWhatIsTakenAndGivenBack) {
    const ProcessState before = ReadProcessState();
    constexpr std::size_t kBytes = 8 << 20;
    void* memory = VirtualAlloc(nullptr, kBytes, MEM_COMMIT, PAGE_READWRITE);
    std::memset(memory, 1, kBytes);
    const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    const HPEN pen = CreatePen(PS_SOLID, 1, 0);
    std::thread thread([event] { WaitForSingleObject(event, INFINITE); });

    const ProcessState during = ReadProcessState();
    EXPECT_GE(during.committedBytes, before.committedBytes + kBytes);
    EXPECT_GT(during.heapBlocks, 0u);
    EXPECT_GE(during.handles, before.handles + 2) << "event and thread";
    EXPECT_EQ(during.gdiObjects, before.gdiObjects + 1);
    EXPECT_EQ(during.threads, before.threads + 1);

    SetEvent(event);
    thread.join();
    DeleteObject(pen);
    CloseHandle(event);
    VirtualFree(memory, 0, MEM_RELEASE);
    const ProcessState after = ReadProcessState();
    EXPECT_LT(after.committedBytes, before.committedBytes + kBytes / 2);
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.threads, before.threads);
}

}  // namespace
}  // namespace nyx::test
