#include <cstdlib>

#include "tests/com/zeta_encoder_fixture.h"

namespace nyx::test {
namespace {

using ZetaEncoderTypes = ZetaEncoderTest;

constexpr DWORD kTopFirst = 0xA5;  // interlaced, field 1 first, both fields regular, bob or weave
constexpr DWORD kBottomFirst = 0xA1;  // the same without field 1 first

/// An input stream and what its size and rate say about fields and picture aspect.
struct Stream {
    Picture picture;
    DWORD interlaceFlags;
    DWORD aspectX;
    DWORD aspectY;
};

/// Every size that the format knows. A top-down picture's negative height shows in its aspect.
const Stream kStreams[] = {
    {{1920, 1080, 400000, Block::kVideoInfo}, kTopFirst, 16, 9},
    {{1920, -1080, 333666, Block::kVideoInfo2}, kTopFirst, 16, static_cast<DWORD>(-9)},
    {{1440, 1080, 333666, Block::kVideoInfo2}, kTopFirst, 16, 9},
    {{1280, 1080, 400000, Block::kVideoInfo}, kTopFirst, 16, 9},
    {{1280, 720, 333666, Block::kVideoInfo}, 0, 16, 9},
    {{960, 720, 200000, Block::kVideoInfo2}, 0, 16, 9},
    {{720, 576, 400000, Block::kVideoInfo}, kBottomFirst, 4, 3},
    {{720, -576, 400000, Block::kVideoInfo}, kBottomFirst, 4, static_cast<DWORD>(-3)},
    {{720, 576, 333667, Block::kVideoInfo2}, 0, 4, 3},
    {{720, 486, 333666, Block::kVideoInfo}, kTopFirst, 4, 3},
    {{720, 480, 333666, Block::kVideoInfo}, kBottomFirst, 27, 20},
    {{720, 480, 0, Block::kVideoInfo}, 0, 27, 20},
    {{640, 480, 400000, Block::kVideoInfo}, 0, 27, 20},
    {{320, 240, 400000, Block::kVideoInfo}, 0, 27, 20},
    {{160, 120, 400000, Block::kVideoInfo}, 0, 27, 20},
    {{800, 600, 400000, Block::kVideoInfo}, 0, 4, 3},
    {{352, 480, 333666, Block::kVideoInfo}, 0, 27, 20},
    {{352, 240, 333666, Block::kVideoInfo}, 0, 27, 20},
    {{352, 288, 400000, Block::kVideoInfo}, 0, 176, 135},
    {{176, 144, 400000, Block::kVideoInfo2}, 0, 176, 135},
    {{1280, 1024, 400000, Block::kVideoInfo}, 0, 5, 4},
    {{1280, 960, 400000, Block::kVideoInfo}, 0, 4, 3},
    {{1024, 768, 400000, Block::kVideoInfo}, 0, 4, 3},
    {{704, 480, 333666, Block::kVideoInfo}, 0, 33, 25},
    {{704, 576, 400000, Block::kVideoInfo}, 0, 176, 135},
};

/// What the encoder must offer in the given form, built from the rules alone.
MediaType Offer(const EncoderInput& input, const Stream& stream, Block block) {
    const LONG height = std::abs(stream.picture.height);
    MediaType type = VideoType({FourCCSubtype(kZetaFourCC), kZetaFourCC, input.streamBits,
                                stream.picture.width, height, stream.picture.frameDuration, block});
    type->bFixedSizeSamples = FALSE;
    type->lSampleSize = 1;  // without meaning where sizes vary; what a new media type has
    // The bytes of one picture stand in the bit rate.
    const auto bytes = static_cast<DWORD>(input.streamBits / 8 * stream.picture.width * height);
    type.Header().biSizeImage = bytes;
    if (block == Block::kVideoInfo2) {
        type.Info2().dwBitRate = bytes;
        type.Info2().dwInterlaceFlags = stream.interlaceFlags;
        type.Info2().dwPictAspectRatioX = stream.aspectX;
        type.Info2().dwPictAspectRatioY = stream.aspectY;
    } else {
        type.Info().dwBitRate = bytes;
    }
    return type;
}

TEST_F(ZetaEncoderTypes, EveryKindAndSizeIsOfferedInTheLongFormAndTheShortOne) {
    for (const EncoderInput& input : kEncoderInputs) {
        for (const Stream& stream : kStreams) {
            SCOPED_TRACE(::testing::Message() << input.name << " " << stream.picture.width << "x"
                                              << stream.picture.height);
            FilterRig rig(ZetaEncoderRow());
            ASSERT_EQ(rig.ConnectInput(input.Type(stream.picture)), S_OK);
            const auto offered = OfferedTypes(rig.output);
            ASSERT_EQ(offered.size(), 2u);
            EXPECT_EQ(offered[0], Offer(input, stream, Block::kVideoInfo2));
            EXPECT_EQ(offered[1], Offer(input, stream, Block::kVideoInfo));
        }
    }
}

TEST_F(ZetaEncoderTypes, OneBufferOfOnePointTwoPicturesIsAskedFor) {
    struct Case {
        const EncoderInput& input;
        LONG width;
        LONG height;
        LONG bytes;
    };
    const Case cases[] = {
        {kEncoderInputs[0], 1920, 1080, 4976640},  {kEncoderInputs[1], 1920, 1080, 7464960},
        {kEncoderInputs[2], 1920, -1080, 9953280}, {kEncoderInputs[0], 720, 486, 839808},
        {kEncoderInputs[1], 720, -480, 1244160},   {kEncoderInputs[2], 352, 288, 486604},
        {kEncoderInputs[1], 176, 144, 91238},      {kEncoderInputs[0], 160, 120, 46080},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.input.name << " " << c.width << "x" << c.height);
        FilterRig rig(ZetaEncoderRow());
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        ASSERT_EQ(rig.ConnectInput(c.input.Type({c.width, c.height})), S_OK);
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        EXPECT_EQ(rig.sink->in.ownAllocator->requested().cBuffers, 1);
        EXPECT_EQ(rig.sink->in.ownAllocator->requested().cbBuffer, c.bytes);
    }
}

TEST_F(ZetaEncoderTypes, AnAllocatorThatGrantsLessOrFailsIsPassedOver) {
    const struct {
        ALLOCATOR_PROPERTIES granted;
        HRESULT result;
        bool taken;
    } cases[] = {
        {{1, 46080, 1, 0}, S_OK, true},           {{2, 50000, 1, 0}, S_OK, true},
        {{1, 46079, 1, 0}, S_OK, false},          {{0, 46080, 1, 0}, S_OK, false},
        {{1, 46080, 1, 0}, E_OUTOFMEMORY, false},
    };
    for (const auto& c : cases) {
        FilterRig rig(ZetaEncoderRow());
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        rig.sink->in.ownAllocator->granted = c.granted;
        rig.sink->in.ownAllocator->setPropertiesResult = c.result;
        ASSERT_EQ(rig.ConnectInput(kYuy2Input.Type({160, 120})), S_OK);
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        EXPECT_EQ(rig.sink->in.allocator() == rig.sink->in.ownAllocator.get(), c.taken);
    }
}

TEST_F(ZetaEncoderTypes, PicturesThatTheFormatDoesNotKnowAreRefused) {
    const struct {
        const char* what;
        GUID subtype;
        DWORD compression;
        WORD bitCount;
        LONG width;
        LONG height;
    } cases[] = {
        // The registered type names pictures that may carry alpha; without it the codec has none.
        {"RGB 32-bit without alpha", MEDIASUBTYPE_RGB32, BI_RGB, 32, 160, 120},
        {"UYVY", MEDIASUBTYPE_UYVY, FourCC("UYVY"), 16, 160, 120},
        {"RGB 16-bit", MEDIASUBTYPE_RGB565, BI_RGB, 16, 160, 120},
        {"YUY2 that is RGB", MEDIASUBTYPE_YUY2, BI_RGB, 16, 160, 120},
        {"its own format", FourCCSubtype(kZetaFourCC), kZetaFourCC, 24, 160, 120},
        {"no such width", MEDIASUBTYPE_YUY2, FourCC("YUY2"), 16, 1366, 768},
        {"no such height", MEDIASUBTYPE_YUY2, FourCC("YUY2"), 16, 1920, 1088},
        {"negative width", MEDIASUBTYPE_YUY2, FourCC("YUY2"), 16, -160, 120},
        {"least height", MEDIASUBTYPE_YUY2, FourCC("YUY2"), 16, 160, LONG_MIN},
    };
    FilterRig rig(ZetaEncoderRow());
    for (const auto& c : cases) {
        MediaType type = kYuy2Input.Type({160, 120});
        type->subtype = c.subtype;
        type.Header().biCompression = c.compression;
        type.Header().biBitCount = c.bitCount;
        type.Header().biWidth = c.width;
        type.Header().biHeight = c.height;
        EXPECT_EQ(rig.input->QueryAccept(type.get()), S_FALSE) << c.what;
        EXPECT_EQ(rig.ConnectInput(type), VFW_E_TYPE_NOT_ACCEPTED) << c.what;
    }
}

TEST_F(ZetaEncoderTypes, ABlockThatCannotHoldAHeaderIsRefused) {
    FilterRig rig(ZetaEncoderRow());
    for (const Block block : {Block::kVideoInfo, Block::kVideoInfo2}) {
        const MediaType whole = kYuy2Input.Type({160, 120, 400000, block});
        ASSERT_EQ(rig.input->QueryAccept(whole.get()), S_OK);
        MediaType cut = whole;
        --cut->cbFormat;
        EXPECT_EQ(rig.input->QueryAccept(cut.get()), S_FALSE);
        MediaType other = whole;
        other->formattype = FORMAT_MPEGVideo;
        EXPECT_EQ(rig.input->QueryAccept(other.get()), S_FALSE);
        MediaType none = whole;
        none.ResizeFormat(0);
        EXPECT_EQ(rig.input->QueryAccept(none.get()), S_FALSE);
    }
}

TEST_F(ZetaEncoderTypes, TheOutputMustBelongToTheInput) {
    const struct {
        const char* what;
        void (*change)(MediaType& type);
    } changes[] = {
        {"other bits", [](MediaType& type) { type.Header().biBitCount ^= 24 ^ 32; }},
        {"other code", [](MediaType& type) { type.Header().biCompression = FourCC("QZT2"); }},
        {"top-down", [](MediaType& type) { type.Header().biHeight = -120; }},
        {"other width", [](MediaType& type) { type.Header().biWidth = 176; }},
        {"other height", [](MediaType& type) { type.Header().biHeight = 144; }},
        {"two planes", [](MediaType& type) { type.Header().biPlanes = 2; }},
        {"short header", [](MediaType& type) { type.Header().biSize = 39; }},
        {"no block", [](MediaType& type) { type.ResizeFormat(0); }},
    };
    for (const EncoderInput& input : kEncoderInputs) {
        FilterRig rig(ZetaEncoderRow());
        ASSERT_EQ(rig.ConnectInput(input.Type({160, 120})), S_OK);
        for (const MediaType& offered : OfferedTypes(rig.output)) {
            ASSERT_EQ(rig.output->QueryAccept(offered.get()), S_OK) << input.name;
            for (const auto& c : changes) {
                MediaType changed = offered;
                c.change(changed);
                EXPECT_EQ(rig.output->QueryAccept(changed.get()), S_FALSE)
                    << input.name << ": " << c.what;
            }
        }
    }
}

TEST_F(ZetaEncoderTypes, NothingIsOfferedOrTakenWithoutAnInput) {
    FilterRig rig(ZetaEncoderRow());
    EXPECT_TRUE(OfferedTypes(rig.output).empty());
    EXPECT_TRUE(OfferedTypes(rig.input).empty());
    const MediaType type = VideoType(
        {FourCCSubtype(kZetaFourCC), kZetaFourCC, 24, 160, 120, 400000, Block::kVideoInfo});
    EXPECT_EQ(rig.output->QueryAccept(type.get()), S_FALSE);
}

}  // namespace
}  // namespace nyx::test
