/// What comes of samples between pause and stop.

#include <climits>
#include <future>

#include "tests/support/frames.h"
#include "tests/support/leaks.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class Streaming : public RowTest {
  protected:
    /// The one sample that arrives when `sample` is pushed, or with 0 `arrivals` none does.
    Sample Through(const Sample& sample, const Lies& lies = {}, std::size_t arrivals = 1) {
        rig.sink.Forget();
        EXPECT_EQ(rig.Push(sample, lies), S_OK);
        EXPECT_EQ(rig.sink.Count(), arrivals);
        return rig.sink.Count() == 1 ? rig.sink.Last() : Sample{};
    }
    Rig rig{row()};
};
NYX_FOR_ROWS(Streaming, Rows({"Q210Decoder", "ZetaDecoder", "ZetaEncoder"}));

class Decoding : public Streaming {};
NYX_FOR_ROWS(Decoding, Rows({"Q210Decoder", "ZetaDecoder"}));

TEST_P(Streaming, TimesAndFlagsAreCarriedByAnyKindOfSample) {
    const auto carried = [](const Sample& s) {
        return std::tuple(s.start, s.stop, s.mediaStart, s.syncPoint, s.preroll, s.discontinuity);
    };
    const Bytes frame = rig.Frame().bytes;
    for (const int buffers : {0, 1, 2}) {  // the platform's, foreign ones, without IMediaSample2
        SCOPED_TRACE(buffers);
        if (buffers > 0) {
            rig.OwnAllocator().lies.sample2 = buffers == 1;
        }
        rig.Start();
        for (const bool sample2 : {true, false}) {
            for (Sample sample : {Sample{frame, {}, {}, 7, true, false, false},
                                  Sample{frame, 20000, {}, 7, true, true, false},
                                  Sample{frame, 20000, 30000, 7, false, true, false},
                                  Sample{frame, -1, 1, 7, true, false, true}}) {
                const Sample arrived = Through(sample, {sample2});
                // The older interface's way carries media times and knows no preroll.
                buffers == 2 ? void(sample.preroll = false) : sample.mediaStart.reset();
                EXPECT_EQ(carried(arrived), carried(sample));
                EXPECT_FALSE(arrived.type);
            }
        }
        rig.filter->Stop();
        rig.Disconnect();
    }
}

TEST_P(Streaming, WhatIsNotAsPromisedFailsItsFrameOnly) {
    HostileAllocator& buffers = rig.OwnAllocator();
    rig.Start();
    const Sample whole = rig.Frame();
    const auto size = static_cast<LONG>(whole.bytes.size());
    // What a length claims is true of the buffer too: nothing behind it may be used, whether it is
    // the end of the readable memory or not.
    for (const LONG length : {0L, 1L, size / 2, size - 1, -1L, LONG{LONG_MIN}}) {
        EXPECT_EQ(rig.Push(whole, {.length = length}), E_FAIL) << length;
        EXPECT_TRUE(buffers.IsUntouched());
    }
    // A frame of an encoder may be smaller than the buffer that was agreed on.
    const LONG room = row().BufferBytes();
    for (const LONG shorter : {room, room - 1, row().IsEncoder() ? room : 1}) {
        buffers.shorter = shorter;
        EXPECT_EQ(rig.Push(), E_FAIL) << shorter;
        EXPECT_TRUE(buffers.IsUntouched() && buffers.MarginsAreUntouched());
    }
    buffers.shorter = 0;
    for (const DWORD protection :
         {DWORD{PAGE_READONLY}, DWORD{PAGE_NOACCESS}, DWORD{PAGE_READWRITE | PAGE_GUARD}}) {
        buffers.protection = protection;
        EXPECT_EQ(rig.Push(), E_FAIL) << protection;
        EXPECT_EQ(buffers.Protection(), protection) << "a guard page is not used up";
    }
    buffers.protection = PAGE_READONLY;  // of all pages but the first
    buffers.protectedFrom = 4096;
    EXPECT_EQ(rig.Push(), room > 4096 ? E_FAIL : S_OK);
    EXPECT_TRUE(room <= 4096 || buffers.IsUntouched());
    rig.sink.Forget();
    buffers.protection = PAGE_READWRITE;
    for (const Lies& noData : {Lies{.pointerResult = E_FAIL}, Lies{.nullPointer = true}}) {
        EXPECT_EQ(rig.Push(whole, noData), E_UNEXPECTED);
        buffers.lies = noData;
        EXPECT_EQ(rig.Push(), E_UNEXPECTED);
        buffers.lies = {};
    }
    EXPECT_EQ(rig.sink.Count(), 0u);
    EXPECT_EQ(rig.graph->Seen().size(), 0u) << "a failed frame raises no event";
    EXPECT_EQ(rig.Push(whole, {.length = LONG_MAX, .behind = size / 2}), E_FAIL);
    const Bytes picture = Through({whole.bytes + Bytes{0xFF}}).bytes;  // begins at an odd address
    for (const LONG misaligned : {0, 1, 15}) {
        buffers.misaligned = misaligned;
        EXPECT_EQ(Through(whole, {.length = LONG_MAX}).bytes, picture) << misaligned;
        EXPECT_TRUE(buffers.MarginsAreUntouched());
    }
    buffers.lies.setLengthResult = E_NOTIMPL;
    Through(whole);  // a length that cannot be set stops nothing
}

