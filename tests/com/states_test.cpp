#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/loaded_module.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

using Step = HRESULT (*)(IBaseFilter*);
struct Transition {
    Step step;
    FILTER_STATE state;
};
const Transition kTransitions[] = {
    {[](IBaseFilter* f) { return f->Stop(); }, State_Stopped},
    {[](IBaseFilter* f) { return f->Pause(); }, State_Paused},
    {[](IBaseFilter* f) { return f->Run(0); }, State_Running},
};

class States : public FilterTest {
  protected:
    FILTER_STATE State() {
        FILTER_STATE state{};
        EXPECT_EQ(rig.filter->GetState(0, &state), S_OK);
        return state;
    }
    /// Goes through all sequences of four transitions; `after` is called after each one.
    template <class After>
    void EverySequence(After after) {
        for (int sequence = 0; sequence < 3 * 3 * 3 * 3; ++sequence) {
            for (int left = sequence, i = 0; i < 4; ++i, left /= 3) {
                const Transition& next = kTransitions[left % 3];
                ASSERT_EQ(next.step(rig.filter.get()), S_OK) << sequence << " step " << i;
                ASSERT_EQ(State(), next.state) << sequence << " step " << i;
                after(next.state);
            }
        }
        EXPECT_EQ(rig.filter->Stop(), S_OK);
    }
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(States);

TEST_P(States, AnUnconnectedFilterGoesThroughEveryTransitionInAnyOrder) {
    EXPECT_EQ(State(), State_Stopped);
    EverySequence([](FILTER_STATE) {});
}

TEST_P(States, AHalfConnectedFilterGoesThroughEveryTransitionInAnyOrder) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    EverySequence([&](FILTER_STATE) { EXPECT_NE(rig.Push(), S_OK); });
}

TEST_P(States, AConnectedFilterTakesSamplesExactlyWhenNotStopped) {
    rig.sink->in.keepsSamples = false;
    rig.Connect();
    EverySequence([&](FILTER_STATE state) {
        const std::size_t before = rig.sink->in.sampleCount();
        EXPECT_EQ(rig.Push(), state == State_Stopped ? VFW_E_WRONG_STATE : S_OK);
        EXPECT_EQ(rig.sink->in.sampleCount(), before + (state == State_Stopped ? 0 : 1));
    });
}

TEST_P(States, TheClockIsKeptGivenBackAndLetGo) {
    ComPtr<IReferenceClock> clock;
    ASSERT_EQ(CoCreateInstance(CLSID_SystemClock, nullptr, CLSCTX_INPROC_SERVER,
                               IID_IReferenceClock, clock.PutVoid()),
              S_OK);
    ComPtr<IReferenceClock> got;
    auto filter = Module().CreateFilter(row().clsid);
    EXPECT_EQ(filter->SetSyncSource(clock.get()), S_OK);
    EXPECT_EQ(filter->GetSyncSource(got.Put()), S_OK);
    EXPECT_EQ(got.get(), clock.get());
    EXPECT_EQ(filter->SetSyncSource(nullptr), S_OK);
    EXPECT_EQ(filter->GetSyncSource(got.Put()), S_OK);
    EXPECT_FALSE(got);
    EXPECT_EQ(filter->SetSyncSource(clock.get()), S_OK);
    EXPECT_EQ(filter.Reset(), 0u);
    EXPECT_EQ(clock.Reset(), 0u) << "the filter has gone and holds it no more";
}

TEST_P(States, StopReleasesAnUpstreamThreadThatWaitsForABuffer) {
    rig.Start();
    // The one buffer of the pool is held here, so Receive must wait for it.
    ComPtr<IMediaSample> held;
    ASSERT_EQ(rig.sink->in.allocator()->GetBuffer(held.Put(), nullptr, nullptr, 0), S_OK);
    HRESULT pushed = S_OK;
    MustFinish("Stop while Receive waits for a buffer", [&] {
        std::thread upstream([&] { pushed = rig.Push(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        rig.filter->Stop();
        upstream.join();
    });
    EXPECT_NE(pushed, S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
}

}  // namespace
}  // namespace nyx::test
