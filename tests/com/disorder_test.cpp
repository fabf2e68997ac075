/// Calls in any order and on any thread, as by a host that has lost its thread.

#include <memory>
#include <random>

#include "tests/support/misaligned.h"
#include "tests/support/rig.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

using std::chrono::milliseconds;

/// Makes random calls and holds the answers against a small model of the filter.
class Disorder : public RowTest {
  protected:
    std::size_t Any(std::size_t count) { return random() % count; }

    /// What a sample or an end of stream is answered before anything is done with it.
    HRESULT Streams() const {
        return !out                     ? VFW_E_NOT_CONNECTED
               : flushing               ? S_FALSE
               : state == State_Stopped ? VFW_E_WRONG_STATE
               : failed                 ? VFW_E_RUNTIME_ERROR
                                        : S_OK;
    }
    HRESULT Connects(bool connected) const {
        return connected                ? VFW_E_ALREADY_CONNECTED
               : state != State_Stopped ? VFW_E_NOT_STOPPED
                                        : S_OK;
    }
    HRESULT Disconnects(bool connected) const {
        return state != State_Stopped ? VFW_E_NOT_STOPPED : connected ? S_OK : S_FALSE;
    }
    /// A frame that must be answered `expected` when the filter streams.
    void Push(const Sample& sample, HRESULT expected, const Lies& lies = {}) {
        const HRESULT streams = Streams();
        EXPECT_EQ(rig.Push(sample, lies), streams == S_OK ? expected : streams);
        frames += streams == S_OK && expected == S_OK ? 1u : 0u;
        failed = failed || (streams == S_OK && expected == VFW_E_INVALIDMEDIATYPE);
    }
    void EnterState(FILTER_STATE next) {
        EXPECT_EQ(next == State_Stopped  ? rig.filter->Stop()
                  : next == State_Paused ? rig.filter->Pause()
                                         : rig.filter->Run(0),
                  S_OK);
        if (next == State_Stopped && state != State_Stopped && out) {
            flushing = failed = false;
        }
        state = next;
    }
    void Flush(bool begin) {
        const HRESULT result = begin ? rig.input->BeginFlush() : rig.input->EndFlush();
        EXPECT_EQ(result, out ? S_OK : VFW_E_NOT_CONNECTED);
        flushing = out ? begin : flushing;
        failed = failed && (begin || !out);
        (begin ? begun : ended) += out ? 1 : 0;
    }
    void ConnectInput() {
        const HRESULT expected = Connects(in);
        const MediaType type = row().InputType();
        EXPECT_EQ(rig.input->ReceiveConnection(&rig.source, &type), expected);
        in = in || expected == S_OK;
    }
    void ConnectOutput() {
        const bool typed = Any(2) == 0;
        const HRESULT connects = Connects(out);
        const HRESULT expected = in || connects != S_OK ? connects
                                 : typed                ? E_UNEXPECTED
                                                        : VFW_E_NO_ACCEPTABLE_TYPES;
        const MediaType type = row().OutputType(Any(row().Outputs().size()));
        EXPECT_EQ(typed ? rig.ConnectOutput(type) : rig.ConnectOutput(), expected);
        out = out || expected == S_OK;
    }
    void DisconnectSide(bool input) {
        const HRESULT expected = Disconnects(input ? in : out);
        EXPECT_EQ((input ? rig.input : rig.output)->Disconnect(), expected);
        in = in && !(input && expected == S_OK);
        if (out && expected == S_OK) {
            rig.sink.Disconnect();
            out = false;
        }
    }

    struct Call {
        const char* name;
        void (*make)(Disorder& d);
    };
    static const Call kCalls[];

    void ExpectAsModelled() {
        EXPECT_EQ(rig.State(), state);
        EXPECT_EQ(PeerOf(rig.input) != nullptr, in);
        EXPECT_EQ(PeerOf(rig.output) != nullptr, out);
        EXPECT_EQ(rig.sink.Count(), frames);
        EXPECT_EQ(rig.sink.Seen().endOfStream, ends);
        EXPECT_EQ(rig.sink.Seen().beginFlush, begun);
        EXPECT_EQ(rig.sink.Seen().endFlush, ended);
    }

    std::minstd_rand random;
    Rig rig{row()};
    bool in = false, out = false, flushing = false;
    bool failed = false;  ///< a type was refused in mid-stream
    FILTER_STATE state = State_Stopped;
    std::size_t frames = 0;
    int ends = 0, begun = 0, ended = 0;
};
NYX_FOR_ROWS(Disorder, Rows({"Q210Decoder", "ZetaEncoder"}));

