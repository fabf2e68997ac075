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
using test::LastCall;
using test::LoadFrame;

DWORD DecodeCalls() {
    return LastCall(kDvEngine, standin::kDecode).count;
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

template <typename Codec>
void ExpectFlags(const char* clip, std::size_t bytes, int applicationId, LONG width, LONG height,
                 LONG flags) {
    SCOPED_TRACE(testing::Message() << clip << ", application " << applicationId);
    Bound<Codec> bound;
    DvFrame frame = LoadFrame(clip, bytes);
    if (applicationId >= 0) {
        frame.SetApplicationId(static_cast<BYTE>(applicationId));
    }
    DvPicture picture(16, width, height);
    ASSERT_EQ(Decode(bound.codec, width, height, frame, &picture), S_OK);
    const standin::Call call = LastCall(kDvEngine, standin::kDecode);
    ASSERT_EQ(call.wordCount, 6u);
    EXPECT_EQ(static_cast<LONG>(call.words[0]), flags);
    EXPECT_EQ(call.words[2], reinterpret_cast<DWORD>(picture.data()));
    EXPECT_EQ(static_cast<LONG>(call.words[3]), 2 * width);
    EXPECT_EQ(call.words[4], 2u);
    EXPECT_EQ(call.words[5], 0u);
    const std::uint32_t digest = standin::DvFrameDigest(frame.data(), frame.size());
    for (LONG y : {LONG{0}, height / 2, height - 1}) {
        EXPECT_TRUE(test::IsStandinRow(picture.Row(y), width, static_cast<int>(y), digest));
    }
}

TEST(DvDecode, TheEngineIsToldSystemAndVariant) {
    ExpectFlags<CDv25Codec>("dv25_525_4x3", 120000, 0, 720, 480, 0x51);
    ExpectFlags<CDv25Codec>("dv25_525_16x9", 120000, 1, 720, 480, 0x52);
    ExpectFlags<CDv25Codec>("dv25_625_16x9", 144000, -1, 720, 576, 0x91);
    ExpectFlags<CDv25Codec>("dvcpro25_625", 144000, -1, 720, 576, 0x92);
    ExpectFlags<CDv50Codec>("dvcpro50_525", 240000, -1, 720, 480, 0x60);
    ExpectFlags<CDv50Codec>("dvcpro50_625", 288000, -1, 720, 576, 0xA0);
    ExpectFlags<CDvHdCodec>("dvcprohd_1080_60", 480000, -1, 1280, 1080, 0x472);
    ExpectFlags<CDvHdCodec>("dvcprohd_1080_50", 576000, -1, 1440, 1080, 0x4B2);
    ExpectFlags<CDvHdCodec>("dvcprohd_720_60", 240000, -1, 960, 720, 0x474);
    ExpectFlags<CDvHdCodec>("dvcprohd_720_50", 288000, -1, 960, 720, 0x4B4);
}

template <typename Codec>
void ExpectCode(DWORD fourcc, LONG colorSpace, const DvFrame& frame, LONG width, LONG height,
                WORD bits, DWORD code) {
    SCOPED_TRACE(testing::Message()
                 << width << " wide, " << bits << " bits, colour space " << colorSpace);
    const test::StoredSetting setting(fourcc, L"color_space", colorSpace);
    Bound<Codec> bound;
    DvPicture picture(bits, width, height);
    ASSERT_EQ(Decode(bound.codec, width, height, frame, &picture), S_OK);
    EXPECT_EQ(LastCall(kDvEngine, standin::kDecode).words[5], code);
    EXPECT_EQ(LastCall(kDvEngine, standin::kDecode).result, standin::kDone);
}

TEST(DvDecode, OutputCodesFollowLayoutDefinitionAndColourSpace) {
    const DvFrame pal = PalFrame();
    const DvFrame hd = LoadFrame("dvcprohd_720_50", 288000);
    constexpr DWORD kDv25 = FourCC("QDVC");
    constexpr DWORD kHd = FourCC("QDVH");
    ExpectCode<CDv25Codec>(kDv25, 0, pal, 720, 576, 24, 4);
    ExpectCode<CDv25Codec>(kDv25, 1, pal, 720, 576, 24, 2);
    ExpectCode<CDv25Codec>(kDv25, 0, pal, 720, 576, 32, 3);
    ExpectCode<CDv25Codec>(kDv25, 1, pal, 720, 576, 32, 1);
    ExpectCode<CDvHdCodec>(kHd, 0, hd, 960, 720, 24, 8);
    ExpectCode<CDvHdCodec>(kHd, 1, hd, 960, 720, 24, 6);
    ExpectCode<CDvHdCodec>(kHd, 0, hd, 960, 720, 32, 7);
    ExpectCode<CDvHdCodec>(kHd, 1, hd, 960, 720, 32, 5);
    ExpectCode<CDvHdCodec>(kHd, 1, hd, 960, 720, 16, 0);
}

TEST(DvDecode, RgbIsBottomUpUnlessItsHeightIsNegativeOrAStrideIsGiven) {
    Bound<CDv25Codec> bound;
    const DvFrame frame = PalFrame();
    DvPicture bottomUp(24, 720, 576);
    ASSERT_EQ(Decode(bound.codec, 720, 576, frame, &bottomUp), S_OK);
    EXPECT_EQ(LastCall(kDvEngine, standin::kDecode).words[2],
              reinterpret_cast<DWORD>(bottomUp.Row(575)));
    EXPECT_EQ(static_cast<LONG>(LastCall(kDvEngine, standin::kDecode).words[3]), -2160);

    DvPicture topDown(24, 720, -576);
    ASSERT_EQ(Decode(bound.codec, 720, 576, frame, &topDown), S_OK);
    EXPECT_EQ(LastCall(kDvEngine, standin::kDecode).words[2],
              reinterpret_cast<DWORD>(topDown.data()));

    DvPicture strided(24, 720, 576, 2400);
    ASSERT_EQ(Decode(bound.codec, 720, 576, frame, &strided, 2400), S_OK);
    EXPECT_EQ(LastCall(kDvEngine, standin::kDecode).words[2],
              reinterpret_cast<DWORD>(strided.data()));
    EXPECT_EQ(LastCall(kDvEngine, standin::kDecode).words[3], 2400u);
    EXPECT_EQ(strided.Row(0)[2160], test::kUntouched);
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
    // The engine painted another picture, in the same direction.
    const standin::Call call = LastCall(kDvEngine, standin::kDecode);
    EXPECT_NE(call.words[2], reinterpret_cast<DWORD>(picture.data()));
    EXPECT_EQ(static_cast<LONG>(call.words[3]),
              720 * bits / 8 * (!yuv && signedHeight > 0 ? -1 : 1));
}

TEST(DvDecode, WideScreenPicturesAreStretched) {
    ExpectStretched(16, 856, 480, 480);
    ExpectStretched(16, 1024, 576, 576);
    ExpectStretched(24, 856, 480, -480);
    ExpectStretched(24, 1024, 576, 576);
}

TEST(DvDecode, AWideScreenOutputOfAnUnstretchedInputIsFilledToo) {
    Bound<CDv25Codec> bound;
    const DvFrame frame = LoadFrame("dv25_525_16x9", 120000);
    DvPicture asInput(16, 856, 480);
    DvPicture asOutput(16, 856, 480);
    ASSERT_EQ(Decode(bound.codec, 856, 480, frame, &asInput), S_OK);
    ASSERT_EQ(Decode(bound.codec, 720, 480, frame, &asOutput), S_OK);
    EXPECT_TRUE(std::equal(asInput.data(), asInput.data() + 856 * 2 * 480, asOutput.data()));
}

TEST(DvDecode, WideScreen32BitPicturesKeepTheirContents) {
    Bound<CDv25Codec> bound;
    const DWORD before = DecodeCalls();
    DvPicture picture(32, 1024, 576);
    EXPECT_EQ(Decode(bound.codec, 1024, 576, PalFrame(), &picture), S_OK);
    EXPECT_TRUE(picture.IsUntouched());
    EXPECT_EQ(DecodeCalls(), before + 1);
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

TEST(DvDecode, GarbageIsABlackPicture) {
    Bound<CDv25Codec> bound;
    const DWORD before = DecodeCalls();
    DvPicture yuy2(16, 720, 480);
    EXPECT_EQ(Decode(bound.codec, 720, 480, DvFrame::Blank(120000), &yuy2), E_FAIL);
    EXPECT_TRUE(yuy2.IsFilled(0x10, 0x80));
    DvPicture rgb(24, 720, 480);
    EXPECT_EQ(Decode(bound.codec, 720, 480, DvFrame::Blank(120000), &rgb), E_FAIL);
    EXPECT_TRUE(rgb.IsFilled(0, 0));
    DvPicture wide(32, 1024, 576);
    EXPECT_EQ(Decode(bound.codec, 1024, 576, DvFrame::Blank(7), &wide), E_FAIL);
    EXPECT_TRUE(wide.IsFilled(0, 0));
    DvPicture strided(16, 720, 480, 1500);
    EXPECT_EQ(Decode(bound.codec, 720, 480, DvFrame::Blank(120000), &strided, 1500), E_FAIL);
    EXPECT_TRUE(strided.IsFilled(0x10, 0x80));
    EXPECT_EQ(strided.Row(0)[1440], test::kUntouched);
    EXPECT_EQ(DecodeCalls(), before);
}

TEST(DvDecode, AFrameThatIsCutShortNeverReachesTheEngine) {
    Bound<CDv25Codec> bound;
    const DWORD before = DecodeCalls();
    const DvFrame whole = PalFrame();
    for (const std::size_t size : {std::size_t{143999}, std::size_t{132000}, std::size_t{13000}}) {
        const DvFrame cut(std::vector<BYTE>(whole.data(), whole.data() + size));
        DvPicture picture(16, 720, 576);
        EXPECT_EQ(Decode(bound.codec, 720, 576, cut, &picture), E_FAIL) << size;
        EXPECT_TRUE(picture.IsFilled(0x10, 0x80)) << size;
    }
    EXPECT_EQ(DecodeCalls(), before);
}

TEST(DvDecode, AFrameOfAnotherSizeNeverReachesTheEngine) {
    const DWORD before = DecodeCalls();
    Bound<CDv25Codec> dv25;
    DvPicture ntsc(16, 720, 480);
    EXPECT_EQ(Decode(dv25.codec, 720, 480, PalFrame(), &ntsc), E_FAIL);
    EXPECT_TRUE(ntsc.IsFilled(0x10, 0x80));
    DvPicture pal(16, 720, 576);
    EXPECT_EQ(Decode(dv25.codec, 720, 576, LoadFrame("dvcprohd_720_50", 288000), &pal), E_FAIL);
    Bound<CDvHdCodec> hd;
    DvPicture narrow(16, 1280, 1080);
    EXPECT_EQ(Decode(hd.codec, 1280, 1080, LoadFrame("dvcprohd_1080_50", 576000), &narrow), E_FAIL);
    EXPECT_EQ(DecodeCalls(), before);
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

TEST(DvDecode, FormatsThatDoNotBelongTogetherAreRefused) {
    Bound<CDv25Codec> bound;
    DvPicture narrow(16, 700, 576);
    EXPECT_EQ(Decode(bound.codec, 720, 576, PalFrame(), &narrow), E_FAIL);
    DvPicture low(16, 720, 480);
    EXPECT_EQ(Decode(bound.codec, 720, 576, PalFrame(), &low), E_FAIL);
    EXPECT_TRUE(narrow.IsUntouched() && low.IsUntouched());
    DvPicture picture(16, 720, 576);
    BITMAPINFOHEADER input = test::DvHeader(FourCC("QDVC"), 720, 576);
    BITMAPINFOHEADER output = picture.header();
    output.biCompression = FourCC("v408");
    BYTE frame[4] = {};
    input.biSizeImage = sizeof(frame);
    EXPECT_EQ(bound.codec.Decompress(&input, frame, &output, false, picture.data(), 0, 0), E_FAIL);
    EXPECT_TRUE(picture.IsUntouched());
    EXPECT_EQ(bound.codec.Decompress(nullptr, frame, &output, false, picture.data(), 0, 0),
              E_POINTER);
    EXPECT_EQ(bound.codec.Decompress(&input, frame, &output, false, nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(
        bound.codec.Decompress(&input, nullptr, &picture.header(), false, picture.data(), 0, 0),
        E_FAIL);
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

    ASSERT_EQ(bound.codec.GetFrameInfo(&input, nullptr, 400000, &info), S_OK);
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
