/// Calls in any order.

#include <random>

#include "tests/support/rig.h"

namespace nyx::test {
namespace {

/// Makes random calls and compares the answers with a small model of the filter.
class Disorder : public RowTest {
  protected:
    std::size_t Any(std::size_t count) { return random() % count; }

    /// The answer to a sample or an end of stream that the filter does not process, else S_OK.
    HRESULT Streams() const {
        if (!out) {
            return VFW_E_NOT_CONNECTED;
        }
        if (flushing) {
            return S_FALSE;
        }
        if (state == State_Stopped) {
            return VFW_E_WRONG_STATE;
        }
        return failed ? VFW_E_RUNTIME_ERROR : S_OK;
    }
    /// A frame that must be answered `expected` when the filter streams.
    void Push(const Sample& sample, HRESULT expected, const Overrides& overrides = {}) {
        const HRESULT streams = Streams();
        const HRESULT result = streams == S_OK ? expected : streams;
        auto made = MakeSample(sample, overrides);
        LONG taken = -1;
        EXPECT_EQ(rig.transport->ReceiveMultiple(made.GetAddressOf(), 1, &taken), result);
        EXPECT_EQ(taken, result == S_OK ? 1 : 0);
        frames += result == S_OK ? 1u : 0u;
        if (result == VFW_E_INVALIDMEDIATYPE) {
            aborted += joined ? 1 : 0;
            failed = true;
        }
    }
    void EnterState(FILTER_STATE next) {
        if (next == State_Stopped) {
            EXPECT_EQ(rig.filter->Stop(), S_OK);
        } else {
            EXPECT_EQ(next == State_Paused ? rig.filter->Pause() : rig.filter->Run(0), S_OK);
        }
        if (next == State_Stopped && state != State_Stopped && out) {
            flushing = failed = false;
        }
        state = next;
    }
    void StartOrStop(bool stop) {
        EnterState(stop ? State_Stopped : static_cast<FILTER_STATE>(1 + Any(2)));
    }
    void Flush(bool begin) {
        const HRESULT result = begin ? rig.input->BeginFlush() : rig.input->EndFlush();
        EXPECT_EQ(result, out ? S_OK : VFW_E_NOT_CONNECTED);
        flushing = out ? begin : flushing;
        failed = failed && (begin || !out);
        (begin ? begun : ended) += out ? 1 : 0;
    }
    void Connect(bool input) {
        HRESULT expected = in || input ? S_OK : E_UNEXPECTED;
        if (input ? in : out) {
            expected = VFW_E_ALREADY_CONNECTED;
        } else if (state != State_Stopped) {
            expected = VFW_E_NOT_STOPPED;
        }
        const MediaType type = input ? row().InputType() : row().OutputType();
        EXPECT_EQ(
            input ? rig.input->ReceiveConnection(&rig.source, &type) : rig.ConnectOutput(type),
            expected);
        (input ? in : out) |= expected == S_OK;
    }
    void Disconnect(bool input) {
        HRESULT expected = (input ? in : out) ? S_OK : S_FALSE;
        if (state != State_Stopped) {
            expected = VFW_E_NOT_STOPPED;
        }
        EXPECT_EQ((input ? rig.input : rig.output)->Disconnect(), expected);
        in = in && !(input && expected == S_OK);
        if (out && expected == S_OK) {
            EXPECT_EQ(rig.sink.Disconnect(), input ? S_FALSE : S_OK) << "by the input's side alone";
            out = false;
        }
    }