const Disorder::Call Disorder::kCalls[] = {
    {"connect the input", [](Disorder& d) { d.ConnectInput(); }},
    {"connect the output", [](Disorder& d) { d.ConnectOutput(); }},
    {"connect the filter to itself",
     [](Disorder& d) { EXPECT_TRUE(FAILED(d.rig.output->Connect(d.rig.input.Get(), nullptr))); }},
    {"connect the output as an input",
     [](Disorder& d) {
         const MediaType type = d.row().OutputType();
         EXPECT_TRUE(FAILED(d.rig.output->ReceiveConnection(&d.rig.source, &type)));
     }},
    {"disconnect the input", [](Disorder& d) { d.DisconnectSide(true); }},
    {"disconnect the output", [](Disorder& d) { d.DisconnectSide(false); }},
    {"stop", [](Disorder& d) { d.EnterState(State_Stopped); }},
    {"pause", [](Disorder& d) { d.EnterState(State_Paused); }},
    {"run", [](Disorder& d) { d.EnterState(State_Running); }},
    {"a frame", [](Disorder& d) { d.Push(d.rig.Frame(), S_OK); }},
    {"a cut frame",
     [](Disorder& d) {
         Sample sample = d.rig.Frame();
         sample.bytes.resize(sample.bytes.size() * d.Any(8) / 8);
         d.Push(sample, E_FAIL);
     }},
    {"a frame with its type",
     [](Disorder& d) {
         Sample sample = d.rig.Frame();
         sample.type = d.row().InputType();
         d.Push(sample, S_OK, {d.Any(2) == 0});
     }},
    {"a frame with a type that is none of input",
     [](Disorder& d) {
         Sample sample = d.rig.Frame();
         sample.type = VideoType(MEDIASUBTYPE_RGB565, 16, BI_BITFIELDS, d.rig.stream);
         d.Push(sample, VFW_E_INVALIDMEDIATYPE, {d.Any(2) == 0});
     }},
    {"a frame while the buffers are away",
     [](Disorder& d) {
         if (d.out) {
             d.rig.sink.allocator->Decommit();
             d.Push(d.rig.Frame(), VFW_E_NOT_COMMITTED);
             d.state == State_Stopped ? S_OK : d.rig.sink.allocator->Commit();
         }
     }},
    {"begin to flush", [](Disorder& d) { d.Flush(true); }},
    {"end the flush", [](Disorder& d) { d.Flush(false); }},
    {"end of stream",
     [](Disorder& d) {
         const HRESULT expected = d.Streams();
         EXPECT_EQ(d.rig.input->EndOfStream(), expected);
         d.ends += expected == S_OK ? 1 : 0;
     }},
    {"a segment",
     [](Disorder& d) { d.rig.input->NewSegment(static_cast<LONGLONG>(d.random()), -1, 0.0); }},
    {"stream calls to the output",
     [](Disorder& d) {
         EXPECT_EQ(d.rig.output->EndOfStream(), E_UNEXPECTED);
         EXPECT_EQ(d.rig.output->BeginFlush(), E_UNEXPECTED);
     }},
    {"an allocator of upstream's",
     [](Disorder& d) {
         ComPtr<IMemAllocator> allocator;
         EXPECT_EQ(d.rig.transport->GetAllocator(&allocator), S_OK);
         EXPECT_EQ(d.rig.transport->NotifyAllocator(allocator.Get(), TRUE), S_OK);
     }},
    {"out of the graph", [](Disorder& d) { d.rig.filter->JoinFilterGraph(nullptr, nullptr); }},
    {"into the graph",
     [](Disorder& d) { d.rig.filter->JoinFilterGraph(d.rig.graph.Get(), L"again"); }},
    {"quality",
     [](Disorder& d) {
         d.rig.Notify({Flood, 10, static_cast<LONGLONG>(d.random()) << 20, 0});
     }},
    {"questions",
     [](Disorder& d) {
         const MediaType input = d.row().InputType();
         const MediaType output = d.row().OutputType();
         EXPECT_EQ(d.rig.input->QueryAccept(&input), S_OK);
         EXPECT_EQ(d.rig.output->QueryAccept(&output), d.in ? S_OK : S_FALSE);
         EXPECT_EQ(OfferedTypes(d.rig.output).size(), d.in ? 2 * d.row().Outputs().size() : 0);
         EXPECT_EQ(ConnectionType(d.rig.input), d.in ? input : MediaType());
         As<IMediaSeeking>(d.rig.output);
     }},
};

