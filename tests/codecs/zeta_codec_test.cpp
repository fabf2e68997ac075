#include "codecs/zeta_codec.h"

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

constexpr DWORD kZeta = FourCC("QZTA");
constexpr LONG kWidth = 160;
constexpr LONG kHeight = 120;
constexpr BYTE kGuard = 0x5A;

class ZetaCodec : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    CZetaCodec codec_;

    HRESULT Decode(const std::vector<BYTE>& sample, WORD bits, const BITMAPINFOHEADER& output,
                   bool alphaOut, std::vector<BYTE>* picture, DWORD alphaMode = 0) {
        const BITMAPINFOHEADER input =
            test::FrameHeaderFor(kZeta, bits, kWidth, kHeight, sample.size());
        picture->assign(static_cast<std::size_t>(kWidth * kHeight) * 16, kGuard);
        return codec_.Decompress(&input, sample.data(), &output, alphaOut, picture->data(), 0,
                                 alphaMode);
    }

    std::vector<BYTE> CoreFrame() {
        const BITMAPINFOHEADER input = Yuy2Header(kWidth, kHeight);
        return EncodePicture(codec_, input, false, SmoothPicture(input), 24);
    }

    std::vector<BYTE> AlphaFrame() {
        const BITMAPINFOHEADER input = RgbHeader(32, kWidth, kHeight);
        return EncodePicture(codec_, input, true, SmoothPicture(input), 32);
    }
};

TEST_F(ZetaCodec, BringsPicturesBackTheSameWayUpInEveryRange) {
    struct Case {
        BITMAPINFOHEADER header;
        double tolerance;
    };
    // Half the chroma samples of RGB are dropped and the matrix rounds; a flipped or shifted
    // picture would be off by tens.
    const Case cases[] = {
        {Yuy2Header(kWidth, kHeight), 4 / 2.0 + 0.5},  // the quantiser's bound
        {Yuy2Header(kWidth, -kHeight), 4 / 2.0 + 0.5}, {RgbHeader(24, kWidth, kHeight), 8},
        {RgbHeader(24, kWidth, -kHeight), 8},          {RgbHeader(32, kWidth, kHeight), 8},
        {RgbHeader(32, kWidth, -kHeight), 8},
    };
    for (const Case& c : cases) {
        for (LONG colorSpace : {0, 1}) {
            codec_.SetParameters({colorSpace, 4, 100, 4}, false);
            const bool alpha = c.header.biBitCount == 32;
            const WORD bits = alpha ? 32 : 24;
            const std::vector<BYTE> source = SmoothPicture(c.header);
            const auto frame = EncodePicture(codec_, c.header, alpha, source, bits);
            ASSERT_FALSE(frame.empty());
            EXPECT_LT(frame.size(), source.size());
            // The tag decides, not the stream's header.
            for (WORD claimed : {WORD{24}, WORD{32}}) {
                std::vector<BYTE> back;
                ASSERT_EQ(Decode(frame, claimed, c.header, alpha, &back, kPremultipliedMode), S_OK);
                back.resize(source.size());
                EXPECT_LE(RootMeanSquare(back, source), c.tolerance)
                    << bits << " " << c.header.biHeight << " " << colorSpace;
            }
        }
    }
}

TEST_F(ZetaCodec, KeepsAlphaExactlyAndCleansWhatIsUnderTheMatte) {
    const BITMAPINFOHEADER header = RgbHeader(32, kWidth, kHeight);
    const std::vector<BYTE> source = SmoothPicture(header);
    for (LONG colorSpace : {0, 1}) {
        codec_.SetParameters({colorSpace, 4, 30, 4}, false);
        const auto frame = EncodePicture(codec_, header, true, source, 32);
        std::vector<BYTE> cleaned;
        std::vector<BYTE> untouched;
        ASSERT_EQ(Decode(frame, 32, header, true, &cleaned), S_OK);
        ASSERT_EQ(Decode(frame, 32, header, true, &untouched, kPremultipliedMode), S_OK);
        const BYTE black = colorSpace == 0 ? 0 : 0x10;
        int clear = 0;
        for (std::size_t i = 0; i < source.size(); i += 4) {
            ASSERT_EQ(cleaned[i + 3], source[i + 3]);
            for (std::size_t c = 0; c < 3; ++c) {
                ASSERT_EQ(cleaned[i + c], source[i + 3] == 0 ? black : untouched[i + c]);
            }
            clear += source[i + 3] == 0 ? 1 : 0;
        }
        EXPECT_GT(clear, 0);
    }
}

TEST_F(ZetaCodec, RefusesDamagedTagsAndLengthsAndWritesNothing) {
    const std::vector<BYTE> core = CoreFrame();
    const std::vector<BYTE> alpha = AlphaFrame();
    ASSERT_FALSE(core.empty() || alpha.empty());
    struct Case {
        const char* name;
        std::vector<BYTE> sample;
    };
    const auto cut = [](std::vector<BYTE> frame, std::size_t length) {
        frame.resize(length);
        return frame;
    };
    const auto changed = [](std::vector<BYTE> frame, std::size_t at, DWORD word) {
        std::memcpy(frame.data() + at, &word, 4);
        return frame;
    };
    const auto coded = static_cast<DWORD>(core.size());
    const Case cases[] = {
        {"three bytes", {'Z', 'C', 'F'}},
        {"core tag alone", cut(core, 4)},
        {"alpha tag alone", cut(alpha, 4)},
        {"core frame a byte short", cut(core, core.size() - 1)},
        {"alpha frame a byte short", cut(alpha, alpha.size() - 1)},
        {"core frame half there", cut(core, core.size() / 2)},
        {"core length one too long", changed(core, 4, coded + 1)},
        {"core length of all ones", changed(core, 4, 0xFFFFFFFF)},
        {"core length negative", changed(core, 4, 0x80000000)},
        {"core length 0", changed(core, 4, 0)},
        {"wrong first letter", changed(core, 0, 0x31464358)},
        {"lower case tag", changed(core, 0, 0x3166637A)},
        {"alpha tag of another version", changed(alpha, 0, 0x3241545A)},
        {"all zero", std::vector<BYTE>(64)},
        {"INFO twice", test::WithInfo(test::WithInfo(core, 16), 16)},
        {"INFO one byte off", changed(test::WithInfo(core, 16), 4, 17)},
    };
    for (const Case& c : cases) {
        std::vector<BYTE> picture;
        EXPECT_EQ(Decode(c.sample, 24, Yuy2Header(kWidth, kHeight), false, &picture), E_FAIL)
            << c.name;
        EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard)) << c.name;
    }
}

