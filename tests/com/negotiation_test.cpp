/// The media types that a filter offers and accepts.

#include <climits>

#include "platform/fourcc.h"
#include "tests/support/guard.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

class Negotiation : public RigTest {};
NYX_FOR_ROWS(Negotiation, Rows({"Q210Decoder", "ZetaDecoder", "ZetaEncoder"}));

class DecoderOutput : public RigTest {};
NYX_FOR_ROWS(DecoderOutput, Rows({"Q210Decoder", "ZetaDecoder"}));

class OfferedTypesOf : public RowTest {};
NYX_FOR_ROWS(OfferedTypesOf,
             Rows({"Q210Decoder", "ZetaDecoder", "ZetaAlphaDecoder", "ZetaEncoder"}));

/// A stream with the field order and the picture aspect that its size implies.
struct SizedStream {
    Stream stream;
    DWORD interlaceFlags;
    LONG aspectX, aspectY;
};

/// Offer `index` of a row for a stream.
MediaType ExpectedOffer(const CatalogueRow& row, const SizedStream& sized, std::size_t index) {
    const std::size_t count = row.Outputs().size();
    const auto layout = row.Outputs()[index % count];
    Stream stream = sized.stream;
    stream.height = std::abs(stream.height);
    stream.block = index < count ? Block::kVideoInfo2 : Block::kVideoInfo;
    MediaType type = row.OutputType(index % count, stream);
    // Hosts expect the product with the frame's duration, not the quotient.
    const double rate = 1.0 * layout.bits * stream.width * stream.height *
                        static_cast<double>(stream.frameDuration) * 1e-7;
    type.Info().dwBitRate = static_cast<DWORD>(static_cast<LONGLONG>(rate));
    if (row.IsEncoder()) {
        type.bFixedSizeSamples = FALSE;
        type.lSampleSize = 1;  // without meaning here; the value of a new media type
        type.Info().dwBitRate = type.Header().biSizeImage;
    }
    if (stream.block == Block::kVideoInfo2) {
        type.Info2().dwInterlaceFlags = sized.interlaceFlags;
        type.Info2().dwPictAspectRatioX = static_cast<DWORD>(sized.aspectX);
        type.Info2().dwPictAspectRatioY = static_cast<DWORD>(sized.aspectY);
    }
    return type;
}

TEST_P(OfferedTypesOf, AreAllLayoutsInTheLongFormThenInTheShort) {
    const SizedStream streams[] = {
        {{1920, 1080, 400000}, 0xA5, 16, 9}, {{1440, 1080, 333666}, 0xA5, 16, 9},
        {{1280, 1080, 333666}, 0xA5, 16, 9}, {{1280, 720, 333666}, 0, 16, 9},
        {{960, 720, 400000}, 0, 16, 9},      {{1024, 576, 400000}, 0xA1, 16, 9},
        {{720, 576, 400000}, 0xA1, 4, 3},    {{720, 576, 333667}, 0, 4, 3},
        {{720, 486, 333666}, 0xA5, 4, 3},    {{720, 480, 333666}, 0xA1, 27, 20},
        {{720, -480, 333666}, 0xA1, 27, 20}, {{856, 480, 333666}, 0xA1, 107, 60},
        {{704, 576, 400000}, 0, 176, 135},   {{704, 480, 333666}, 0, 33, 25},
        {{640, 480, 333666}, 0, 27, 20},     {{320, 240, 333666}, 0, 27, 20},
        {{160, 120, 333666}, 0, 27, 20},     {{352, 480, 333666}, 0, 27, 20},
        {{352, 240, 333666}, 0, 27, 20},     {{352, 288, 400000}, 0, 176, 135},
        {{176, 144, 400000}, 0, 176, 135},   {{1024, 768, 400000}, 0, 4, 3},
        {{1280, 1024, 400000}, 0, 5, 4},     {{1280, 960, 400000}, 0, 4, 3},
        {{800, 600, 400000}, 0, 4, 3},       {{1000, 1000, 400000}, 0, 1, 1},
        {{1080, 1920, 400000}, 0, 9, 16},    {{96, 16, 0x10000061A80}, 0, 6, 1}};
    int accepted = 0;
    for (const SizedStream& sized : streams) {
        SCOPED_TRACE(testing::Message() << sized.stream.width << "x" << sized.stream.height);
        Rig rig(row(), sized.stream);
        if (rig.ConnectInput() != S_OK) {
            continue;
        }
        ++accepted;
        const auto offered = OfferedTypes(rig.output);
        ASSERT_EQ(offered.size(), 2 * row().Outputs().size());
        for (std::size_t i = 0; i < offered.size(); ++i) {
            EXPECT_EQ(offered[i], ExpectedOffer(row(), sized, i)) << i;
        }
    }
    // Zeta has a list of sizes; only pictures have a negative height.
    EXPECT_EQ(accepted, (row().engine ? 22 : 27) + (row().IsEncoder() ? 1 : 0));
}

