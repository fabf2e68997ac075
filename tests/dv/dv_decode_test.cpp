#include <gtest/gtest.h>

#include <vector>

#include "dv/dv25_codec.h"
#include "dv/dv50_codec.h"
#include "dv/dvhd_codec.h"
#include "dv/resample.h"
#include "tests/dv/dv_codec_rig.h"

namespace nyx {
namespace {

using test::Decode;
using test::DvFrame;
using test::DvPicture;
using test::EngineSearch;
using test::kDvEngine;
using test::LoadFrame;

standin::Call LastDecode() {
    return test::LastCall(kDvEngine, standin::kDecode);
}

DWORD Word(const void* pointer) {
    return reinterpret_cast<DWORD>(pointer);
}

DvFrame PalFrame() {
    return LoadFrame("dv25_625_4x3", 144000);
}

/// An engine is bound by the first codec, so the search comes first.
template <typename Codec>
struct Bound {
    EngineSearch search;
    Codec codec;
};

struct Recording {
    const char* clip;
    std::size_t bytes;
    int applicationId;  // -1: as recorded
    LONG width, height;
    DWORD flags;
};

template <typename Codec>
void ExpectFlags(std::initializer_list<Recording> recordings) {
    for (const Recording& r : recordings) {
        SCOPED_TRACE(testing::Message() << r.clip << ", application " << r.applicationId);
        Bound<Codec> bound;
        DvFrame frame = LoadFrame(r.clip, r.bytes);
        if (r.applicationId >= 0) {
            frame.SetApplicationId(static_cast<BYTE>(r.applicationId));
        }
        DvPicture picture(16, r.width, r.height);
        ASSERT_EQ(Decode(bound.codec, r.width, r.height, frame, &picture), S_OK);
        const standin::Call call = LastDecode();
        const std::vector<DWORD> words = {
            r.flags, call.words[1], Word(picture.data()), static_cast<DWORD>(2 * r.width), 2, 0};
        EXPECT_EQ(std::vector<DWORD>(call.words, call.words + call.wordCount), words);
        const std::uint32_t digest = standin::DvFrameDigest(frame.data(), frame.size());
        for (LONG y : {LONG{0}, r.height / 2, r.height - 1}) {
            EXPECT_TRUE(test::IsStandinRow(picture.Row(y), r.width, static_cast<int>(y), digest));
        }
    }
}

TEST(DvDecode, TheEngineIsToldSystemAndVariant) {
    ExpectFlags<CDv25Codec>({{"dv25_525_4x3", 120000, 0, 720, 480, 0x51},
                             {"dv25_525_16x9", 120000, 1, 720, 480, 0x52},
                             {"dv25_625_16x9", 144000, -1, 720, 576, 0x91},
                             {"dvcpro25_625", 144000, -1, 720, 576, 0x92}});
    ExpectFlags<CDv50Codec>({{"dvcpro50_525", 240000, -1, 720, 480, 0x60},
                             {"dvcpro50_625", 288000, -1, 720, 576, 0xA0}});
    ExpectFlags<CDvHdCodec>({{"dvcprohd_1080_60", 480000, -1, 1280, 1080, 0x472},
                             {"dvcprohd_1080_50", 576000, -1, 1440, 1080, 0x4B2},
                             {"dvcprohd_720_60", 240000, -1, 960, 720, 0x474},
                             {"dvcprohd_720_50", 288000, -1, 960, 720, 0x4B4}});
}

/// Decodes in the full and the studio range, to 24 and 32 bits.
template <typename Codec>
void ExpectCodes(const DvFrame& frame, LONG width, LONG height, const DWORD (&codes)[2][2]) {
    for (const LONG colorSpace : {0, 1}) {
        for (const WORD bits : {WORD{24}, WORD{32}}) {
            const DWORD fourcc = Codec().GetFourCC();
            const test::StoredSetting setting(fourcc, L"color_space", colorSpace);
            Bound<Codec> bound;
            DvPicture picture(bits, width, height);
            ASSERT_EQ(Decode(bound.codec, width, height, frame, &picture), S_OK);
            EXPECT_EQ(LastDecode().words[5], codes[colorSpace][bits == 32])
                << width << " wide, " << bits << " bits, colour space " << colorSpace;
            EXPECT_EQ(LastDecode().result, standin::kDone);
        }
    }
}

TEST(DvDecode, OutputCodesFollowLayoutDefinitionAndColourSpace) {
    ExpectCodes<CDv25Codec>(PalFrame(), 720, 576, {{4, 3}, {2, 1}});
    ExpectCodes<CDv50Codec>(LoadFrame("dvcpro50_625", 288000), 720, 576, {{4, 3}, {2, 1}});
    ExpectCodes<CDvHdCodec>(LoadFrame("dvcprohd_720_50", 288000), 960, 720, {{8, 7}, {6, 5}});
}

TEST(DvDecode, ASampleThatEndsBeforeTheLengthItClaimsIsBlack) {
    Bound<CDv25Codec> bound;
    const DvFrame frame = PalFrame();
    const test::GuardedMemory sample(100);
    std::copy(frame.data(), frame.data() + sample.size(), sample.data());
    BITMAPINFOHEADER input = test::DvHeader(FourCC("QDVC"), 720, 576);
    input.biSizeImage = 144000;
    DvPicture picture(16, 720, 576);
    EXPECT_EQ(bound.codec.Decompress(&input, sample.data(), &picture.header(), false,
                                     picture.data(), 0, 0),
              E_FAIL);
    EXPECT_TRUE(picture.IsFilled(0x10, 0x80));
}

TEST(DvDecode, AStrideBelowARowIsRefused) {
    Bound<CDv25Codec> bound;
    for (const LONG stride : {1438, -1438, 1}) {
        DvPicture picture(16, 720, 576);
        EXPECT_EQ(Decode(bound.codec, 720, 576, PalFrame(), &picture, stride), E_FAIL) << stride;
        EXPECT_TRUE(picture.IsUntouched()) << stride;
    }
}

TEST(DvDecode, RgbIsBottomUpUnlessItsHeightIsNegativeOrAStrideIsGiven) {
    Bound<CDv25Codec> bound;
    struct Case {
        LONG height, callerStride, firstRow, stride;
    };
    for (const Case& c :
         {Case{576, 0, 575, -2160}, Case{-576, 0, 0, 2160}, Case{576, 2400, 0, 2400}}) {
        DvPicture picture(24, 720, c.height, c.callerStride);
        ASSERT_EQ(Decode(bound.codec, 720, 576, PalFrame(), &picture, c.callerStride), S_OK);
        EXPECT_EQ(LastDecode().words[2], Word(picture.Row(c.firstRow)));
        EXPECT_EQ(static_cast<LONG>(LastDecode().words[3]), c.stride);
        EXPECT_TRUE(c.callerStride == 0 || picture.Row(0)[2160] == test::kUntouched);
    }
}

/// Decodes a wide-screen picture and checks it against the recorded one, stretched.
void ExpectStretched(WORD bits, LONG width, LONG height, LONG signedHeight) {
    SCOPED_TRACE(testing::Message() << width << " x " << signedHeight << ", " << bits << " bits");
    Bound<CDv25Codec> bound;
    const DvFrame frame =
        height == 480 ? LoadFrame("dv25_525_16x9", 120000) : LoadFrame("dv25_625_16x9", 144000);
    DvPicture recorded(bits, 720, signedHeight);
    ASSERT_EQ(Decode(bound.codec, 720, height, frame, &recorded), S_OK);
    DvPicture picture(bits, width, signedHeight);
    ASSERT_EQ(Decode(bound.codec, width, height, frame, &picture), S_OK);
    const bool yuv = bits == 16;
    std::vector<BYTE> expected(static_cast<std::size_t>(picture.rowBytes() * height));
    ASSERT_EQ(StretchRows(yuv ? ResampleUnit::kFourBytes : ResampleUnit::kThreeBytes,
                          {recorded.data(), recorded.stride(), yuv ? 360 : LONG{720}},
                          {expected.data(), picture.stride(), yuv ? width / 2 : width}, height),
              S_OK);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), picture.data()));
    DvPicture ofRecordedInput(bits, width, signedHeight);
    ASSERT_EQ(Decode(bound.codec, 720, height, frame, &ofRecordedInput), S_OK);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), ofRecordedInput.data()));
    // The engine painted another picture, in the same direction.
    const standin::Call call = LastDecode();
    EXPECT_NE(call.words[2], Word(picture.data()));
    EXPECT_EQ(static_cast<LONG>(call.words[3]),
              720 * bits / 8 * (!yuv && signedHeight > 0 ? -1 : 1));
}

