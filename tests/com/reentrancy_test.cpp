/// Downstream calls back into the filter while the filter delivers to it, on the streaming thread.

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

class Reentrancy : public FilterTest {
  protected:
    /// Pushes one frame during whose delivery `call` runs, once.
    template <class Call>
    HRESULT PushAndCallBack(Call call) {
        HRESULT pushed = E_ABORT;
        rig.sink->in.onReceive = [&](IMediaSample*) {
            rig.sink->in.onReceive = nullptr;
            call();
            return S_OK;
        };
        MustFinish("a call back into the filter during Receive", [&] { pushed = rig.Push(); });
        return pushed;
    }
    /// The next frame goes its way as if nothing had been.
    void ExpectStreaming() {
        const std::size_t before = rig.sink->in.sampleCount();
        HRESULT pushed = E_ABORT;
        MustFinish("the frame after a call back", [&] { pushed = rig.Push(); });
        EXPECT_EQ(pushed, S_OK);
        EXPECT_EQ(rig.sink->in.sampleCount(), before + 1);
    }
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(Reentrancy);

TEST_P(Reentrancy, QuestionsAreAnsweredAsEver) {
    rig.Start();
    EXPECT_EQ(PushAndCallBack([&] {
                  FILTER_STATE state = State_Stopped;
                  EXPECT_EQ(rig.filter->GetState(0, &state), S_OK);
                  EXPECT_EQ(state, State_Paused);
                  EXPECT_EQ(OfferedTypes(rig.output).size(), 2 * row().outputs.size());
                  EXPECT_EQ(rig.input->QueryAccept(row().InputType(rig.picture).get()), S_OK);
                  EXPECT_TRUE(PeerOf(rig.input));
                  EXPECT_TRUE(PeerOf(rig.output));
                  ComPtr<IPin> found;
                  EXPECT_EQ(rig.filter->FindPin(L"Out", found.Put()), S_OK);
              }),
              S_OK);
    ExpectStreaming();
}

TEST_P(Reentrancy, ConnectionsCannotBeTakenApart) {
    rig.Start();
    EXPECT_EQ(PushAndCallBack([&] {
                  EXPECT_EQ(rig.output->Disconnect(), VFW_E_NOT_STOPPED);
                  EXPECT_EQ(rig.input->Disconnect(), VFW_E_NOT_STOPPED);
                  EXPECT_TRUE(FAILED(rig.output->Connect(rig.sink->pin(), nullptr)));
              }),
              S_OK);
    ExpectStreaming();
}

TEST_P(Reentrancy, AFlushInsideReceiveIsPassedOn) {
    rig.Start();
    PushAndCallBack([&] {
        EXPECT_EQ(rig.input->BeginFlush(), S_OK);
        EXPECT_EQ(rig.input->EndFlush(), S_OK);
    });
    EXPECT_EQ(rig.sink->in.events().beginFlush, 1);
    EXPECT_EQ(rig.sink->in.events().endFlush, 1);
    ExpectStreaming();
}

TEST_P(Reentrancy, SegmentsEndOfStreamAndQualityAreTaken) {
    rig.Start();
    PushAndCallBack([&] {
        EXPECT_EQ(rig.input->NewSegment(0, 100, 1.0), S_OK);
        EXPECT_EQ(rig.input->EndOfStream(), S_OK);
        rig.output.As<IQualityControl>()->Notify(rig.sink.get(), Quality{Flood, 500, 400000, 0});
    });
    EXPECT_EQ(rig.sink->in.events().newSegment, 1);
    EXPECT_EQ(rig.sink->in.events().endOfStream, 1);
    ExpectStreaming();
}

TEST_P(Reentrancy, AFrameInsideAFrameIsDecodedToo) {
    rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
    rig.Start();
    EXPECT_EQ(PushAndCallBack([&] { EXPECT_EQ(rig.Push(), S_OK); }), S_OK);
    ASSERT_EQ(rig.sink->in.sampleCount(), 2u);
    EXPECT_EQ(rig.sink->in.samples()[0].bytes, rig.sink->in.samples()[1].bytes);
    ExpectStreaming();
}

TEST_P(Reentrancy, TheFilterMayBeRunPausedAndStopped) {
    rig.Start();
    PushAndCallBack([&] {
        EXPECT_EQ(rig.filter->Run(0), S_OK);
        EXPECT_EQ(rig.filter->Pause(), S_OK);
        EXPECT_EQ(rig.filter->Stop(), S_OK);
    });
    EXPECT_EQ(rig.Push(), VFW_E_WRONG_STATE);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    ExpectStreaming();
}

}  // namespace
}  // namespace nyx::test
