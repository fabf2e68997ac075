/// Calls in any order, as by a host that has lost its thread: thousands, drawn at random with a
/// seed that NYX_ORDER_SEED changes. NYX_ORDER_CALLS makes the run longer.

#include <atomic>
#include <random>

#include "tests/support/com_test.h"
#include "tests/support/environment.h"
#include "tests/support/filter_rig.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

using Random = std::minstd_rand;

/// One call, or a short row of them, that a host may make at any time.
struct Call {
    const char* name;
    void (*make)(FilterRig& rig, Random& random);
};

/// A frame cut to any number of its eighths, with any flags.
SampleProperties AnyFrame(FilterRig& rig, Random& random) {
    SampleProperties sample = rig.Frame();
    sample.bytes.resize(sample.bytes.size() * (random() % 9) / 8);
    sample.discontinuity = random() % 4 == 0;
    sample.syncPoint = random() % 4 != 0;
    return sample;
}

MediaType AnyOutputType(FilterRig& rig, Random& random) {
    MediaType type = rig.row.OutputType(random() % rig.row.outputs.size());
    if (random() % 4 == 0) {
        type.Header().biHeight = -type.Header().biHeight;
    }
    if (random() % 4 == 0) {
        type.Header().biWidth += 8;
    }
    return type;
}

template <class Enumerator>
void WalkWildly(Enumerator* enumerator, Random& random) {
    if (enumerator) {
        enumerator->Skip(static_cast<ULONG>(random()));
        enumerator->Reset();
        ComPtr<Enumerator> clone;
        enumerator->Clone(clone.Put());
    }
}

const Call kCalls[] = {
    {"connect the input", [](FilterRig& rig, Random&) { rig.ConnectInput(); }},
    {"connect the output", [](FilterRig& rig, Random&) { rig.ConnectOutput(); }},
    {"connect the output with a type",
     [](FilterRig& rig, Random& random) { rig.ConnectOutput(AnyOutputType(rig, random)); }},
    {"connect an output pin as an input",
     [](FilterRig& rig, Random&) {
         rig.output->ReceiveConnection(rig.source->pin(), rig.row.InputType().get());
     }},
    {"a second connection of the input",
     [](FilterRig& rig, Random&) {
         rig.input->ReceiveConnection(rig.source->pin(), rig.row.InputType().get());
     }},
    {"connect the filter to itself",
     [](FilterRig& rig, Random&) { rig.output->Connect(rig.input.get(), nullptr); }},
    {"disconnect the input's side", [](FilterRig& rig, Random&) { rig.input->Disconnect(); }},
    {"disconnect the output's side", [](FilterRig& rig, Random&) { rig.output->Disconnect(); }},
    {"disconnect the source's side", [](FilterRig& rig, Random&) { rig.source->out.Disconnect(); }},
    {"disconnect the sink's side", [](FilterRig& rig, Random&) { rig.sink->in.Disconnect(); }},
    {"pause", [](FilterRig& rig, Random&) { rig.filter->Pause(); }},
    {"run", [](FilterRig& rig, Random&) { rig.filter->Run(0); }},
    {"stop", [](FilterRig& rig, Random&) { rig.filter->Stop(); }},
    {"a frame", [](FilterRig& rig, Random&) { rig.Push(); }},
    {"a cut frame",
     [](FilterRig& rig, Random& random) { rig.source->Push(AnyFrame(rig, random)); }},
    {"a frame past the source",
     [](FilterRig& rig, Random& random) {
         const auto sample = MakeCom<TestSample>(AnyFrame(rig, random));
         rig.transport->Receive(sample.get());
     }},
    {"no frame", [](FilterRig& rig, Random&) { rig.transport->Receive(nullptr); }},
    {"a frame with a type of input",
     [](FilterRig& rig, Random& random) {
         SampleProperties sample = AnyFrame(rig, random);
         sample.type = rig.row.InputType();
         rig.source->Push(sample);
     }},
    {"a frame with a type that is none of input",
     [](FilterRig& rig, Random& random) {
         SampleProperties sample = rig.Frame();
         sample.type = AnyOutputType(rig, random);
         rig.source->Push(sample);
     }},
    {"begin to flush", [](FilterRig& rig, Random&) { rig.input->BeginFlush(); }},
    {"end the flush", [](FilterRig& rig, Random&) { rig.input->EndFlush(); }},
    {"end of stream", [](FilterRig& rig, Random&) { rig.input->EndOfStream(); }},
    {"stream calls to the output",
     [](FilterRig& rig, Random&) {
         rig.output->EndOfStream();
         rig.output->BeginFlush();
         rig.output->EndFlush();
     }},
    {"a segment",
     [](FilterRig& rig, Random& random) {
         rig.input->NewSegment(static_cast<LONGLONG>(random()), -1, 0.0);
     }},
    {"an allocator of upstream's",
     [](FilterRig& rig, Random&) {
         ComPtr<IMemAllocator> allocator;
         rig.transport->GetAllocator(allocator.Put());
         rig.transport->NotifyAllocator(allocator.get(), TRUE);
     }},
    {"the output's allocator away",
     [](FilterRig& rig, Random& random) {
         if (IMemAllocator* allocator = rig.sink->in.allocator()) {
             random() % 2 == 0 ? allocator->Decommit() : allocator->Commit();
         }
     }},
    {"out of the graph",
     [](FilterRig& rig, Random&) { rig.filter->JoinFilterGraph(nullptr, nullptr); }},
    {"into the graph",
     [](FilterRig& rig, Random&) { rig.filter->JoinFilterGraph(rig.graph.get(), L"again"); }},
    {"quality",
     [](FilterRig& rig, Random& random) {
         rig.output.As<IQualityControl>()->Notify(
             rig.sink.get(), Quality{Flood, 10, static_cast<LONGLONG>(random()) << 20, 0});
     }},
    {"questions of types",
     [](FilterRig& rig, Random& random) {
         rig.output->QueryAccept(AnyOutputType(rig, random).get());
         rig.input->QueryAccept(AnyOutputType(rig, random).get());
         rig.input->QueryAccept(rig.row.InputType().get());
     }},
    {"enumerators",
     [](FilterRig& rig, Random& random) {
         ComPtr<IEnumPins> pins;
         rig.filter->EnumPins(pins.Put());
         WalkWildly(pins.get(), random);
         for (IPin* pin : {rig.input.get(), rig.output.get()}) {
             ComPtr<IEnumMediaTypes> types;
             pin->EnumMediaTypes(types.Put());
             WalkWildly(types.get(), random);
         }
     }},
    {"seeking",
     [](FilterRig& rig, Random&) {
         if (const auto seeking = rig.output.As<IMediaSeeking>()) {
             LONGLONG duration = 0;
             seeking->GetDuration(&duration);
         }
     }},
};

