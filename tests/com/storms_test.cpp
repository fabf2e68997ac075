/// Three threads flush, seek and stop a filter as fast as they can while a fourth pushes frames;
/// and a hundred filters at once. NYX_STORM_SECONDS makes the storms last.

#include <atomic>
#include <memory>

#include "tests/support/com_test.h"
#include "tests/support/environment.h"
#include "tests/support/filter_rig.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

std::chrono::milliseconds StormTime() {
    const int seconds = FromEnvironment("NYX_STORM_SECONDS", -1);
    return std::chrono::milliseconds(seconds < 0 ? 400 : seconds * 1000);
}

/// Does `work` over and over on a thread of its own, once at least, until told to stop.
template <class Work>
std::thread Storm(const std::atomic<bool>& go, Work work) {
    return std::thread([&go, work] {
        do {
            work();
            std::this_thread::yield();
        } while (go);
    });
}

class Storms : public FilterTest {
  protected:
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(Storms);

TEST_P(Storms, FlushesSeeksAndStopsWhileFramesFlowNeitherDeadlockNorLeaveTheFilterAskew) {
    rig.sink->in.keepsSamples = false;
    rig.Start();
    const SampleProperties frame = rig.Frame();
    MustFinish(
        "a storm of flushes, seeks and stops",
        [&] {
            std::atomic<bool> go{true};
            std::thread frames = Storm(go, [&] { rig.source->Push(frame); });
            std::thread flushes = Storm(go, [&] {
                rig.input->BeginFlush();
                rig.input->EndFlush();
            });
            std::thread seeks = Storm(go, [&] {
                rig.input->NewSegment(0, 400000, 1.0);
                rig.output.As<IQualityControl>()->Notify(rig.sink.get(),
                                                         Quality{Flood, 500, 800000, 0});
                rig.input->EndOfStream();
                OfferedTypes(rig.output);
            });
            std::thread stops = Storm(go, [&] {
                rig.filter->Stop();
                rig.filter->Pause();
                rig.filter->Run(0);
            });
            std::this_thread::sleep_for(StormTime());
            go = false;
            for (std::thread* storm : {&frames, &flushes, &seeks, &stops}) {
                storm->join();
            }
        },
        StormTime() + std::chrono::seconds(60));

    EXPECT_EQ(rig.sink->in.events().beginFlush, rig.sink->in.events().endFlush);
    ASSERT_EQ(rig.filter->Stop(), S_OK);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    const std::size_t before = rig.sink->in.sampleCount();
    EXPECT_EQ(rig.Push(), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), before + 1);
}

using ManyGraphs = ComTest;

TEST_F(ManyGraphs, AHundredGraphsAtOnceEachGiveTheirOwnPictures) {
    constexpr std::size_t kGraphs = 100;
    constexpr std::size_t kThreads = 4;
    constexpr int kFrames = 5;
    const EngineSearch engines;
    const std::vector<FilterUnderTest>& rows = CatalogueUnderTest();
    std::vector<std::unique_ptr<FilterRig>> rigs;
    for (std::size_t i = 0; i < kGraphs; ++i) {
        rigs.push_back(std::make_unique<FilterRig>(rows[i % rows.size()]));
        rigs.back()->Start();
    }
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int n = 0; n < kFrames; ++n) {
                for (std::size_t i = thread; i < kGraphs; i += kThreads) {
                    EXPECT_EQ(rigs[i]->Push(), S_OK);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < kGraphs; ++i) {
        const auto samples = rigs[i]->sink->in.samples();
        ASSERT_EQ(samples.size(), static_cast<std::size_t>(kFrames)) << i;
        // The same filter in another graph, fed by another thread, makes the same picture of it.
        const auto first = rigs[i % rows.size()]->sink->in.samples();
        for (const SampleProperties& sample : samples) {
            EXPECT_EQ(sample.bytes, first.front().bytes) << i;
        }
    }
}

}  // namespace
}  // namespace nyx::test
