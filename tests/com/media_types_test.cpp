#include <array>

#include "platform/fourcc.h"
#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/guarded_memory.h"

namespace nyx::test {
namespace {

class MediaTypes : public FilterTest {
  protected:
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(MediaTypes);

class DecoderTypes : public MediaTypes {};
NYX_FOR_EVERY_DECODER(DecoderTypes);

/// One way to spoil a valid input type.
struct Spoiled {
    const char* how;
    void (*apply)(MediaType& type);
};

const Spoiled kRefusedByEveryFilter[] = {
    {"no format type", [](MediaType& t) { t->formattype = GUID_NULL; }},
    {"a foreign format type", [](MediaType& t) { t->formattype = FORMAT_WaveFormatEx; }},
    {"no format block", [](MediaType& t) { t.ResizeFormat(0); }},
    {"a block that ends before the header", [](MediaType& t) { t.ResizeFormat(47); }},
    {"a block that ends inside the header", [](MediaType& t) { t.ResizeFormat(87); }},
    {"the longer form with the shorter block",
     [](MediaType& t) { t->formattype = FORMAT_VideoInfo2; }},
    {"a foreign FourCC", [](MediaType& t) { t.Header().biCompression = FourCC("XVID"); }},
    {"a header that is too small", [](MediaType& t) { t.Header().biSize = 39; }},
    {"a bit count of 0", [](MediaType& t) { t.Header().biBitCount = 0; }},
};

TEST_P(MediaTypes, AValidInputTypeIsAcceptedInBothForms) {
    for (const Block block : {Block::kVideoInfo, Block::kVideoInfo2}) {
        Picture picture = row().picture;
        picture.block = block;
        EXPECT_EQ(rig.input->QueryAccept(row().InputType(picture).get()), S_OK);
    }
}

TEST_P(MediaTypes, ARefusedInputTypeIsFalseWhenAskedAndAnErrorWhenConnecting) {
    for (const Spoiled& spoiled : kRefusedByEveryFilter) {
        MediaType type = row().InputType();
        spoiled.apply(type);
        EXPECT_EQ(rig.input->QueryAccept(type.get()), S_FALSE) << spoiled.how;
        EXPECT_EQ(rig.ConnectInput(type), VFW_E_TYPE_NOT_ACCEPTED) << spoiled.how;
        EXPECT_FALSE(PeerOf(rig.input)) << spoiled.how;
    }
}

TEST_P(DecoderTypes, MajorTypeAndSubtypeOfTheInputAreNotLookedAt) {
    MediaType type = row().InputType();
    type->subtype = GUID_NULL;
    EXPECT_EQ(rig.input->QueryAccept(type.get()), S_OK);
    type->majortype = MEDIATYPE_Interleaved;
    EXPECT_EQ(rig.input->QueryAccept(type.get()), S_OK);
}

TEST_P(MediaTypes, NothingIsReadPastTheEndOfAFormatBlock) {
    const MediaType whole = row().InputType();
    for (ULONG length = 0; length <= whole->cbFormat; ++length) {
        const GuardedMemory block(length);
        std::copy(whole->pbFormat, whole->pbFormat + length, block.data());
        for (const GUID& form : {FORMAT_VideoInfo, FORMAT_VideoInfo2}) {
            AM_MEDIA_TYPE type = *whole.get();
            type.formattype = form;
            type.pbFormat = block.data();
            type.cbFormat = length;
            const bool complete = form == FORMAT_VideoInfo && length == whole->cbFormat;
            EXPECT_EQ(rig.input->QueryAccept(&type), complete ? S_OK : S_FALSE) << length;
        }
    }
}

TEST_P(MediaTypes, AFormatBlockMayBeLongerThanItsHeader) {
    MediaType type = row().InputType();
    type.ResizeFormat(type->cbFormat + 1024);
    EXPECT_EQ(rig.ConnectInput(type), S_OK);
    EXPECT_EQ(FilterRig::ConnectionType(rig.input), type);
}

TEST_P(MediaTypes, AHeaderThatClaimsMoreThanItsBlockHoldsIsSurvived) {
    for (const DWORD claim : {DWORD{124}, DWORD{0x10000}, DWORD{0x7FFFFFFF}, DWORD{0xFFFFFFFF}}) {
        MediaType whole = row().InputType();
        whole.Header().biSize = claim;
        const GuardedMemory block(whole->cbFormat);
        std::copy(whole->pbFormat, whole->pbFormat + whole->cbFormat, block.data());
        AM_MEDIA_TYPE type = *whole.get();
        type.pbFormat = block.data();
        const HRESULT asked = rig.input->QueryAccept(&type);
        EXPECT_EQ(SUCCEEDED(rig.input->ReceiveConnection(rig.source->pin(), &type)), asked == S_OK);
        EXPECT_EQ(OfferedTypes(rig.output).empty(), asked != S_OK);
        rig.input->Disconnect();
    }
}

TEST_P(MediaTypes, TheInputAndTheUnconnectedOutputProposeNoneAndTheLatterAcceptsNone) {
    EXPECT_TRUE(OfferedTypes(rig.input).empty());
    EXPECT_TRUE(OfferedTypes(rig.output).empty());
    EXPECT_EQ(rig.output->QueryAccept(row().OutputType(0).get()), S_FALSE);
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    EXPECT_TRUE(OfferedTypes(rig.input).empty());
}

TEST_P(MediaTypes, TheEnumeratorFollowsTheRulesOfEnumerators) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto offered = OfferedTypes(rig.output);
    const auto count = static_cast<ULONG>(offered.size());
    ASSERT_EQ(count, 2 * row().outputs.size());

