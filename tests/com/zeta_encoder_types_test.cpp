#include <cstdlib>

#include "tests/com/streams.h"
#include "tests/com/zeta_encoder_fixture.h"

namespace nyx::test {
namespace {

using ZetaEncoderTypes = ZetaEncoderTest;

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
            if (!rig.row.Takes(stream.picture.width, std::abs(stream.picture.height))) {
                EXPECT_EQ(rig.ConnectInput(input.Type(stream.picture)), VFW_E_TYPE_NOT_ACCEPTED);
                continue;
            }
            ASSERT_EQ(rig.ConnectInput(input.Type(stream.picture)), S_OK);
            const auto offered = OfferedTypes(rig.output);
            ASSERT_EQ(offered.size(), 2u);
            EXPECT_EQ(offered[0], Offer(input, stream, Block::kVideoInfo2));
            EXPECT_EQ(offered[1], Offer(input, stream, Block::kVideoInfo));
        }
    }
}

TEST_F(ZetaEncoderTypes, ABufferOfOnePointTwoPicturesIsAskedFor) {
    struct Case {
        const EncoderInput& input;
        LONG width;
        LONG height;
        LONG bytes;
    };
    const Case cases[] = {
        {kEncoderInputs[0], 1920, 1080, 4976640},
        {kEncoderInputs[2], 1920, -1080, 9953280},
        {kEncoderInputs[2], 352, 288, 486604},
        {kEncoderInputs[1], 176, 144, 91238},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.input.name << " " << c.width << "x" << c.height);
        FilterRig rig(ZetaEncoderRow());
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        ASSERT_EQ(rig.ConnectInput(c.input.Type({c.width, c.height})), S_OK);
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        EXPECT_EQ(rig.sink->in.ownAllocator->requested().cbBuffer, c.bytes);
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

}  // namespace
}  // namespace nyx::test