/// From time to time all is as it should be, so that what follows meets a filter at work.
void InGoodOrder(FilterRig& rig) {
    rig.ConnectInput();
    rig.ConnectOutput();
    rig.input->EndFlush();
    rig.filter->Pause();
    rig.Push();
}

class WrongOrders : public FilterTest {
  protected:
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(WrongOrders);

TEST_P(WrongOrders, OfThousandsOfCallsAreSurvivedAndTheFilterStreamsAfterwards) {
    rig.sink->in.keepsSamples = false;
    const int seed = FromEnvironment("NYX_ORDER_SEED", 1);
    const int calls = row().Rounds(FromEnvironment("NYX_ORDER_CALLS", 10000));
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(static_cast<Random::result_type>(seed));
    std::atomic<const char*> latest{"before the first call"};
    MustFinish(
        latest,
        [&] {
            for (int i = 0; i < calls; ++i) {
                if (random() % 8 == 0) {
                    InGoodOrder(rig);
                }
                const Call& call = kCalls[random() % std::size(kCalls)];
                latest = call.name;
                call.make(rig, random);
            }
        },
        std::chrono::seconds(60));
    const std::size_t frames = rig.sink->in.sampleCount();
    EXPECT_GT(frames, 0u) << "some calls came in a good order";

    rig.filter->Stop();
    rig.input->EndFlush();
    rig.Disconnect();
    rig.filter->JoinFilterGraph(rig.graph.get(), FilterRig::kNameInGraph);
    rig.Start();
    rig.input->EndFlush();
    EXPECT_EQ(rig.Push(), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), frames + 1);
}

}  // namespace
}  // namespace nyx::test