    ComPtr<IEnumMediaTypes> types;
    ASSERT_EQ(rig.output->EnumMediaTypes(types.Put()), S_OK);
    std::array<AM_MEDIA_TYPE*, 16> got{};
    EXPECT_EQ(types->Next(1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(types->Next(2, got.data(), nullptr), E_INVALIDARG);
    EXPECT_EQ(types->Clone(nullptr), E_POINTER);
    ULONG given = 0;
    EXPECT_EQ(types->Next(count + 1, got.data(), &given), S_FALSE);
    ASSERT_EQ(given, count);
    for (ULONG i = 0; i < given; ++i) {
        EXPECT_EQ(MediaType(*got[i]), offered[i]);
        DeleteType(got[i]);
    }
    EXPECT_EQ(types->Next(1, got.data(), &given), S_FALSE);
    EXPECT_EQ(given, 0u);

    EXPECT_EQ(types->Reset(), S_OK);
    EXPECT_EQ(types->Skip(count + 1), S_FALSE);
    EXPECT_EQ(types->Reset(), S_OK);
    EXPECT_EQ(types->Skip(1), S_OK);
    ComPtr<IEnumMediaTypes> clone;
    ASSERT_EQ(types->Clone(clone.Put()), S_OK);
    ASSERT_EQ(clone->Next(1, got.data(), nullptr), S_OK);
    EXPECT_EQ(MediaType(*got[0]), offered[1]) << "a clone keeps the position";
    DeleteType(got[0]);
    EXPECT_EQ(types->Skip(count - 1), S_OK);
    EXPECT_EQ(types->Skip(1), S_FALSE);
}

TEST_P(MediaTypes, EveryOfferedTypeIsAcceptedAndConnectsToTheByte) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    for (const MediaType& type : OfferedTypes(rig.output)) {
        EXPECT_EQ(rig.output->QueryAccept(type.get()), S_OK);
        ASSERT_EQ(rig.ConnectOutput(type), S_OK);
        EXPECT_EQ(FilterRig::ConnectionType(rig.output), type);
        EXPECT_EQ(rig.sink->in.type(), type);
        rig.DisconnectOutput();
    }
}

TEST_P(DecoderTypes, AnOutputTypeWithoutAHeaderOrOfAnotherKindIsRefused) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const Spoiled spoiledOutputs[] = {
        {"no format type", [](MediaType& t) { t->formattype = GUID_NULL; }},
        {"no format block", [](MediaType& t) { t.ResizeFormat(0); }},
        {"a truncated block", [](MediaType& t) { t.ResizeFormat(87); }},
        {"16 bits of RGB24",
         [](MediaType& t) {
             t->subtype = MEDIASUBTYPE_RGB24;
             t.Header().biBitCount = 16;
         }},
        {"a subtype of another kind", [](MediaType& t) { t->subtype = MEDIASUBTYPE_RGB565; }},
        {"another height", [](MediaType& t) { t.Header().biHeight += 2; }},
        {"a width that is too small", [](MediaType& t) { t.Header().biWidth -= 2; }},
        {"a small header", [](MediaType& t) { t.Header().biSize = 12; }},
    };
    for (const Spoiled& spoiled : spoiledOutputs) {
        MediaType type = row().OutputType(0);
        spoiled.apply(type);
        EXPECT_EQ(rig.output->QueryAccept(type.get()), S_FALSE) << spoiled.how;
        if (type->formattype == GUID_NULL) {
            continue;  // in a connection request that is a wildcard
        }
        EXPECT_NE(rig.ConnectOutput(type), S_OK) << spoiled.how;
        EXPECT_FALSE(PeerOf(rig.output)) << spoiled.how;
    }
}

}  // namespace
}  // namespace nyx::test