TEST_P(OfferedTypesOf, AreAcceptedAndConnectedUnchanged) {
    Rig rig(row());
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    for (const MediaType& offered : OfferedTypes(rig.output)) {
        EXPECT_EQ(rig.output->QueryAccept(&offered), S_OK);
        // The first one that the peer accepts is used.
        rig.sink.accept = [&](const MediaType& type) { return type == offered ? S_OK : S_FALSE; };
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        EXPECT_EQ(ConnectionType(rig.output), offered);
        EXPECT_EQ(rig.sink.type, offered);
        rig.DisconnectOutput();
    }
}

TEST_P(Negotiation, AnInputFormatBlockIsOfItsFormAndComplete) {
    const MediaType whole = row().InputType();
    for (ULONG length = 0; length <= whole.cbFormat; ++length) {
        const GuardedMemory block({whole.pbFormat, whole.pbFormat + length});
        for (const GUID& form : {FORMAT_VideoInfo, FORMAT_VideoInfo2, GUID_NULL}) {
            AM_MEDIA_TYPE type = whole;
            type.formattype = form;
            type.pbFormat = block.data();
            type.cbFormat = length;
            const bool complete = form == FORMAT_VideoInfo && length == whole.cbFormat;
            EXPECT_EQ(rig.input->QueryAccept(&type), complete ? S_OK : S_FALSE) << length;
            type.pbFormat = nullptr;
            EXPECT_EQ(rig.input->QueryAccept(&type), S_FALSE) << length;
        }
    }
}

TEST_P(Negotiation, AnInputTypeIsConnectedWithAllThatFollowsItsHeader) {
    const auto& [width, height, duration, form] = rig.stream;
    MediaType longer = row().InputType({width, height, duration, Block::kVideoInfo2});
    longer.ResizeFormat(longer.cbFormat + 1024);
    longer.pUnk = ComPtr<IBaseFilter>(Make<End>(PINDIR_INPUT).Get()).Detach();
    if (!row().IsEncoder()) {  // decoders go by the header's FourCC
        longer.majortype = MEDIATYPE_Interleaved;
        longer.subtype = GUID_NULL;
    }
    EXPECT_EQ(rig.ConnectInput(longer), S_OK);
    EXPECT_EQ(ConnectionType(rig.input), longer);
}

TEST_P(DecoderOutput, RequestsBuffersWithTheSignOfTheHeight) {
    HostileAllocator& own = rig.OwnAllocator();
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType type = row().OutputType(2);
    type.Header().biWidth += 32;
    for (const LONG sign : {1, -1}) {
        type.Header().biHeight = sign * rig.stream.height;
        ASSERT_EQ(rig.ConnectOutput(type), S_OK);
        EXPECT_EQ(own.requested.cbBuffer, sign * PictureBytes(type.Header()));
        rig.DisconnectOutput();
    }
}

TEST_P(DecoderOutput, OfTwoGigabytesIsAcceptedButGetsNoBuffer) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType type = row().OutputType(2);
    for (const LONG width : {LONG{INT_MAX}, INT_MAX / (4 * rig.stream.height) + 1}) {
        type.Header().biWidth = width;
        EXPECT_EQ(rig.output->QueryAccept(&type), S_OK);
        EXPECT_EQ(rig.ConnectOutput(type), E_FAIL);
    }
}