TEST_F(ZetaCodec, StoresPackedLayoutsThroughTheRowCallbacks) {
    const std::vector<BYTE> frame = CoreFrame();
    std::vector<BYTE> yuy2, swapped, r408;
    ASSERT_EQ(Decode(frame, 24, Yuy2Header(kWidth, kHeight), false, &yuy2), S_OK);
    ASSERT_EQ(Decode(frame, 24, MakeHeader(FourCC("2vuy"), 16, kWidth, kHeight), false, &swapped),
              S_OK);
    ASSERT_EQ(Decode(frame, 24, MakeHeader(FourCC("r408"), 32, kWidth, kHeight), false, &r408),
              S_OK);
    for (std::size_t pixel = 0; pixel < kWidth * kHeight; ++pixel) {
        const BYTE luma = yuy2[2 * pixel];
        const BYTE* pair = &yuy2[pixel / 2 * 4];
        ASSERT_EQ(swapped[2 * pixel], yuy2[2 * pixel + 1]);
        ASSERT_EQ(swapped[2 * pixel + 1], luma);
        const BYTE expected[] = {255, static_cast<BYTE>(std::max(luma - 16, 0)), pair[1], pair[3]};
        ASSERT_EQ(std::memcmp(&r408[4 * pixel], expected, 4), 0) << pixel;
    }
}

TEST_F(ZetaCodec, HoldsAFaultInsideARowCallback) {
    const std::vector<BYTE> core = CoreFrame();
    const std::vector<BYTE> alpha = AlphaFrame();
    const test::Misbehaviour misbehave("decode:callback");
    for (DWORD fourcc : {FourCC("v408"), FourCC("r408"), FourCC("r4fl"), FourCC("2vuy")}) {
        const BITMAPINFOHEADER output = MakeHeader(fourcc, 32, kWidth, kHeight);
        std::vector<BYTE> picture;
        EXPECT_EQ(Decode(core, 24, output, false, &picture), E_FAIL);
        EXPECT_EQ(Decode(alpha, 32, output, true, &picture), E_FAIL);
    }
}

TEST_F(ZetaCodec, KeepsToTheEnginesBudget) {
    const BITMAPINFOHEADER d1 = Yuy2Header(720, 480);
    EXPECT_EQ(codec_.GetMaxCompressedSize(&d1, false), 207360u + 1064u);
    EXPECT_EQ(codec_.GetMaxCompressedSize(&d1, true), 720u * 480 * 48 / 10 + 1064);
    const BITMAPINFOHEADER upright = Yuy2Header(720, -480);
    EXPECT_EQ(codec_.GetMaxCompressedSize(&upright, false), 207360u + 1064u);

    codec_.SetParameters({0, 19, 0, 4}, false);  // no budget: the floor of 16 bytes a block holds
    EXPECT_EQ(codec_.GetMaxCompressedSize(&d1, false), 45u * 30 * 16 + 1064);
    codec_.SetParameters({0, 3, 4, 4}, false);
    const std::vector<BYTE> frame = CoreFrame();
    ASSERT_FALSE(frame.empty());
    EXPECT_LE(frame.size(), static_cast<std::size_t>(kWidth * kHeight * 2 * 4 / 100));
}

TEST_F(ZetaCodec, RefusesBitCountsItCannotEncode) {
    BITMAPINFOHEADER output = MakeHeader(kZeta, 24, kWidth, kHeight);
    std::vector<BYTE> picture(kWidth * kHeight * 16);
    std::vector<BYTE> frame(kWidth * kHeight * 16);
    for (const BITMAPINFOHEADER& input :
         {MakeHeader(FourCC("r4fl"), 128, kWidth, kHeight), RgbHeader(8, kWidth, kHeight),
          MakeHeader(FourCC("v210"), 20, kWidth, kHeight)}) {
        EXPECT_EQ(codec_.Compress(&input, false, picture.data(), &output, frame.data(), 0, 0, 0),
                  E_FAIL);
    }
}

TEST_F(ZetaCodec, KeepsLiveParametersUncheckedAndStoresAllButTheColourSpaceByTheRules) {
    const EncoderParameters before = codec_.GetParameters(true);
    codec_.SetParameters({7, 25, -3, 4}, true);
    const EncoderParameters live = codec_.GetParameters(false);
    const EncoderParameters stored = codec_.GetParameters(true);
    codec_.SetParameters(before, true);
    EXPECT_EQ(live.color_space, 7);
    EXPECT_EQ(live.quant_scale, 25);
    EXPECT_EQ(live.max_stream_size, -3);
    EXPECT_EQ(live.preset, 4);
    EXPECT_EQ(stored.color_space, before.color_space);
    EXPECT_EQ(stored.preset, 4);
    EXPECT_EQ(stored.quant_scale, 19);
    EXPECT_EQ(stored.max_stream_size, 4);
}

}  // namespace
}  // namespace nyx