TEST_P(Streaming, DownstreamsAnswersComeBack) {
    EXPECT_EQ(rig.transport->ReceiveCanBlock(), S_OK) << "an unconnected output tells nothing";
    rig.Start();
    for (const HRESULT answer : {S_FALSE, E_FAIL, VFW_E_WRONG_STATE, S_OK}) {
        rig.sink.onReceive = [answer](IMediaSample*) { return answer; };
        EXPECT_EQ(rig.Push(), answer);
        rig.sink.endOfStreamResult = rig.sink.canBlockResult = answer;
        EXPECT_EQ(rig.input->EndOfStream(), answer);
        rig.sink.endFlushResult = answer;
        EXPECT_EQ(rig.input->BeginFlush(), S_OK);
        EXPECT_EQ(rig.input->EndFlush(), FAILED(answer) ? answer : S_OK) << "and it is over";
        EXPECT_EQ(rig.transport->ReceiveCanBlock(), answer == S_FALSE ? S_FALSE : S_OK);
    }
    rig.source.Forget();
    EXPECT_EQ(rig.Notify({Flood, 1000, 0, 0}), E_FAIL) << "the renderer may help itself";
    EXPECT_FALSE(rig.source.WasAskedFor(IID_IQualityControl)) << "nothing goes upstream";
    EXPECT_EQ(rig.input->NewSegment(10000, 20000, 1.5), S_OK);
    const Events seen = rig.sink.Seen();
    EXPECT_EQ(std::tuple(seen.newSegment, seen.segmentStart, seen.segmentStop, seen.rate),
              std::tuple(1, 10000, 20000, 1.5));
}

TEST_P(Streaming, StopAndFlushLetAWaitingUpstreamThreadGo) {
    rig.Start();
    // The one buffer of the pool is held here, so Receive must wait for it.
    ComPtr<IMediaSample> held;
    ASSERT_EQ(rig.sink.allocator->GetBuffer(&held, nullptr, nullptr, 0), S_OK);
    const auto push = [&] { return std::async(std::launch::async, [&] { return rig.Push(); }); };
    auto waiting = push();
    Sleep(50);
    rig.filter->Stop();
    EXPECT_NE(waiting.get(), S_OK);
    EXPECT_EQ(rig.sink.Count(), 0u);
    held.Reset();
    rig.filter->Pause();
    rig.sink.onReceive = [&](IMediaSample*) {
        while (rig.sink.Seen().beginFlush == 0) {
            std::this_thread::yield();
        }
        return S_FALSE;
    };
    waiting = push();
    Sleep(50);
    EXPECT_EQ(rig.input->BeginFlush(), S_OK) << "while Receive waits for downstream";
    EXPECT_EQ(waiting.get(), S_FALSE);
}

