/// Samples, flushes and messages between pause and stop.

#include <climits>
#include <future>

#include "tests/support/frames.h"
#include "tests/support/leaks.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class Streaming : public RigTest {
  protected:
    std::future<HRESULT> PushOnAnotherThread() {
        return std::async(std::launch::async, [&] { return rig.Push(); });
    }
};
NYX_FOR_ROWS(Streaming, Rows({"Q210Decoder", "ZetaDecoder", "ZetaEncoder"}));

TEST_P(Streaming, CarriesTimesAndFlagsByAnyKindOfSample) {
    const auto carried = [](const Sample& s) {
        return std::tuple(s.start, s.stop, s.mediaStart, s.syncPoint, s.preroll, s.discontinuity);
    };
    const Bytes frame = rig.Frame().bytes;
    for (const int buffers : {0, 1, 2}) {  // the platform's, foreign ones, without IMediaSample2
        SCOPED_TRACE(buffers);
        if (buffers > 0) {
            rig.OwnAllocator().overrides.sample2 = buffers == 1;
        }
        rig.Start();
        for (const bool sample2 : {true, false}) {
            for (Sample sample : {Sample{frame, {}, {}, 7, true, false, false},
                                  Sample{frame, 20000, {}, 7, true, true, false},
                                  Sample{frame, 20000, 30000, 7, false, true, false},
                                  Sample{frame, -1, 1, 7, true, false, true}}) {
                const Sample arrived = Through(sample, {sample2});
                // The older interface carries media times and has no preroll flag.
                if (buffers == 2) {
                    sample.preroll = false;
                } else {
                    sample.mediaStart.reset();
                }
                EXPECT_EQ(carried(arrived), carried(sample));
                EXPECT_FALSE(arrived.type);
            }
        }
        rig.filter->Stop();
        rig.Disconnect();
    }
}

TEST_P(Streaming, RefusesSamplesAndBuffersThatItCannotUseAndWritesNothing) {
    HostileAllocator& buffers = rig.OwnAllocator();
    rig.Start();
    const auto frame = static_cast<LONG>(rig.Frame().bytes.size());
    const LONG room = row().BufferBytes();
    struct Case {
        Overrides sample{};
        LONG shorter = 0;  ///< the buffer, by so many bytes
        DWORD protection = PAGE_READWRITE;
        Overrides buffer{};
        HRESULT result = E_FAIL;
    };
    std::vector<Case> cases = {{.sample = {.length = LONG_MAX, .behind = frame / 2}}};
    // No byte after the reported length may be used, whether the memory ends there or not.
    for (const LONG length : {0L, 1L, frame / 2, frame - 1, -1L, LONG{LONG_MIN}}) {
        cases.push_back({.sample = {.length = length}});
    }
    // A frame of an encoder may be smaller than the agreed buffer.
    for (const LONG shorter : {room, room - 1, row().IsEncoder() ? room : 1}) {
        cases.push_back({.shorter = shorter});
    }
    for (const DWORD protection :
         {DWORD{PAGE_READONLY}, DWORD{PAGE_NOACCESS}, DWORD{PAGE_READWRITE | PAGE_GUARD}}) {
        cases.push_back({.protection = protection});
    }
    for (const Overrides& noData :
         {Overrides{.pointerResult = E_FAIL}, Overrides{.nullPointer = true}}) {
        cases.push_back({.sample = noData, .result = E_UNEXPECTED});
        cases.push_back({.buffer = noData, .result = E_UNEXPECTED});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases.data());
        buffers.shorter = c.shorter;
        buffers.protection = c.protection;
        buffers.overrides = c.buffer;
        EXPECT_EQ(rig.Push(rig.Frame(), c.sample), c.result);
        if (c.protection != PAGE_READWRITE) {
            EXPECT_EQ(buffers.Protection(), c.protection) << "a guard page is not used up";
        } else if (c.sample.behind == 0) {
            EXPECT_TRUE(buffers.IsUntouched() && buffers.MarginsAreUntouched());
        }
    }
    buffers.overrides = {};
    buffers.protection = PAGE_READONLY;  // of all pages but the first
    buffers.protectedFrom = 4096;
    const bool severalPages = room > 4096;
    EXPECT_EQ(rig.Push(), severalPages ? E_FAIL : S_OK);
    EXPECT_TRUE(!severalPages || buffers.IsUntouched());
}

TEST_P(Streaming, TakesMemoryOfAnyAlignment) {
    HostileAllocator& buffers = rig.OwnAllocator();
    rig.Start();
    const Sample whole = rig.Frame();
    const Bytes picture = Through({whole.bytes + Bytes{0xFF}}).bytes;  // starts at an odd address
    for (const LONG misaligned : {0, 1, 15}) {
        buffers.misaligned = misaligned;
        EXPECT_EQ(Through(whole, {.length = LONG_MAX}).bytes, picture) << misaligned;
        EXPECT_TRUE(buffers.MarginsAreUntouched());
    }
}