TEST_P(DecoderOutput, IsAcceptedByHeightBitCountAndSubtype) {
    rig.OwnAllocator();
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const LONG height = rig.stream.height;
    const std::tuple<GUID, LONG, std::string> cases[] = {
        {MEDIASUBTYPE_YUY2, height, "+--"},
        {MEDIASUBTYPE_RGB24, height, "-+-"},
        {MEDIASUBTYPE_RGB32, height, "-++"},
        {MEDIASUBTYPE_ARGB32, height, row().coding ? "-+-" : "---"},
        {MEDIASUBTYPE_RGB565, height, "---"},
        {MEDIASUBTYPE_YUY2, height + 1, "---"},
        {MEDIASUBTYPE_YUY2, -height - 1, "---"},
        {MEDIASUBTYPE_YUY2, 0, "---"},
        {MEDIASUBTYPE_YUY2, LONG_MIN, "---"},
    };
    for (const auto& [subtype, lines, accepted] : cases) {
        MediaType type = row().OutputType();
        type.subtype = subtype;
        type.Header().biHeight = lines;
        std::string answers;
        for (const WORD bits : {WORD{16}, WORD{24}, WORD{32}}) {
            type.Header().biBitCount = bits;
            type.Header().biCompression = bits == 16 ? FourCC("YUY2") : BI_RGB;
            const bool answer = rig.output->QueryAccept(&type) == S_OK;
            EXPECT_EQ(rig.ConnectOutput(type) == S_OK, answer);
            rig.DisconnectOutput();
            answers += answer ? "+" : "-";
        }
        EXPECT_EQ(answers, accepted) << "of 16, 24 and 32 bits, lines: " << lines;
    }
}

TEST_P(Negotiation, APartialTypeChoosesTheFirstOfferThatMatches) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto offered = OfferedTypes(rig.output);
    const std::size_t count = row().Outputs().size();
    MediaType shortForm = offered[count];
    shortForm.majortype = shortForm.subtype = GUID_NULL;
    MediaType otherBlock = shortForm;
    otherBlock.Info().dwBitRate ^= 1;
    constexpr std::size_t kNone = 99;
    const struct {
        MediaType request;
        std::size_t expected;
    } table[] = {{PartialType(GUID_NULL, GUID_NULL, GUID_NULL), 0},
                 {PartialType(GUID_NULL, row().Outputs().back().subtype, GUID_NULL), count - 1},
                 {shortForm, count},
                 {otherBlock, kNone},
                 {PartialType(MEDIATYPE_Audio, GUID_NULL, GUID_NULL), kNone},
                 {PartialType(GUID_NULL, MEDIASUBTYPE_RGB565, GUID_NULL), kNone},
                 {PartialType(GUID_NULL, GUID_NULL, FORMAT_WaveFormatEx), kNone}};
    for (const auto& c : table) {
        const bool found = c.expected != kNone;
        EXPECT_EQ(rig.ConnectOutput(c.request), found ? S_OK : VFW_E_NO_ACCEPTABLE_TYPES);
        EXPECT_EQ(ConnectionType(rig.output), found ? offered[c.expected] : MediaType());
        rig.DisconnectOutput();
    }
}

TEST_P(Negotiation, TheReceiversProposalsPrecedeTheOffersAndItMayAcceptNone) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType proposal = row().OutputType(row().Outputs().size() - 1);
    proposal.lSampleSize = 4711;
    rig.sink.proposals = {PartialType(MEDIATYPE_Audio, MEDIASUBTYPE_PCM, FORMAT_None), proposal};
    ASSERT_EQ(rig.ConnectOutput(), S_OK);
    EXPECT_EQ(ConnectionType(rig.output), proposal);
    rig.DisconnectOutput();
    rig.sink.accept = [](const MediaType&) { return S_FALSE; };
    EXPECT_EQ(rig.ConnectOutput(), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(rig.ConnectOutput(row().OutputType()), VFW_E_TYPE_NOT_ACCEPTED);
}

}  // namespace
}  // namespace nyx::test
