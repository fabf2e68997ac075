/// Engines that fail in the middle of a running graph.

#include <thread>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/heap_blocks.h"
#include "tests/support/open_handles.h"
#include "tests/support/private_bytes.h"

namespace nyx::test {
namespace {

class EngineFaults : public FilterTest {
  protected:
    void SetUp() override {
        if (row().frameSize == FrameSize::kOfTheType) {
            GTEST_SKIP() << "needs no engine";
        }
    }
};
NYX_FOR_EVERY_DECODER(EngineFaults);

/// What came of the frames that were pushed through one graph.
struct Outcome {
    int decoded = 0;
    int failed = 0;
    int others = 0;
};

Outcome PushFrames(FilterRig* rig, int frames) {
    Outcome outcome;
    const SampleProperties frame = rig->Frame();
    for (int i = 0; i < frames; ++i) {
        const HRESULT result = rig->source->Push(frame);
        ++(result == S_OK ? outcome.decoded : result == E_FAIL ? outcome.failed : outcome.others);
    }
    return outcome;
}

TEST_P(EngineFaults, CostTheirOwnFrameOnlyAndLeaveNothingBehindInAnyThread) {
    constexpr std::size_t kThreads = 4;
    constexpr int kEvery = 3;
    constexpr std::size_t kSpareBlocks = 40;  // the runtime's own, for threads that come and go
    constexpr std::size_t kSpareBytes = 4 << 20;
    const int frames = row().Rounds(250);

    std::vector<std::unique_ptr<FilterRig>> rigs;
    for (std::size_t i = 0; i < kThreads; ++i) {
        rigs.push_back(std::make_unique<FilterRig>(row()));
        rigs.back()->sink->in.keepsSamples = i == 0;
        rigs.back()->Start();
        ASSERT_EQ(rigs.back()->Push(), S_OK);
    }
    const std::vector<BYTE> sound = rigs[0]->sink->in.samples().at(0).bytes;
    rigs[0]->sink->in.keepsSamples = false;

    const auto storm = [&](const char* fault) {
        const Misbehaviour misbehaviour(fault);
        Outcome outcomes[kThreads];
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < kThreads; ++i) {
            rigs[i]->sink->in.Forget();
            threads.emplace_back([&, i] { outcomes[i] = PushFrames(rigs[i].get(), frames); });
        }
        Outcome sum;
        for (std::size_t i = 0; i < kThreads; ++i) {
            threads[i].join();
            EXPECT_EQ(rigs[i]->sink->in.sampleCount(),
                      static_cast<std::size_t>(outcomes[i].decoded));
            sum.failed += outcomes[i].failed;
            sum.others += outcomes[i].others;
        }
        EXPECT_EQ(sum.others, 0) << fault;
        EXPECT_NEAR(sum.failed, static_cast<int>(kThreads) * frames / kEvery, 1) << fault;
    };
    storm("decode:access/3");  // brings about what is allocated once
    const std::size_t blocks = LiveHeapBlocks();
    const std::size_t bytes = PrivateBytes();
    const DWORD handles = OpenHandles();
    for (const char* fault : {"decode:access/3", "decode:divide/3", "decode:throw/3"}) {
        storm(fault);
    }
    EXPECT_LE(LiveHeapBlocks(), blocks + kSpareBlocks);
    EXPECT_LE(PrivateBytes(), bytes + kSpareBytes);
    EXPECT_LE(OpenHandles(), handles + 4);

    rigs[0]->sink->in.Forget();
    rigs[0]->sink->in.keepsSamples = true;
    ASSERT_EQ(rigs[0]->Push(), S_OK) << "and streaming goes on";
    EXPECT_EQ(rigs[0]->sink->in.samples().at(0).bytes, sound);
}

TEST_P(EngineFaults, LeaveTheDestinationUntouchedOrBlack) {
    FilterRig rig(row());
    rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
    rig.Start();
    const Misbehaviour misbehaviour("decode:access");
    EXPECT_EQ(rig.Push(), E_FAIL);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    const GuardedMemory& buffer = rig.sink->in.ownAllocator->last()->memory();
    const bool yuy2 = row().outputs[0].bitCount == 16;
    const bool black = yuy2 && buffer.data()[0] == 0x10 && buffer.data()[1] == 0x80;
    for (std::size_t i = 2; i < buffer.size(); ++i) {
        ASSERT_EQ(buffer.data()[i], black ? buffer.data()[i % 2] : TestAllocator::kUnwritten) << i;
    }
}

}  // namespace
}  // namespace nyx::test