TEST_P(Streaming, FlushesSeeksAndStopsOnOtherThreadsLeaveTheFilterInOrder) {
    rig.sink.keepsSamples = false;
    rig.Start();
    // What others ask for is replaced while they do.
    const Stream& as = rig.stream;
    const MediaType types[] = {
        row().InputType(),
        row().InputType({as.width, as.height, as.frameDuration, Block::kVideoInfo2})};
    const auto frame = MakeSample({.bytes = rig.Frame().bytes, .type = types[0]});
    const auto other = MakeSample({.bytes = rig.Frame().bytes, .type = types[1]});
    const std::function<void()> works[] = {
        [&] { rig.transport->Receive(frame.Get()), rig.transport->Receive(other.Get()); },
        [&] { rig.input->BeginFlush(), rig.input->EndFlush(); },
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

TEST_P(Decoding, ATypeOnDownstreamsBufferChangesTheOutputFromThatFrameOn) {
    const LONG width = rig.stream.width;
    HostileAllocator& buffers = rig.OwnAllocator();
    buffers.granted = ALLOCATOR_PROPERTIES{1, 4 * (width + 32) * rig.stream.height, 1, 0};
    rig.Start();
    for (std::size_t i = 0; i < row().Outputs().size(); ++i) {
        for (const LONG wider : {0, 32}) {
            MediaType type = row().OutputType(i);
            type.Header().biWidth = width + wider;
            ASSERT_EQ(rig.output->QueryAccept(&type), S_OK) << "is offered while streaming";
            buffers.nextType = type;
            Sample delta = rig.Frame();
            delta.syncPoint = false;
            Through(delta, {}, 0);  // it waits for a key frame
            EXPECT_EQ(ConnectionType(rig.output), type);
            buffers.nextType = type;
            EXPECT_EQ(Through(rig.Frame()).type, type) << "it travels with the first frame of it";
            EXPECT_FALSE(HostileSample::typeHandedBack);
            const Sample next = Through(rig.Frame());
            EXPECT_FALSE(next.type);
            const auto size = static_cast<std::size_t>(PictureBytes(type.Header()));
            EXPECT_EQ(next.bytes.size(), size) << "the picture's, not the buffer's";
            const LONG pixel = type.Header().biBitCount / 8;
            const Bytes bytes = buffers.Buffer();
            for (std::size_t at = 0; at < bytes.size(); ++at) {
                const LONG column = static_cast<LONG>(at) % (pixel * (width + wider));
                ASSERT_EQ(bytes[at] != buffers.kUnwritten, at < size && column < pixel * width);
            }
        }
    }
    std::vector<MediaType> types(5, row().OutputType());
    types[0].formattype = GUID_NULL;
    types[1].subtype = MEDIASUBTYPE_RGB565;
    types[2].subtype = MEDIASUBTYPE_RGB24;
    types[3].Header().biWidth = 2 * (width + 32) + 2;  // at two bytes a pixel, past the buffer
    types[4].Header().biWidth = 0x7FFFFFFE;
    rig.sink.Forget();
    for (const MediaType& type : types) {
        buffers.nextType = type;
        EXPECT_EQ(rig.Push(), E_FAIL);
        EXPECT_TRUE(buffers.IsUntouched() && buffers.MarginsAreUntouched());
    }
    EXPECT_EQ(rig.sink.Count(), 0u);
    buffers.nextType = row().OutputType();
    Through(rig.Frame());
    MediaType bare = row().OutputType(1);
    bare.ResizeFormat(0);
    buffers.nextType = bare;
    Through(rig.Frame());
    EXPECT_EQ(ConnectionType(rig.output), row().OutputType()) << "one without a block says nothing";
}

// dvdmedia.h of the platform: AM_VIDEO_FLAG_FIELD1FIRST and AM_VIDEO_FLAG_WEAVE.
constexpr DWORD kField1First = 4;
constexpr DWORD kWeave = 2;

/// Of the Q210 decoder, whose streams have any width and whose frames need no engine.
class OneDecoder : public Streaming {
  protected:
    void Start(bool longForm = true, HRESULT dynamic = S_OK) {
        rig.sink.onDynamicType = [this, dynamic](const MediaType& type) {
            ++queries;
            EXPECT_EQ(ConnectionType(rig.output), type) << "downstream may ask while it is asked";
            return dynamic;
        };
        rig.Start(0, longForm ? Block::kVideoInfo2 : Block::kVideoInfo);
    }
    /// A frame with chunks: the pixel aspect, and the field code, which is 0 for top first, 1 for
    /// bottom first, 2 for progressive.
    Sample Frame(LONG pixelX, LONG pixelY, DWORD fieldCode, DWORD flags = 0) {
        Sample sample = rig.Frame();
        sample.bytes = InfoChunk(0, 0, pixelX, pixelY, Chunk("FIEL", {fieldCode})) + sample.bytes;
        sample.typeFlags = flags;
        return sample;
    }
    int queries = 0;
};
NYX_FOR_ROWS(OneDecoder, Rows({"Q210Decoder"}));

TEST_P(OneDecoder, ATypeOnAnInputSampleChangesTheInputBeforeTheFrame) {
    rig.Start();
    const MediaType narrower = row().InputType(row().other);
    ASSERT_EQ(rig.input->QueryAccept(&narrower), S_OK) << "is offered while streaming";
    Sample wide = rig.Frame(), narrow{row().Frame(row().other)};
    wide.type = row().InputType();
    EXPECT_EQ(rig.Push(narrow), E_FAIL) << "too short for the old type";
    for (const Lies& lies : {Lies{}, Lies{.sample2 = false}}) {
        narrow.type = narrower;
        EXPECT_FALSE(Through(narrow, lies).type) << "the output type is not affected";
        EXPECT_EQ(ConnectionType(rig.input), narrower);
        narrow.type.reset();
        Through(narrow);
        Through(wide, lies);
    }
}

TEST_P(OneDecoder, FrameParametersFollowTheChunksOfTheFrames) {
    const struct {
        LONG x, y;
        DWORD code, upstream;  // flags that upstream set
        DWORD interlaced;      // this and the picture's aspect are shown
        LONG aspectX, aspectY;
    } table[] = {{4, 3, 0, kWeave, 0xA5, 8, 1},
                 {4, 3, 0, 0, 0xA5, 8, 1},
                 {4, 3, 1, kField1First, 0xA1, 8, 1},
                 {1, 1, 2, kField1First, 0, 6, 1},
                 {1, 1, 3, kField1First, 0, 6, 1},
                 {0, 0, 2, 0, 0, 0, 0},
                 {0, 7, 0, 0, 0xA5, 0, 1},
                 {1 << 29, -(1 << 29), 2, 0, 0, 6, -1}};
    // Whatever the peer says of the new type, the pin keeps it; the short form is never updated.
    for (const HRESULT answer : {HRESULT{S_OK}, HRESULT{S_FALSE}, HRESULT{E_FAIL}, E_NOTIMPL}) {
        const bool longForm = answer != E_NOTIMPL;
        Start(longForm, answer);
        MediaType expected = ConnectionType(rig.output);
        for (const auto& c : table) {
            SCOPED_TRACE(testing::Message() << answer << " " << c.x << ":" << c.y << " " << c.code);
            const MediaType before = expected;
            if (longForm) {
                expected.Info2().dwInterlaceFlags = c.interlaced;
                expected.Info2().dwPictAspectRatioX = static_cast<DWORD>(c.aspectX);
                expected.Info2().dwPictAspectRatioY = static_cast<DWORD>(c.aspectY);
            }
            const int asked = queries;
            const Sample arrived = Through(Frame(c.x, c.y, c.code, c.upstream));
            EXPECT_EQ(arrived.typeFlags, (c.code == 0 ? kField1First : 0u) | (c.upstream & kWeave));
            EXPECT_EQ(ConnectionType(rig.output), expected);
            const bool changes = !(before == expected);
            EXPECT_EQ(queries - asked, changes ? 1 : 0) << "it is asked once";
            EXPECT_EQ(arrived.type, changes && !answer ? std::optional(expected) : std::nullopt);
        }
        rig.filter->Stop();
        rig.Disconnect();
    }
    rig.stream = {720, 480, 333666};  // with fields unless its frames say otherwise
    rig.OwnAllocator().lies.sample2 = false;
    Start();
    rig.sink.onDynamicType = nullptr;  // a peer without dynamic connections
    EXPECT_FALSE(Through(Frame(4, 3, 2)).type);
    const auto shown = ConnectionType(rig.output).Info2();
    EXPECT_EQ(std::pair(shown.dwInterlaceFlags, shown.dwPictAspectRatioX), std::pair(0ul, 2ul));
}

TEST_P(OneDecoder, AChangeOnAFrameThatIsNotDeliveredIsAnnouncedWithTheNext) {
    Start();
    Sample cut = Frame(5, 3, 1);
    cut.bytes.resize(cut.bytes.size() - rig.Frame().bytes.size() / 2);
    EXPECT_EQ(rig.Push(cut), E_FAIL);
    const Sample next = Through(Frame(5, 3, 1));
    EXPECT_EQ(next.type, ConnectionType(rig.output));
    EXPECT_FALSE(Through(Frame(5, 3, 1)).type);
    Sample waitingForKeyFrame = Frame(7, 3, 1);  // for want of a key frame
    waitingForKeyFrame.discontinuity = true;
    waitingForKeyFrame.syncPoint = false;
    for (int frame = 1; frame < 30; ++frame) {
        Through(waitingForKeyFrame, {}, 0);
        waitingForKeyFrame.discontinuity = false;
    }
    EXPECT_TRUE(Through(waitingForKeyFrame).type) << "the last one to wait is delivered";
}

TEST_P(Streaming, LongRunsLoseNoMemory) {
    MediaType refused = row().InputType();
    refused.Header().biCompression = 0x12345678;
    const Sample typed{.bytes = rig.Frame().bytes, .type = row().InputType()};
    ExpectNoLeak(100, [&] {
        Rig made(row());
        As<IMediaSeeking>(made.output);
        ASSERT_NE(made.ConnectInput(refused), S_OK);
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
