#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

class FlushingAndEos : public FilterTest {
  protected:
    SinkEvents events() { return rig.sink->in.events(); }
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(FlushingAndEos);

TEST_P(FlushingAndEos, EndOfStreamIsPassedOnEachTime) {
    rig.Start();
    EXPECT_EQ(rig.input->EndOfStream(), S_OK);
    EXPECT_EQ(events().endOfStream, 1);
    rig.sink->in.endOfStreamResult = E_ABORT;
    EXPECT_EQ(rig.input->EndOfStream(), E_ABORT) << "downstream's answer comes back";
    EXPECT_EQ(events().endOfStream, 2);
    EXPECT_EQ(rig.Push(), S_OK) << "and frames are still delivered";
    EXPECT_EQ(rig.sink->in.sampleCount(), 1u);
}

TEST_P(FlushingAndEos, WhenStoppedNothingIsReceivedAndNoEndOfStreamPassesOn) {
    rig.Connect();
    EXPECT_EQ(rig.Push(), VFW_E_WRONG_STATE);
    EXPECT_EQ(rig.input->EndOfStream(), VFW_E_WRONG_STATE);
    EXPECT_EQ(events().endOfStream, 0);
}

TEST_P(FlushingAndEos, ANewSegmentIsPassedOnOnce) {
    rig.Start();
    EXPECT_EQ(rig.input->NewSegment(10000, 20000, 1.5), S_OK);
    EXPECT_EQ(events().newSegment, 1);
    EXPECT_EQ(events().segment, (Interval{10000, 20000}));
    EXPECT_EQ(events().rate, 1.5);
}

TEST_P(FlushingAndEos, FlushesArePassedOnOnceAndTurnSamplesAndEndOfStreamAway) {
    rig.Start();
    ASSERT_EQ(rig.input->BeginFlush(), S_OK);
    EXPECT_EQ(events().beginFlush, 1);
    EXPECT_EQ(events().endFlush, 0);
    EXPECT_EQ(rig.Push(), S_FALSE);
    EXPECT_EQ(rig.input->EndOfStream(), S_FALSE);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    EXPECT_EQ(events().endOfStream, 0);
    ASSERT_EQ(rig.input->EndFlush(), S_OK);
    EXPECT_EQ(events().beginFlush, 1);
    EXPECT_EQ(events().endFlush, 1);
    EXPECT_EQ(rig.Push(), S_OK);
    EXPECT_EQ(rig.input->EndOfStream(), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 1u);
    EXPECT_EQ(events().endOfStream, 1);
}

TEST_P(FlushingAndEos, FlushingWithOneSideUnconnectedIsNotConnected) {
    EXPECT_EQ(rig.input->BeginFlush(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(rig.input->EndFlush(), VFW_E_NOT_CONNECTED);
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    EXPECT_EQ(rig.input->EndFlush(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(rig.input->BeginFlush(), VFW_E_NOT_CONNECTED);
    ASSERT_EQ(rig.ConnectOutput(), S_OK);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    EXPECT_EQ(rig.Push(), S_OK) << "a refused flush leaves nothing behind";
}

TEST_P(FlushingAndEos, TheOutputPinTakesNoStreamCalls) {
    rig.Start();
    EXPECT_EQ(rig.output->EndOfStream(), E_UNEXPECTED);
    EXPECT_EQ(rig.output->BeginFlush(), E_UNEXPECTED);
    EXPECT_EQ(rig.output->EndFlush(), E_UNEXPECTED);
    EXPECT_EQ(events().endOfStream + events().beginFlush + events().endFlush, 0);
}

TEST_P(FlushingAndEos, AFlushFreesAThreadThatWaitsDownstream) {
    rig.Start();
    std::promise<void> inside;
    std::promise<void> go;
    rig.sink->in.onReceive = [&](IMediaSample*) {
        inside.set_value();
        go.get_future().wait();
        return S_FALSE;
    };
    MustFinish("BeginFlush while Receive waits downstream", [&] {
        std::thread upstream([&] { rig.Push(); });
        inside.get_future().wait();
        // Downstream lets its waiting thread go when it is told to flush.
        std::thread release([&] {
            while (events().beginFlush == 0) {
                std::this_thread::yield();
            }
            go.set_value();
        });
        EXPECT_EQ(rig.input->BeginFlush(), S_OK);
        upstream.join();
        release.join();
        EXPECT_EQ(rig.input->EndFlush(), S_OK);
    });
    rig.sink->in.onReceive = nullptr;
    EXPECT_EQ(rig.Push(), S_OK);
}

}  // namespace
}  // namespace nyx::test
