#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

constexpr REFERENCE_TIME kFrame = 400000;  // 25 frames per second, 100-ns units

Quality Late(REFERENCE_TIME by) {
    return {Flood, 1000, by, 0};
}

class QualityControl : public FilterTest {
  protected:
    HRESULT Notify(const Quality& message) {
        return rig.output.As<IQualityControl>()->Notify(rig.sink.get(), message);
    }
    /// Pushes frame `n` of a stream of sync points with proper times.
    HRESULT PushTimed(int n, bool withStop = true) {
        SampleProperties sample = rig.Frame();
        sample.start = n * kFrame;
        if (withStop) {
            sample.stop = *sample.start + kFrame;
        }
        return rig.source->Push(sample);
    }
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(QualityControl);

TEST_P(QualityControl, TheRendererIsLeftToHandleLatenessItself) {
    rig.Start();
    EXPECT_EQ(Notify(Late(0)), E_FAIL);
    EXPECT_EQ(rig.source->out.qualityMessages, 0) << "nothing is passed upstream";
}

TEST_P(QualityControl, AStreamThatIsNotLateLosesNoFrame) {
    rig.Start();
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(PushTimed(i), S_OK);
        Notify(Late(kFrame / 2));
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 10u);
    EXPECT_EQ(rig.graph->Count(EC_QUALITY_CHANGE), 0);
}

TEST_P(QualityControl, ALateStreamDropsFramesUntilItHasCaughtUpAndTellsTheGraphOnce) {
    rig.Start();
    EXPECT_EQ(PushTimed(0), S_OK);
    ASSERT_EQ(rig.sink->in.sampleCount(), 1u);
    Notify(Late(3 * kFrame));
    for (int i = 1; i < 20; ++i) {
        EXPECT_EQ(PushTimed(i), S_OK) << "a dropped frame is no error";
    }
    const std::size_t delivered = rig.sink->in.sampleCount();
    EXPECT_LT(delivered, 20u);
    EXPECT_GT(delivered, 10u);
    EXPECT_EQ(rig.graph->Count(EC_QUALITY_CHANGE), 1);
}

TEST_P(QualityControl, AFrameWithoutAStopTimeIsNeverDropped) {
    rig.Start();
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(PushTimed(i, false), S_OK);
        Notify(Late(10 * kFrame));
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 10u);
}

TEST_P(QualityControl, StoppingForgetsTheLateness) {
    rig.Start();
    EXPECT_EQ(PushTimed(0), S_OK);
    Notify(Late(50 * kFrame));
    rig.filter->Stop();
    rig.filter->Pause();
    rig.sink->in.Forget();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(PushTimed(i), S_OK);
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 5u);
}

TEST_P(QualityControl, AMessageFromAnotherThreadDuringReceiveNeverDeadlocks) {
    rig.Start();
    rig.sink->in.onReceive = [&](IMediaSample*) {
        std::thread([&] { Notify(Late(kFrame)); }).join();
        return S_OK;
    };
    MustFinish("a quality message during Receive", [&] { EXPECT_EQ(rig.Push(), S_OK); });
}

}  // namespace
}  // namespace nyx::test