TEST(DvDecode, WideScreenPicturesAreStretched) {
    ExpectStretched(16, 856, 480, 480);
    ExpectStretched(16, 1024, 576, 576);
    ExpectStretched(24, 856, 480, -480);
    ExpectStretched(24, 1024, 576, 576);
}

TEST(DvDecode, WideScreen32BitPicturesKeepTheirContents) {
    Bound<CDv25Codec> bound;
    const DWORD before = LastDecode().count;
    DvPicture picture(32, 1024, 576);
    EXPECT_EQ(Decode(bound.codec, 1024, 576, PalFrame(), &picture), S_OK);
    EXPECT_TRUE(picture.IsUntouched());
    EXPECT_EQ(LastDecode().count, before + 1);
}

TEST(DvDecode, AnOutputWithPaddedRowsHasItsPaddingLeftAlone) {
    Bound<CDv25Codec> bound;
    const DvFrame frame = PalFrame();
    DvPicture picture(16, 736, 576);
    ASSERT_EQ(Decode(bound.codec, 720, 576, frame, &picture), S_OK);
    const std::uint32_t digest = standin::DvFrameDigest(frame.data(), frame.size());
    for (LONG y : {LONG{0}, LONG{575}}) {
        EXPECT_TRUE(test::IsStandinRow(picture.Row(y), 720, static_cast<int>(y), digest));
        EXPECT_EQ(picture.Row(y)[1440], test::kUntouched);
        EXPECT_EQ(picture.Row(y)[1471], test::kUntouched);
    }
}