    void FrameWithType(bool foreign) {
        Sample sample = rig.Frame();
        sample.type = foreign ? VideoType(MEDIASUBTYPE_RGB565, 16, BI_BITFIELDS, rig.stream)
                              : row().InputType();
        Push(sample, foreign ? VFW_E_INVALIDMEDIATYPE : S_OK, {Any(2) == 0});
    }
    void Frame(bool whole) {
        Push(rig.Frame(), whole ? S_OK : E_FAIL, whole ? Overrides{} : Overrides{.length = 1});
    }
    void WithoutBuffers(bool) {
        if (out) {
            rig.sink.allocator->Decommit();
            Push(rig.Frame(), VFW_E_NOT_COMMITTED);
            if (state != State_Stopped) {
                rig.sink.allocator->Commit();
            }
        }
    }
    void EndOfStream(bool) {
        const HRESULT expected = Streams();
        EXPECT_EQ(rig.input->EndOfStream(), expected);
        ends += expected == S_OK ? 1 : 0;
    }
    void Questions(bool) {
        const MediaType input = row().InputType();
        const MediaType output = row().OutputType();
        EXPECT_EQ(rig.input->QueryAccept(&input), S_OK);
        EXPECT_EQ(rig.output->QueryAccept(&output), in ? S_OK : S_FALSE);
        EXPECT_EQ(OfferedTypes(rig.input).size(), 0u);
        EXPECT_EQ(OfferedTypes(rig.output).size(), in ? 2 * row().Outputs().size() : 0);
        EXPECT_EQ(ConnectionType(rig.input), in ? input : MediaType());
    }
    void Rest(bool join) {
        ComPtr<IMemAllocator> allocator;
        joined = join;
        rig.filter->JoinFilterGraph(joined ? rig.graph.Get() : nullptr, L"again");
        EXPECT_EQ(rig.Notify({Flood, 10, static_cast<LONGLONG>(random()) << 20, 0}), E_FAIL)
            << "left to the renderer";
        const auto start = static_cast<LONGLONG>(random());
        EXPECT_EQ(rig.input->NewSegment(start, -1, 1.5), out ? S_OK : VFW_E_NOT_CONNECTED);
        const Events seen = rig.sink.Seen();
        EXPECT_TRUE(!out ||
                    (seen.segmentStart == start && seen.segmentStop == -1 && seen.rate == 1.5));
        segments += out ? 1 : 0;
        EXPECT_EQ(rig.transport->GetAllocator(&allocator), S_OK);
        EXPECT_EQ(rig.transport->NotifyAllocator(allocator.Get(), TRUE), S_OK);
    }
    void MakeAnyCall() {
        using D = Disorder;
        constexpr void (D::*kCalls[])(bool) = {
            &D::Connect,   &D::Disconnect,    &D::StartOrStop, &D::Frame,          &D::Flush,
            &D::Questions, &D::FrameWithType, &D::EndOfStream, &D::WithoutBuffers, &D::Rest};
        const std::size_t chosen = Any(std::size(kCalls));
        SCOPED_TRACE(chosen);
        (this->*kCalls[chosen])(Any(2) == 0);
        const Events seen = rig.sink.Seen();
        FILTER_STATE reported{};
        EXPECT_EQ(rig.filter->GetState(0, &reported), S_OK);
        EXPECT_EQ(
            std::tuple(reported, PeerOf(rig.input) != nullptr, PeerOf(rig.output) != nullptr,
                       rig.sink.Count(), seen.endOfStream, seen.beginFlush, seen.endFlush,
                       seen.newSegment, rig.graph->Count(EC_ERRORABORT), rig.graph->Seen().size()),
            std::tuple(state, in, out, frames, ends, begun, ended, segments, aborted, aborted));
    }

    std::minstd_rand random;
    Rig rig{row()};
    bool in = false, out = false, flushing = false;
    bool failed = false;  ///< a type was refused in mid-stream
    FILTER_STATE state = State_Stopped;
    std::size_t frames = 0;
    int ends = 0, begun = 0, ended = 0, aborted = 0, segments = 0;
    bool joined = true;
};
NYX_FOR_ROWS(Disorder, Rows({"Q210Decoder", "ZetaEncoder"}));

TEST_P(Disorder, AnyOrderOfCallsIsAnsweredAsTheModelSays) {
    const char* given = std::getenv("NYX_SEED");
    const unsigned seed = given ? static_cast<unsigned>(std::atoi(given)) : std::random_device()();
    std::printf("NYX_SEED=%u\n", seed);
    random.seed(seed);
    rig.sink.keepsSamples = false;
    For(std::chrono::milliseconds(700), [&] {
        // Now and then everything is connected and paused, so that calls reach a working filter.
        if (Any(8) == 0) {
            Connect(true);
            Connect(false);
            EnterState(State_Paused);
            Flush(false);
        }
        if (!HasFailure()) {
            MakeAnyCall();
        }
    });
    rig.filter->Stop();
    rig.Disconnect();
    rig.Start();
    rig.input->EndFlush();
    EXPECT_EQ(rig.Push(), S_OK) << "and it streams afterwards";
}

}  // namespace
}  // namespace nyx::test
