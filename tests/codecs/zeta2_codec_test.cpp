#include "codecs/zeta2_codec.h"

#include <gtest/gtest.h>

#include "tests/codecs/engine_codec_support.h"

namespace nyx {
namespace {

using test::EncodePicture;
using test::MakeHeader;
using test::RgbHeader;
using test::RootMeanSquare;
using test::SmoothPicture;
using test::Yuy2Header;

constexpr DWORD kZeta2 = FourCC("QZT2");
constexpr wchar_t kLibrary[] = L"rkz2core.dll";
constexpr LONG kWidth = 162;  // no whole number of blocks, and in no table of sizes
constexpr LONG kHeight = 118;
constexpr BYTE kGuard = 0x5A;

HRESULT Decode(ICodec& codec, const std::vector<BYTE>& sample, WORD bits,
               const BITMAPINFOHEADER& output, bool alphaOut, std::vector<BYTE>* picture,
               DWORD alphaMode = 0) {
    const BITMAPINFOHEADER input = test::FrameHeaderFor(kZeta2, bits, output.biWidth,
                                                        std::abs(output.biHeight), sample.size());
    picture->assign(static_cast<std::size_t>(output.biWidth) *
                        static_cast<std::size_t>(std::abs(output.biHeight)) * 16,
                    kGuard);
    return codec.Decompress(&input, sample.data(), &output, alphaOut, picture->data(), 0,
                            alphaMode);
}

TEST(Zeta2Codec, ReadsItsQualityByItsOwnRules) {
    struct Case {
        LONG preset, quant, size;
        LONG rulePreset, ruleQuant, ruleSize;
    };
    const Case cases[] = {
        {0, 9, 9, 0, 0, 50}, {1, 9, 9, 1, 4, 40},      {2, 9, 9, 2, 5, 30},
        {3, 9, 9, 3, 18, 4}, {7, 9, 9, 2, 5, 30},      {-1, 9, 9, 2, 5, 30},
        {4, -3, 0, 4, 0, 4}, {4, 30, 200, 4, 18, 100}, {4, 3, 50, 4, 3, 50},
    };
    for (const Case& c : cases) {
        const test::Zeta2Settings settings(3, c.quant, c.size, c.preset);
        CZeta2Codec codec;
        const EncoderParameters got = codec.GetParameters();
        EXPECT_EQ(got.color_space, 3);
        EXPECT_EQ(got.preset, c.rulePreset) << c.preset;
        EXPECT_EQ(got.quant_scale, c.ruleQuant) << c.preset;
        EXPECT_EQ(got.max_stream_size, c.ruleSize) << c.preset;
    }
}

TEST(Zeta2Codec, BringsPicturesBack) {
    const test::EngineSearch search;
    const test::Zeta2Settings settings(0, 0, 100, 4);
    CZeta2Codec codec;
    struct Case {
        BITMAPINFOHEADER header;
        bool alpha;
        WORD bits;
        double tolerance;
    };
    const Case cases[] = {
        {Yuy2Header(kWidth, kHeight), false, 24, 0.6},
        {Yuy2Header(kWidth, -kHeight), false, 24, 0.6},
        {RgbHeader(24, kWidth, kHeight), false, 24, 6.0},  // half the chroma is dropped
        {RgbHeader(24, kWidth, -kHeight), false, 24, 6.0},
        {RgbHeader(32, kWidth, kHeight), true, 32, 6.0},
        {MakeHeader(FourCC("2vuy"), 16, kWidth, kHeight), false, 24, 0.6},
    };
    for (const Case& c : cases) {
        const auto source = SmoothPicture(c.header);
        const auto frame = EncodePicture(codec, c.header, c.alpha, source, c.bits);
        ASSERT_FALSE(frame.empty());
        std::vector<BYTE> back;
        ASSERT_EQ(Decode(codec, frame, c.bits, c.header, c.alpha, &back, kPremultipliedMode), S_OK);
        back.resize(source.size());
        EXPECT_LT(RootMeanSquare(back, source), c.tolerance) << c.header.biBitCount;
        for (std::size_t at = 3; c.alpha && at < source.size(); at += 4) {
            ASSERT_EQ(back[at], source[at]);
        }
    }
}

TEST(Zeta2Codec, GoesByTheProbesAlphaKindAndNotByTheHeader) {
    const test::EngineSearch search;
    CZeta2Codec codec;
    const BITMAPINFOHEADER header = RgbHeader(32, kWidth, kHeight);
    const auto source = SmoothPicture(header);
    const auto frame = EncodePicture(codec, header, true, source, 32);
    ASSERT_FALSE(frame.empty());
    std::vector<BYTE> claimed24;
    std::vector<BYTE> claimed32;
    std::vector<BYTE> untouched;
    ASSERT_EQ(Decode(codec, frame, 24, header, true, &claimed24), S_OK);
    ASSERT_EQ(Decode(codec, frame, 32, header, true, &claimed32), S_OK);
    ASSERT_EQ(Decode(codec, frame, 32, header, true, &untouched, kPremultipliedMode), S_OK);
    EXPECT_EQ(claimed24, claimed32);
    for (std::size_t at = 0; at < source.size(); at += 4) {
        for (std::size_t c = 0; c < 3; ++c) {
            ASSERT_EQ(claimed24[at + c], source[at + 3] == 0 ? 0 : untouched[at + c]);
        }
    }
}

TEST(Zeta2Codec, StoresEveryPackedLayoutThroughItsCallback) {
    const test::EngineSearch search;
    const test::Zeta2Settings settings(0, 0, 100, 4);
    CZeta2Codec codec;
    const BITMAPINFOHEADER yuy2Header = Yuy2Header(kWidth, kHeight);
    const auto frame = EncodePicture(codec, yuy2Header, false, SmoothPicture(yuy2Header), 24);
    std::vector<BYTE> yuy2;
    ASSERT_EQ(Decode(codec, frame, 24, yuy2Header, false, &yuy2), S_OK);
    std::vector<BYTE> v408;
    ASSERT_EQ(
        Decode(codec, frame, 24, MakeHeader(FourCC("v408"), 32, kWidth, kHeight), false, &v408),
        S_OK);
    for (std::size_t pixel = 0; pixel < kWidth * kHeight; ++pixel) {
        const BYTE* pair = &yuy2[pixel / 2 * 4];
        const BYTE* got = &v408[pixel * 4];
        ASSERT_EQ(got[0], pair[1]);
        ASSERT_EQ(got[1], yuy2[pixel * 2]);
        ASSERT_EQ(got[2], pair[3]);
        ASSERT_EQ(got[3], 235);
    }
}

TEST(Zeta2Codec, RefusesDamagedFramesAndCallbacksThatFault) {
    const test::EngineSearch search;
    CZeta2Codec codec;
    const BITMAPINFOHEADER header = Yuy2Header(kWidth, kHeight);
    const auto frame = EncodePicture(codec, header, false, SmoothPicture(header), 24);
    ASSERT_FALSE(frame.empty());
    const std::vector<BYTE> shorter(frame.begin(), frame.end() - 1);
    auto wrong = frame;
    wrong[0] ^= 1;
    std::vector<BYTE> picture;
    for (const auto& sample : {shorter, wrong, std::vector<BYTE>(64)}) {
        EXPECT_EQ(Decode(codec, sample, 24, header, false, &picture), E_FAIL) << sample.size();
        EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard));
    }
    const test::Misbehaviour misbehave("decode:callback");
    for (DWORD fourcc : {FourCC("v408"), FourCC("b64a"), FourCC("r4fl")}) {
        const BITMAPINFOHEADER packed = MakeHeader(fourcc, 32, kWidth, kHeight);
        EXPECT_EQ(Decode(codec, frame, 24, packed, false, &picture), E_FAIL);
    }
}

TEST(Zeta2Codec, PassesOverAFormatWithoutAnIndexWhenEncoding) {
    const test::EngineSearch search;
    CZeta2Codec codec;
    const BITMAPINFOHEADER input = MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight);
    BITMAPINFOHEADER output = MakeHeader(kZeta2, 24, kWidth, kHeight);
    output.biSizeImage = 77;
    std::vector<BYTE> bytes(kWidth * kHeight * 2);
    EXPECT_EQ(codec.Compress(&input, false, bytes.data(), &output, bytes.data(), 0, 0, 0), S_OK);
    EXPECT_EQ(output.biSizeImage, 77u);
    EXPECT_EQ(test::LastCall(kLibrary, standin::kEncode).count, 0u);
}

}  // namespace
}  // namespace nyx