TEST_P(Disorder, AnyOrderOfCallsIsAnsweredAsTheModelSays) {
    const char* given = std::getenv("NYX_SEED");
    const unsigned seed = given ? static_cast<unsigned>(std::atoi(given)) : std::random_device()();
    std::printf("NYX_SEED=%u\n", seed);
    random.seed(seed);
    rig.sink.keepsSamples = false;
    std::atomic<const char*> latest{"before the first call"};
    MustFinish(latest, [&] {
        For(milliseconds(1500), [&] {
            // From time to time all is as it should be, so that what follows meets a filter at
            // work.
            if (Any(8) == 0) {
                ConnectInput();
                ConnectOutput();
                EnterState(State_Paused);
                Flush(false);
            }
            const Call& call = kCalls[Any(std::size(kCalls))];
            latest = call.name;
            if (!HasFailure()) {
                SCOPED_TRACE(call.name);
                call.make(*this);
                ExpectAsModelled();
            }
        });
    });
    rig.filter->Stop();
    rig.Disconnect();
    rig.Start();
    rig.input->EndFlush();
    EXPECT_EQ(rig.Push(), S_OK) << "and it streams afterwards";
}

class Threads : public RowTest {
  protected:
    Rig rig{row()};
};
NYX_FOR_ROWS(Threads, ThreeKinds());

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

TEST_P(Threads, FlushSeekAndStopWhileFramesFlowAndLeaveTheFilterInOrder) {
    rig.sink.keepsSamples = false;
    rig.Start();
    const auto frame = MakeSample(rig.Frame());
    std::atomic<bool> go{true};
    MustFinish("a storm of flushes, seeks and stops", [&] {
        std::thread storms[] = {Storm(go, [&] { rig.transport->Receive(frame.Get()); }),
                                Storm(go,
                                      [&] {
                                          rig.input->BeginFlush();
                                          rig.input->EndFlush();
                                      }),
                                Storm(go,
                                      [&] {
                                          rig.input->NewSegment(0, 400000, 1.0);
                                          rig.Notify({Flood, 500, 800000, 0});
                                          rig.input->EndOfStream();
                                          OfferedTypes(rig.output);
                                      }),
                                Storm(go, [&] {
                                    rig.filter->Stop();
                                    rig.output->Disconnect();
                                    rig.sink.Disconnect();
                                    rig.ConnectOutput();
                                    rig.filter->Pause();
                                    rig.filter->Run(0);
                                })};
        std::this_thread::sleep_for(milliseconds(500));
        go = false;
        for (std::thread& storm : storms) {
            storm.join();
        }
    });
    ASSERT_EQ(rig.filter->Stop(), S_OK);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    rig.sink.Forget();
    EXPECT_EQ(rig.Push(), S_OK);
    EXPECT_EQ(rig.sink.Count(), 1u);
}

TEST_P(Threads, AGraphIsTornDownWhileItStreams) {
    const auto frame = MakeSample(rig.Frame());
    rig.sink.keepsSamples = false;
    rig.filter->JoinFilterGraph(nullptr, nullptr);
    for (std::size_t round = 0; round < 3; ++round) {
        MustFinish("release of a streaming graph", [&] {
            rig.sink.Forget();
            ComPtr<IGraphBuilder> builder;
            ASSERT_EQ(CoCreateInstance(CLSID_FilterGraphNoThread, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IGraphBuilder, &builder),
                      S_OK);
            builder->AddFilter(rig.sourceFilter.Get(), L"source");
            builder->AddFilter(rig.filter.Get(), L"filter");
            builder->AddFilter(rig.sinkFilter.Get(), L"sink");
            const MediaType type = row().InputType();
            ASSERT_EQ(builder->ConnectDirect(&rig.source, rig.input.Get(), &type), S_OK);
            ASSERT_EQ(builder->ConnectDirect(rig.output.Get(), &rig.sink, nullptr), S_OK);
            ASSERT_TRUE(SUCCEEDED(As<IMediaControl>(builder)->Run()));
            std::atomic<bool> go{true};
            std::thread upstream = Storm(go, [&] { rig.transport->Receive(frame.Get()); });
            while (rig.sink.Count() < round) {
                std::this_thread::yield();
            }
            EXPECT_EQ(builder.Reset(), 0u);
            go = false;
            upstream.join();
            EXPECT_EQ(rig.State(), State_Stopped);
            EXPECT_FALSE(PeerOf(rig.output));
        });
    }
}