TEST(DvDecode, WhatIsNoFrameOfTheSizeIsABlackPictureAndNeverReachesTheEngine) {
    const DvFrame pal = PalFrame();
    const auto cut = [&pal](std::size_t size) {
        return DvFrame(std::vector<BYTE>(pal.data(), pal.data() + size));
    };
    struct Case {
        const char* name;
        DvFrame frame;
        WORD bits;
        LONG width, height, stride;
    };
    const Case cases[] = {
        {"garbage", DvFrame::Blank(120000), 16, 720, 480, 0},
        {"garbage to RGB", DvFrame::Blank(120000), 24, 720, 480, 0},
        {"garbage to a wide picture", DvFrame::Blank(7), 32, 1024, 576, 0},
        {"garbage to padded rows", DvFrame::Blank(120000), 16, 720, 480, 1500},
        {"a byte short", cut(143999), 16, 720, 576, 0},
        {"a sequence short", cut(132000), 16, 720, 576, 0},
        {"little more than a sequence", cut(13000), 16, 720, 576, 0},
        {"another height", pal, 16, 720, 480, 0},
        {"another variant", LoadFrame("dvcprohd_720_50", 288000), 16, 720, 576, 0},
    };
    Bound<CDv25Codec> bound;
    const DWORD before = LastDecode().count;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DvPicture picture(c.bits, c.width, c.height, c.stride);
        EXPECT_EQ(Decode(bound.codec, c.width, c.height, c.frame, &picture, c.stride), E_FAIL);
        EXPECT_TRUE(c.bits == 16 ? picture.IsFilled(0x10, 0x80) : picture.IsFilled(0, 0));
        EXPECT_TRUE(c.stride == 0 || picture.Row(0)[1440] == test::kUntouched);
    }
    Bound<CDvHdCodec> hd;
    DvPicture narrow(16, 1280, 1080);
    EXPECT_EQ(Decode(hd.codec, 1280, 1080, LoadFrame("dvcprohd_1080_50", 576000), &narrow), E_FAIL);
    EXPECT_EQ(LastDecode().count, before);
}

TEST(DvDecode, ASignalTypeWithoutAVariantLeavesThePictureAlone) {
    Bound<CDvHdCodec> bound;
    DvFrame frame = LoadFrame("dvcprohd_1080_50", 576000);
    frame.SetPackByte(0x60, 3, 0xF5);
    DvPicture picture(16, 1440, 1080);
    EXPECT_EQ(Decode(bound.codec, 1440, 1080, frame, &picture), E_FAIL);
    EXPECT_TRUE(picture.IsUntouched());
}

TEST(DvDecode, AnEngineThatRaisesLeavesABlackPicture) {
    Bound<CDv25Codec> bound;
    for (const char* what : {"decode:access", "decode:divide", "decode:throw"}) {
        const test::Misbehaviour misbehaviour(what);
        for (const LONG width : {LONG{720}, LONG{1024}}) {
            DvPicture picture(16, width, 576);
            EXPECT_EQ(Decode(bound.codec, width, 576, PalFrame(), &picture), E_FAIL) << what;
            EXPECT_TRUE(picture.IsFilled(0x10, 0x80)) << what;
        }
    }
}