TEST_P(Streaming, DeliversASampleThatRefusesItsLength) {
    rig.OwnAllocator().overrides.setLengthResult = E_NOTIMPL;
    rig.Start();
    Through(rig.Frame());
}

TEST_P(Streaming, ReturnsDownstreamsAnswers) {
    EXPECT_EQ(rig.transport->ReceiveCanBlock(), S_OK) << "of an unconnected output";
    rig.Start();
    for (const HRESULT answer : {S_FALSE, E_FAIL, VFW_E_WRONG_STATE, S_OK}) {
        rig.sink.onReceive = [answer](IMediaSample*) { return answer; };
        EXPECT_EQ(rig.Push(), answer);
        rig.sink.endOfStreamResult = rig.sink.canBlockResult = answer;
        EXPECT_EQ(rig.input->EndOfStream(), answer);
        EXPECT_EQ(rig.transport->ReceiveCanBlock(), answer == S_FALSE ? S_FALSE : S_OK);
        rig.sink.endFlushResult = answer;
        EXPECT_EQ(rig.input->BeginFlush(), S_OK);
        EXPECT_EQ(rig.input->EndFlush(), FAILED(answer) ? answer : S_OK);
        rig.sink.onReceive = nullptr;
        Through(rig.Frame());  // the flush has ended whatever the answer
    }
}

TEST_P(Streaming, StopReleasesAThreadThatWaitsForABuffer) {
    rig.Start();
    ComPtr<IMediaSample> onlyBuffer;
    ASSERT_EQ(rig.sink.allocator->GetBuffer(&onlyBuffer, nullptr, nullptr, 0), S_OK);
    auto waiting = PushOnAnotherThread();
    Sleep(50);
    rig.filter->Stop();
    EXPECT_NE(waiting.get(), S_OK);
    EXPECT_EQ(rig.sink.Count(), 0u);
}

TEST_P(Streaming, FlushesWhileReceiveWaitsForDownstream) {
    rig.Start();
    rig.sink.onReceive = [&](IMediaSample*) {
        while (rig.sink.Seen().beginFlush == 0) {
            std::this_thread::yield();
        }
        return S_FALSE;
    };
    auto waiting = PushOnAnotherThread();
    Sleep(50);
    EXPECT_EQ(rig.input->BeginFlush(), S_OK);
    EXPECT_EQ(waiting.get(), S_FALSE);
}

TEST_P(Streaming, GoesOnAfterFlushesSeeksAndStopsOnOtherThreads) {
    rig.sink.keepsSamples = false;
    rig.Start();
    const Stream& as = rig.stream;
    const MediaType types[] = {
        row().InputType(),
        row().InputType({as.width, as.height, as.frameDuration, Block::kVideoInfo2})};
    const auto frame = MakeSample({.bytes = rig.Frame().bytes, .type = types[0]});
    const auto other = MakeSample({.bytes = rig.Frame().bytes, .type = types[1]});
    const std::function<void()> works[] = {
        [&] {
            rig.transport->Receive(frame.Get());
            rig.transport->Receive(other.Get());
        },
        [&] {
            rig.input->BeginFlush();
            rig.input->EndFlush();
        },
        [&] {
            for (const MediaType& type : OfferedTypes(rig.output)) {
                EXPECT_EQ(type.Header().biWidth, rig.stream.width);
            }
            for (int i = 0; i < 50; ++i) {
                const MediaType now = ConnectionType(rig.input);
                EXPECT_TRUE(now == types[0] || now == types[1]);
            }
            rig.input->NewSegment(0, 400000, 1.0);
            rig.Notify({Flood, 500, 800000, 0});
            rig.input->EndOfStream();
        },
        [&] {
            rig.filter->Stop();
            rig.DisconnectOutput();
            rig.ConnectOutput();
            rig.filter->Run(0);
        }};
    std::vector<std::future<void>> all;
    for (const auto& work : works) {
        all.push_back(
            std::async(std::launch::async, [&] { For(std::chrono::milliseconds(400), work); }));
    }
    all.clear();
    rig.filter->Stop();
    rig.filter->Pause();
    rig.sink.keepsSamples = true;
    Through(rig.Frame());
}

TEST_P(Streaming, LosesNoMemory) {
    MediaType refused = row().InputType();
    refused.Header().biCompression = 0x12345678;
    const Sample typed{.bytes = rig.Frame().bytes, .type = row().InputType()};
    ExpectNothingKept([&] {
        Rig made(row());
        As<IMediaSeeking>(made.output);
        ASSERT_EQ(made.ConnectInput(refused), VFW_E_TYPE_NOT_ACCEPTED);
        ASSERT_EQ(made.ConnectInput(), S_OK);
        ASSERT_NE(made.ConnectOutput(refused), S_OK);
        HostileAllocator& buffers = made.OwnAllocator();
        ASSERT_EQ(made.ConnectOutput(), S_OK);
        ASSERT_EQ(made.filter->Pause(), S_OK);
        buffers.nextType = ConnectionType(made.output);
        ASSERT_EQ(made.Push(typed), S_OK);
    });
}

}  // namespace
}  // namespace nyx::test