TEST_P(Threads, ReferencesMayGoInAnyOrder) {
    std::minstd_rand random(1);
    For(milliseconds(200), [&] {
        std::vector<ComPtr<IUnknown>> held;
        {
            Rig other(row());
            other.Start();
            EXPECT_EQ(other.Push(), S_OK);
            ComPtr<IEnumPins> pins;
            ComPtr<IEnumMediaTypes> types;
            other.filter->EnumPins(&pins);
            other.output->EnumMediaTypes(&types);
            held = {other.filter,
                    other.input,
                    other.output,
                    other.sourceFilter,
                    other.sinkFilter,
                    other.sink.allocator,
                    pins,
                    types,
                    static_cast<IFilterGraph*>(other.graph.Get()),
                    As<IMediaSeeking>(other.output),
                    As<IQualityControl>(other.input)};
        }
        std::shuffle(held.begin(), held.end(), random);
        while (!held.empty()) {
            held.pop_back();
        }
    });
}

using ManyGraphs = ComTest;

TEST_F(ManyGraphs, EachGiveTheirOwnPicturesOnSeveralThreads) {
    constexpr std::size_t kThreads = 4;
    std::vector<std::unique_ptr<Rig>> rigs;
    for (int copy = 0; copy < 2; ++copy) {
        for (const CatalogueRow& row : Catalogue()) {
            rigs.push_back(std::make_unique<Rig>(row));
            rigs.back()->Start();
        }
    }
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = thread; i < 2 * rigs.size(); i += kThreads) {
                EXPECT_EQ(rigs[i % rigs.size()]->Push(), S_OK);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& rig : rigs) {
        ASSERT_EQ(rig->sink.Count(), 2u);
        // The same filter in another graph, fed by another thread, makes the same picture of it.
        const auto& twin = rigs[static_cast<std::size_t>(&rig - &rigs[0]) % (rigs.size() / 2)];
        for (const Sample& sample : rig->sink.Samples()) {
            EXPECT_EQ(sample.bytes, twin->sink.Last().bytes) << rig->row.name;
        }
    }
}

TEST_P(Threads, AFilterIsMadeConnectedAndRunFromAMisalignedStack) {
    // Slots of the methods in the order of their interfaces' declarations.
    constexpr unsigned kCreateInstance = 3, kConnect = 3, kNext = 3, kPause = 5, kStop = 4,
                       kReceive = 6, kQueryAccept = 11, kEnumMediaTypes = 12, kEndOfStream = 14;
    const auto entry =
        reinterpret_cast<const void*>(GetProcAddress(Module().handle, "DllGetClassObject"));
    const MediaType type = row().InputType();
    const auto sample = MakeSample(rig.Frame());
    for (const DWORD offset : {4u, 8u, 12u}) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(
            CallMisaligned(offset, entry, &row().clsid, &IID_IClassFactory, factory.GetAddressOf()),
            S_OK);
        ComPtr<IBaseFilter> filter;
        ASSERT_EQ(CallMethodMisaligned(offset, factory.Get(), kCreateInstance, nullptr,
                                       &IID_IBaseFilter, filter.GetAddressOf()),
                  S_OK);
        for (std::size_t i = 0; i < row().Outputs().size(); ++i) {
            EXPECT_EQ(CallMethodMisaligned(offset, rig.input.Get(), kQueryAccept, &type), S_OK);
            ASSERT_EQ(rig.ConnectInput(), S_OK);
            ComPtr<IEnumMediaTypes> types;
            ASSERT_EQ(CallMethodMisaligned(offset, rig.output.Get(), kEnumMediaTypes,
                                           types.GetAddressOf()),
                      S_OK);
            AM_MEDIA_TYPE* offered = nullptr;
            ASSERT_EQ(CallMethodMisaligned(offset, types.Get(), kNext, 1, &offered, nullptr), S_OK);
            MediaType::Adopt(offered);
            const MediaType output = row().OutputType(i);
            ASSERT_EQ(CallMethodMisaligned(offset, rig.output.Get(), kConnect,
                                           static_cast<IPin*>(&rig.sink), &output),
                      S_OK);
            ASSERT_EQ(CallMethodMisaligned(offset, rig.filter.Get(), kPause), S_OK);
            rig.sink.Forget();
            EXPECT_EQ(rig.Push(), S_OK);
            EXPECT_EQ(CallMethodMisaligned(offset, rig.transport.Get(), kReceive, sample.Get()),
                      S_OK);
            ASSERT_EQ(rig.sink.Count(), 2u);
            EXPECT_EQ(rig.sink.Last().bytes, rig.sink.Samples()[0].bytes);
            EXPECT_EQ(CallMethodMisaligned(offset, rig.input.Get(), kEndOfStream), S_OK);
            EXPECT_EQ(CallMethodMisaligned(offset, rig.filter.Get(), kStop), S_OK);
            rig.Disconnect();
        }
    }
}

}  // namespace
}  // namespace nyx::test