TEST(DvDecode, AMissingOldOrHalfEngineRefusesEveryFrame) {
    for (const wchar_t* folder : {L"none", L"old", L"no_encode", L"no_decode"}) {
        const EngineSearch search(folder);
        CDv25Codec codec;
        EXPECT_FALSE(CDv25Codec::IsEngineAvailable(kEngineForDecoding));
        EXPECT_FALSE(test::IsLoaded(kDvEngine));
        DvPicture picture(16, 720, 576);
        EXPECT_EQ(Decode(codec, 720, 576, PalFrame(), &picture), E_FAIL);
        EXPECT_TRUE(picture.IsUntouched());
    }
    Bound<CDv25Codec> bound;
    EXPECT_TRUE(CDvHdCodec::IsEngineAvailable(kEngineForDecoding)) << "one engine for all";
    EXPECT_TRUE(CDvHdCodec::IsEngineAvailable(kEngineForEncoding));
}

TEST(DvDecode, FormatsThatDoNotBelongTogetherAndMissingArgumentsAreRefused) {
    Bound<CDv25Codec> bound;
    DvFrame frame = PalFrame();
    DvPicture picture(16, 720, 576);
    BITMAPINFOHEADER input = test::DvHeader(FourCC("QDVC"), 720, 576);
    input.biSizeImage = static_cast<DWORD>(frame.size());
    const auto decode = [&](const BITMAPINFOHEADER* in, const BYTE* sample,
                            const BITMAPINFOHEADER& out, BYTE* to) {
        return bound.codec.Decompress(in, sample, &out, false, to, 0, 0);
    };
    for (const BITMAPINFOHEADER& output :
         {test::PictureHeader(16, 700, 576), test::PictureHeader(16, 720, 480),
          test::MakeHeader(FourCC("v408"), 16, 720, 576)}) {
        EXPECT_EQ(decode(&input, frame.data(), output, picture.data()), E_FAIL);
        EXPECT_TRUE(picture.IsUntouched());
    }
    EXPECT_EQ(decode(nullptr, frame.data(), picture.header(), picture.data()), E_POINTER);
    EXPECT_EQ(decode(&input, frame.data(), picture.header(), nullptr), E_POINTER);
    EXPECT_EQ(decode(&input, nullptr, picture.header(), picture.data()), E_FAIL);
}

TEST(DvDecode, FramesTellTheirParameters) {
    Bound<CDv25Codec> bound;
    const DvFrame frame = LoadFrame("dv25_625_16x9", 144000);
    BITMAPINFOHEADER input = test::DvHeader(FourCC("QDVC"), 720, 576);
    input.biSizeImage = static_cast<DWORD>(frame.size());
    FrameInfo info;
    ASSERT_EQ(bound.codec.GetFrameInfo(&input, frame.data(), 400000, &info), S_OK);
    EXPECT_EQ(info.fieldOrder, kBottomFieldFirst);
    EXPECT_EQ(info.pixelAspectX, 1024);
    EXPECT_EQ(info.pixelAspectY, 720);
    EXPECT_EQ(info.infoA, static_cast<LONG>(0xC1828304u));
    EXPECT_EQ(info.infoB, -1);
    EXPECT_EQ(info.rdrtA, 0x0405C6FF);
    EXPECT_EQ(info.rdrtB, static_cast<LONG>(0xC78889FFu));
    EXPECT_EQ(bound.codec.GetFrameInfo(&input, frame.data(), 400000, nullptr), S_OK);

    ASSERT_EQ(bound.codec.GetFrameInfo(&input, nullptr, 400000, &info), S_FALSE);
    EXPECT_EQ(info.fieldOrder, kBottomFieldFirst);
    EXPECT_EQ(info.pixelAspectX, 768) << "the table's first row for the size";
    EXPECT_EQ(info.infoA, -1);
    EXPECT_EQ(info.rdrtB, -1);

    input.biSizeImage = 100;
    ASSERT_EQ(bound.codec.GetFrameInfo(&input, frame.data(), 400000, &info), S_OK);
    EXPECT_EQ(info.fieldOrder, -1);
    EXPECT_EQ(info.pixelAspectX, -1);
    EXPECT_EQ(info.pixelAspectY, -1);
}

}  // namespace
}  // namespace nyx
