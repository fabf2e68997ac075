/// Types that change in mid-stream, by the samples' types and by what the frames contain.

#include "tests/support/frames.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

/// A decoder whose downstream attaches types to its buffers, which have room for 32 columns more.
class TypeOnABuffer : public RigTest {
  protected:
    void SetUp() override {
        buffers.granted = ALLOCATOR_PROPERTIES{1, 4 * (width + 32) * rig.stream.height, 1, 0};
        rig.Start();
    }
    /// Every output type, in the width of the stream and wider.
    std::vector<MediaType> Types() const {
        std::vector<MediaType> types;
        for (std::size_t i = 0; i < row().Outputs().size(); ++i) {
            for (const LONG wider : {0, 32}) {
                types.push_back(row().OutputType(i));
                types.back().Header().biWidth += wider;
            }
        }
        return types;
    }
    HostileAllocator& buffers = rig.OwnAllocator();
    const LONG width = rig.stream.width;
};
NYX_FOR_ROWS(TypeOnABuffer, Rows({"Q210Decoder", "ZetaDecoder"}));

TEST_P(TypeOnABuffer, WaitsForAKeyFrameAndTravelsWithIt) {
    for (const MediaType& type : Types()) {
        ASSERT_EQ(rig.output->QueryAccept(&type), S_OK);
        buffers.nextType = type;
        Sample delta = rig.Frame();
        delta.syncPoint = false;
        Through(delta, {}, 0);
        EXPECT_EQ(ConnectionType(rig.output), type);
        buffers.nextType = type;
        EXPECT_EQ(Through(rig.Frame()).type, type);
        EXPECT_FALSE(HostileSample::typeHandedBack);
        EXPECT_FALSE(Through(rig.Frame()).type);
    }
}

TEST_P(TypeOnABuffer, DecidesWhichBytesArePictureFromThatFrameOn) {
    for (const MediaType& type : Types()) {
        buffers.nextType = type;
        Through(rig.Frame());
        const auto size = static_cast<std::size_t>(PictureBytes(type.Header()));
        EXPECT_EQ(Through(rig.Frame()).bytes.size(), size) << "the picture's, not the buffer's";
        const LONG pixel = type.Header().biBitCount / 8;
        const Bytes bytes = buffers.Buffer();
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            const LONG column = static_cast<LONG>(at) % (pixel * type.Header().biWidth);
            ASSERT_EQ(bytes[at] != buffers.kUnwritten, at < size && column < pixel * width);
        }
    }
}

TEST_P(TypeOnABuffer, FailsTheFrameIfItIsNoneOfADecoderOrTooLarge) {
    std::vector<MediaType> types(5, row().OutputType());
    types[0].formattype = GUID_NULL;
    types[1].subtype = MEDIASUBTYPE_RGB565;
    types[2].subtype = MEDIASUBTYPE_RGB24;
    types[3].Header().biWidth = 2 * (width + 32) + 2;  // at two bytes a pixel, past the buffer
    types[4].Header().biWidth = 0x7FFFFFFE;
    for (const MediaType& type : types) {
        buffers.nextType = type;
        EXPECT_EQ(rig.Push(), E_FAIL);
        EXPECT_TRUE(buffers.IsUntouched() && buffers.MarginsAreUntouched());
    }
    EXPECT_EQ(rig.sink.Count(), 0u);
}

TEST_P(TypeOnABuffer, ChangesNothingWithoutAFormatBlock) {
    buffers.nextType = row().OutputType();
    Through(rig.Frame());
    buffers.nextType = row().OutputType(1);
    buffers.nextType->ResizeFormat(0);
    Through(rig.Frame());
    EXPECT_EQ(ConnectionType(rig.output), row().OutputType());
}

// dvdmedia.h of the platform: AM_VIDEO_FLAG_FIELD1FIRST and AM_VIDEO_FLAG_WEAVE.
constexpr DWORD kField1First = 4;
constexpr DWORD kWeave = 2;

/// The Q210 decoder, whose streams have any width and whose frames need no engine.
class FrameParameters : public RigTest {
  protected:
    void Start(bool longForm = true, HRESULT dynamic = S_OK) {
        rig.sink.onDynamicType = [this, dynamic](const MediaType& type) {
            ++queries;
            EXPECT_EQ(ConnectionType(rig.output), type)
                << "downstream may query the type meanwhile";
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
NYX_FOR_ROWS(FrameParameters, Rows({"Q210Decoder"}));

TEST_P(FrameParameters, FollowATypeOnAnInputSample) {
    rig.Start();
    const MediaType narrower = row().InputType(row().other);
    ASSERT_EQ(rig.input->QueryAccept(&narrower), S_OK);
    Sample wide = rig.Frame(), narrow{row().Frame(row().other)};
    wide.type = row().InputType();
    EXPECT_EQ(rig.Push(narrow), E_FAIL) << "too short for the old type";
    for (const Overrides& overrides : {Overrides{}, Overrides{.sample2 = false}}) {
        narrow.type = narrower;
        EXPECT_FALSE(Through(narrow, overrides).type) << "the output type does not change";
        EXPECT_EQ(ConnectionType(rig.input), narrower);
        narrow.type.reset();
        Through(narrow);
        Through(wide, overrides);
    }
}

TEST_P(FrameParameters, FollowTheChunksOfTheFrames) {
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
    // The pin keeps the new type whatever the peer answers; the short form is never updated.
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
            EXPECT_EQ(queries - asked, changes ? 1 : 0);
            EXPECT_EQ(arrived.type, changes && !answer ? std::optional(expected) : std::nullopt);
        }
        rig.filter->Stop();
        rig.Disconnect();
    }
}

TEST_P(FrameParameters, AreShownToAPeerWithoutDynamicConnectionsByTheTypeAlone) {
    rig.stream = {720, 480, 333666};  // with fields unless its frames say otherwise
    rig.OwnAllocator().overrides.sample2 = false;
    Start();
    rig.sink.onDynamicType = nullptr;
    EXPECT_FALSE(Through(Frame(4, 3, 2)).type);
    const auto shown = ConnectionType(rig.output).Info2();
    EXPECT_EQ(std::pair(shown.dwInterlaceFlags, shown.dwPictAspectRatioX), std::pair(0ul, 2ul));
}

TEST_P(FrameParameters, OfAFailedFrameAreAnnouncedWithTheNext) {
    Start();
    Sample cut = Frame(5, 3, 1);
    cut.bytes.resize(cut.bytes.size() - rig.Frame().bytes.size() / 2);
    EXPECT_EQ(rig.Push(cut), E_FAIL);
    const Sample next = Through(Frame(5, 3, 1));
    EXPECT_EQ(next.type, ConnectionType(rig.output));
    EXPECT_FALSE(Through(Frame(5, 3, 1)).type);
}

TEST_P(FrameParameters, OfFramesThatWaitForAKeyFrameAreAnnouncedWithTheFirstDelivered) {
    Start();
    Sample waiting = Frame(7, 3, 1);
    waiting.discontinuity = true;
    waiting.syncPoint = false;
    for (int frame = 1; frame < 30; ++frame) {
        Through(waiting, {}, 0);
        waiting.discontinuity = false;
        EXPECT_EQ(rig.filter->Pause(), S_OK) << "no other run";
    }
    EXPECT_TRUE(Through(waiting).type);
    EXPECT_EQ(rig.graph->Count(EC_QUALITY_CHANGE), 1);
}

}  // namespace
}  // namespace nyx::test
