#include <thread>

#include "tests/baseclasses/passthrough.h"

namespace nyx::test {
namespace {

using Calls = std::vector<std::string>;

class TransformFilter : public PassthroughTest {
  protected:
    FILTER_STATE State() {
        FILTER_STATE state{};
        EXPECT_EQ(filter->GetState(0, &state), S_OK);
        return state;
    }
};

TEST_F(TransformFilter, StreamingStartsAndStopsOncePerRun) {
    Connect();
    EXPECT_EQ(filter->Run(0), S_OK);
    EXPECT_EQ(filter->Pause(), S_OK);
    EXPECT_EQ(filter->Run(0), S_OK);
    EXPECT_EQ(filter->Stop(), S_OK);
    EXPECT_EQ(filter->Stop(), S_OK);
    EXPECT_EQ(filter->log, (Calls{"Start", "Stop"}));
}

/// An output pin that only counts the ends of the stream.
class CountingOutput : public CTransformOutputPin {
  public:
    CountingOutput(CTransformFilter* owner, HRESULT* phr)
        : CTransformOutputPin(NAME("Counting"), owner, phr, L"Counting") {}
    int ends = 0;
    HRESULT DeliverEndOfStream() override { return ++ends, S_OK; }
};

/// Makes its own pins, as a derived filter may.
class OwnPins : public Passthrough {
  public:
    CBasePin* GetPin(int n) override {
        HRESULT hr = S_OK;
        if (!m_pInput) {
            m_pInput = new CTransformInputPin(NAME("In"), this, &hr, L"In");
            m_pOutput = new CountingOutput(this, &hr);
        }
        return Passthrough::GetPin(n);
    }
    int Ends() const { return static_cast<CountingOutput*>(m_pOutput)->ends; }
};

TEST_F(TransformFilter, WithoutInputPausingSendsTheEndOfStreamOncePerRun) {
    const ComPtr<OwnPins> own(new OwnPins);
    own->GetPin(0);
    for (int runs = 1; runs <= 2; ++runs) {
        EXPECT_EQ(own->Run(0), S_OK);
        EXPECT_EQ(own->Pause(), S_OK);
        EXPECT_EQ(own->Ends(), runs);
        EXPECT_EQ(own->Stop(), S_OK);
    }
    EXPECT_TRUE(own->log.empty()) << "nothing streams";
}

TEST_F(TransformFilter, AStreamThatCannotStartLeavesTheFilterStopped) {
    Connect();
    filter->startResult = E_ABORT;
    EXPECT_EQ(filter->Run(0), E_ABORT);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(Push(), VFW_E_WRONG_STATE);
    filter->startResult = S_OK;
    EXPECT_EQ(filter->Run(0), S_OK);
}

TEST_F(TransformFilter, APinThatCannotBeActivatedStopsTheStreamAgain) {
    Connect();
    sink->in.allocator()->Commit();
    ComPtr<IMediaSample> held;
    ASSERT_EQ(sink->in.allocator()->GetBuffer(held.Put(), nullptr, nullptr, 0), S_OK);
    filter->Output()->BreakConnect();
    filter->log.clear();
    EXPECT_EQ(filter->Pause(), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(filter->log, (Calls{"Start", "Stop"}));
}

TEST_F(TransformFilter, StopWaitsForTheFrameUnderWay) {
    Start();
    std::thread stopper;
    filter->onTransform = [&] {
        stopper = std::thread([&] { filter->Stop(); });
        Sleep(30);
        EXPECT_EQ(State(), State_Paused) << "not while a frame is being made";
    };
    EXPECT_EQ(Push(), S_OK);
    stopper.join();
    EXPECT_EQ(filter->log, (Calls{"Start", "Transform", "Stop"}));
    EXPECT_EQ(State(), State_Stopped);
}

TEST_F(TransformFilter, LatenessThatTheFilterLeavesAloneGoesUpstream) {
    filter->handlesQuality = false;
    const auto control = output.As<IQualityControl>();
    EXPECT_EQ(control->Notify(filter.get(), Quality{}), VFW_E_NOT_FOUND) << "there is nobody";
    Connect();
    EXPECT_EQ(control->Notify(filter.get(), Quality{}), S_OK);
    EXPECT_EQ(source->out.qualityMessages, 1);
    const auto manager = MakeCom<TestSource>();
    input.As<IQualityControl>()->SetSink(&manager->out);
    EXPECT_EQ(control->Notify(filter.get(), Quality{}), S_OK);
    EXPECT_EQ(manager->out.qualityMessages, 1) << "the sink is asked instead";
    EXPECT_EQ(source->out.qualityMessages, 1);
    input.As<IQualityControl>()->SetSink(nullptr);
}

}  // namespace
}  // namespace nyx::test
