#include <atomic>
#include <chrono>
#include <thread>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/heap_blocks.h"
#include "tests/support/loaded_module.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

class Teardown : public FilterTest {};
NYX_FOR_EVERY_FILTER(Teardown);

constexpr int kWarmUp = 20;

/// Runs `round` many times; the heaps must not have grown by it.
template <class Round>
void WithoutLeak(int rounds, Round round) {
    // Less than one block in ten rounds: what the runtime's own caches may add.
    const auto allowed = static_cast<std::size_t>(rounds / 10);
    std::size_t before = 0;
    for (int i = 0; i < kWarmUp + rounds; ++i) {
        if (i == kWarmUp) {
            before = LiveHeapBlocks();
        }
        round();
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
    EXPECT_LE(LiveHeapBlocks(), before + allowed) << "blocks were lost";
}

TEST_P(Teardown, ManyFiltersComeAndGoWithoutALeak) {
    // Keeps the engine: what the system spends on loading a library is not ours.
    const auto first = Module().CreateFilter(row().clsid);
    WithoutLeak(row().Rounds(1000), [&] {
        auto filter = Module().CreateFilter(row().clsid);
        ASSERT_TRUE(filter);
        ComPtr<IPin> pin;
        ASSERT_EQ(filter->FindPin(L"Out", pin.Put()), S_OK);
        pin.As<IMediaSeeking>();
        pin.Reset();
        ASSERT_EQ(filter.Reset(), 0u);
    });
}

TEST_P(Teardown, ManyConnectionsComeAndGoWithoutALeak) {
    FilterRig rig(row());
    rig.sink->in.keepsSamples = false;
    WithoutLeak(row().Rounds(1000), [&] {
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        ASSERT_EQ(rig.filter->Pause(), S_OK);
        ASSERT_EQ(rig.Push(), S_OK);
        ASSERT_EQ(rig.filter->Stop(), S_OK);
        ASSERT_EQ(rig.output->Disconnect(), S_OK);
        ASSERT_EQ(rig.input->Disconnect(), S_OK);
        rig.sink->in.Disconnect();
        rig.source->out.Disconnect();
    });
}

TEST_P(Teardown, ManyRefusedConnectionsLeaveNothingBehind) {
    FilterRig rig(row());
    MediaType refused = row().InputType();
    refused.Header().biCompression = 0x12345678;
    rig.sink->in.accept = [](const MediaType&) { return S_FALSE; };
    WithoutLeak(row().Rounds(1000), [&] {
        ASSERT_NE(rig.ConnectInput(refused), S_OK);
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        ASSERT_NE(rig.ConnectOutput(), S_OK);
        ASSERT_EQ(rig.input->Disconnect(), S_OK);
        rig.source->out.Disconnect();
    });
}

TEST_P(Teardown, ManySamplesWithNewTypesLoseNothing) {
    FilterRig rig(row());
    rig.sink->in.keepsSamples = false;
    rig.Start();
    SampleProperties sample = rig.Frame();
    sample.type = row().InputType();
    WithoutLeak(row().Rounds(1000), [&] { ASSERT_EQ(rig.source->Push(sample), S_OK); });
}

/// An upstream thread that pushes without pause until it is told to end.
class Upstream {
  public:
    explicit Upstream(FilterRig* rig)
        : transport_(rig->transport), sample_(MakeCom<TestSample>(rig->Frame())), thread_([this] {
              while (!ending_) {
                  if (transport_->Receive(sample_.get()) != S_OK) {
                      std::this_thread::yield();
                  }
              }
          }) {}
    Upstream(const Upstream&) = delete;
    Upstream& operator=(const Upstream&) = delete;
    ~Upstream() {
        ending_ = true;
        thread_.join();
    }

  private:
    ComPtr<IMemInputPin> transport_;
    ComPtr<TestSample> sample_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

TEST_P(Teardown, StatesAndFlushesChangeWhileAThreadStreams) {
    MustFinish("state changes under a streaming thread", [&] {
        FilterRig rig(row());
        rig.sink->in.keepsSamples = false;
        rig.Start();
        const Upstream upstream(&rig);
        for (int i = 0; i < row().Rounds(300); ++i) {
            rig.filter->Run(0);
            rig.input->BeginFlush();
            rig.input->EndFlush();
            rig.input->EndOfStream();
            rig.filter->Pause();
            rig.input->NewSegment(0, 1, 1.0);
            rig.filter->Stop();
            rig.filter->Pause();
        }
    });
}

TEST_P(Teardown, ConnectionsBreakWhileAThreadStreams) {
    MustFinish("disconnection under a streaming thread", [&] {
        FilterRig rig(row());
        rig.sink->in.keepsSamples = false;
        const Upstream upstream(&rig);
        for (int i = 0; i < row().Rounds(100); ++i) {
            rig.Start(static_cast<std::size_t>(i) % row().outputs.size());
            std::this_thread::yield();
            rig.filter->Stop();
            rig.output->Disconnect();
            rig.sink->in.Disconnect();
            rig.input->Disconnect();
            rig.source->out.Disconnect();
        }
    });
}

TEST_P(Teardown, AGraphIsTornDownWhileItStreams) {
    for (int round = 0; round < row().Rounds(20); ++round) {
        MustFinish("release of a streaming graph", [&] {
            FilterRig rig(row());
            rig.filter->JoinFilterGraph(nullptr, nullptr);
            rig.sink->in.keepsSamples = false;
            ComPtr<IGraphBuilder> builder;
            ASSERT_EQ(CoCreateInstance(CLSID_FilterGraphNoThread, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IGraphBuilder, builder.PutVoid()),
                      S_OK);
            builder->AddFilter(rig.source.get(), L"source");
            builder->AddFilter(rig.filter.get(), L"filter");
            builder->AddFilter(rig.sink.get(), L"sink");
            const MediaType type = row().InputType();
            ASSERT_EQ(builder->ConnectDirect(rig.source->pin(), rig.input.get(), type.get()), S_OK);
            ASSERT_EQ(builder->ConnectDirect(rig.output.get(), rig.sink->pin(), nullptr), S_OK);
            ComPtr<IMediaControl> control;
            ASSERT_EQ(builder->QueryInterface(IID_IMediaControl, control.PutVoid()), S_OK);
            ASSERT_TRUE(SUCCEEDED(control->Run()));
            const Upstream upstream(&rig);
            while (rig.sink->in.sampleCount() < static_cast<std::size_t>(round)) {
                std::this_thread::yield();
            }
            control.Reset();
            EXPECT_EQ(builder.Reset(), 0u);
            FILTER_STATE state{};
            EXPECT_EQ(rig.filter->GetState(0, &state), S_OK);
            EXPECT_EQ(state, State_Stopped);
            EXPECT_FALSE(PeerOf(rig.output));
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_P(Teardown, TwoFiltersInOneProcessDoNotDisturbEachOther) {
    MustFinish("two filters side by side", [&] {
        FilterRig first(row());
        FilterRig second(row());
        first.sink->in.keepsSamples = second.sink->in.keepsSamples = false;
        first.Start(0);
        second.Start(row().outputs.size() - 1);
        {
            const Upstream one(&first);
            const Upstream two(&second);
            const auto enough = static_cast<std::size_t>(row().Rounds(100));
            while (first.sink->in.sampleCount() < enough ||
                   second.sink->in.sampleCount() < enough) {
                std::this_thread::yield();
            }
        }
    });
}

}  // namespace
}  // namespace nyx::test
