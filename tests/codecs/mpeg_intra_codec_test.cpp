#include "codecs/mpeg_intra_codec.h"

#include <gtest/gtest.h>

#include "convert/convert.h"
#include "tests/codecs/engine_codec_support.h"

namespace nyx {
namespace {

using test::MakeHeader;
using test::MpegIntraFrame;
using test::RgbHeader;
using test::SmoothPicture;
using test::Word;
using test::Words;
using test::Yuy2Header;

constexpr DWORD kMpeg = FourCC("QMIC");
constexpr wchar_t kLibrary[] = L"rkm2vi01.dll";
constexpr BYTE kGuard = 0x5A;

class MpegIntraCodec : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    CMpegIntraCodec codec_;

    HRESULT Decode(const std::vector<BYTE>& sample, const BITMAPINFOHEADER& output,
                   std::vector<BYTE>* picture) {
        const BITMAPINFOHEADER input = test::FrameHeaderFor(
            kMpeg, 24, output.biWidth, std::abs(output.biHeight), sample.size());
        picture->assign(test::PictureBytes(output), kGuard);
        return codec_.Decompress(&input, sample.data(), &output, false, picture->data(), 0, 0);
    }
};

TEST_F(MpegIntraCodec, DropsTheLinesAboveThePicture) {
    struct Case {
        LONG width;
        LONG height;
        LONG codedHeight;
        LONG dropped;
    };
    const Case cases[] = {
        {720, 576, 608, 32}, {720, 480, 512, 32},   {720, 486, 512, 26},
        {720, 486, 486, 0},  {720, 480, 480, 0},    {704, 480, 512, 0},
        {64, 48, 80, 0},     {1920, 1080, 1088, 8}, {1920, 1080, 1080, 0},
    };
    for (const Case& c : cases) {
        const auto frame = MpegIntraFrame(c.width, c.codedHeight);
        ASSERT_FALSE(frame.empty());
        std::vector<BYTE> picture;
        ASSERT_EQ(Decode(frame, Yuy2Header(c.width, c.height), &picture), S_OK);
        const standin::Call call = test::LastCall(kLibrary, standin::kDecode);
        EXPECT_EQ(call.words[13] != 0, c.dropped != 0) << c.width << " " << c.height;
        EXPECT_EQ(call.inner[0], 0u);
        EXPECT_EQ(call.inner[1], 0u);
        EXPECT_EQ(call.inner[2], static_cast<DWORD>(c.dropped));
        const auto source = SmoothPicture(Yuy2Header(c.width, c.codedHeight));
        const auto first = source.begin() + c.dropped * c.width * 2;
        const std::vector<BYTE> expected(first,
                                         first + static_cast<std::ptrdiff_t>(picture.size()));
        EXPECT_LT(test::RootMeanSquare(picture, expected), 2.0) << c.width << " " << c.height;
    }
}

TEST_F(MpegIntraCodec, HandsTheEngineItsTwoRecordsWordByWord) {
    const auto frame = test::WithInfo(MpegIntraFrame(64, 48), 16);
    std::vector<BYTE> picture;
    ASSERT_EQ(Decode(frame, Yuy2Header(64, 48), &picture), S_OK);
    const DWORD coded = Word(frame.data()) + 24;
    const auto length = static_cast<DWORD>(frame.size() - 24);
    const standin::Call header = test::LastCall(kLibrary, standin::kProbe);
    EXPECT_NE(header.words[0], 0u);
    EXPECT_EQ(Words(header), (std::vector<DWORD>{header.words[0], coded, length, 0, 0, 0, 0, 0, 0,
                                                 0, 0, 0, 0, 0}));
    EXPECT_EQ(header.result, standin::kDone);  // its state record was zeroed
    const standin::Call decode = test::LastCall(kLibrary, standin::kDecode);
    EXPECT_EQ(Words(decode),
              (std::vector<DWORD>{decode.words[0], coded, length, Word(picture.data()), 128, 2, 64,
                                  48, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(decode.result, standin::kDone);
}

TEST_F(MpegIntraCodec, WritesThreeBytesPerPixelOfEveryRgbOutput) {
    for (LONG width : {64, 960}) {
        const LONG height = width == 64 ? 48 : 720;
        const auto frame = MpegIntraFrame(width, height);
        std::vector<BYTE> yuy2;
        ASSERT_EQ(Decode(frame, Yuy2Header(width, height), &yuy2), S_OK);
        std::vector<BYTE> bgr(static_cast<std::size_t>(width * height * 3));
        const ImagePlane source = {yuy2.data(), width * 2, 0};
        const ImagePlane destination = {bgr.data(), width * 3, 0};
        const DWORD code = width == 64 ? 1 : 3;  // full range, BT.601 or BT.709
        ASSERT_EQ(ConvertFromYuv(&source, nullptr, FourCC("YUY2"), code & 2, 0, &destination,
                                 FourCC("BGR3"), code, 0, width, height),
                  S_OK);
        for (WORD bits : {WORD{24}, WORD{32}}) {
            for (bool bottomUp : {false, true}) {
                const BITMAPINFOHEADER output = RgbHeader(bits, width, bottomUp ? height : -height);
                std::vector<BYTE> picture;
                ASSERT_EQ(Decode(frame, output, &picture), S_OK);
                const std::size_t row = static_cast<std::size_t>(width) * bits / 8;
                const std::size_t written = static_cast<std::size_t>(width) * 3;
                for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
                    const std::size_t at =
                        (bottomUp ? static_cast<std::size_t>(height) - 1 - y : y) * row;
                    ASSERT_EQ(std::memcmp(&picture[at], &bgr[y * written], written), 0) << y;
                    for (std::size_t x = written; x < row; ++x) {
                        ASSERT_EQ(picture[at + x], kGuard);
                    }
                }
            }
        }
    }
}

TEST_F(MpegIntraCodec, BlackensThePictureThatRaised) {
    const auto frame = MpegIntraFrame(64, 48);
    for (const char* what : {"decode:access", "decode:divide", "decode:throw"}) {
        const test::Misbehaviour misbehave(what);
        std::vector<BYTE> picture;
        ASSERT_EQ(Decode(frame, Yuy2Header(64, 48), &picture), E_FAIL) << what;
        for (std::size_t at = 0; at < picture.size(); at += 2) {
            ASSERT_EQ(picture[at], 0x10);
            ASSERT_EQ(picture[at + 1], 0x80);
        }
        ASSERT_EQ(Decode(frame, RgbHeader(24, 64, 48), &picture), E_FAIL) << what;
        EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), 0));
    }
}

TEST_F(MpegIntraCodec, RefusesShortFramesAndPackedLayoutsAndWritesNothing) {
    const auto frame = MpegIntraFrame(64, 48);
    std::vector<BYTE> picture;
    EXPECT_EQ(Decode({0, 0, 1}, Yuy2Header(64, 48), &picture), E_FAIL);
    EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard));
    for (DWORD fourcc : {FourCC("v210"), FourCC("r4fl")}) {
        EXPECT_EQ(Decode(frame, MakeHeader(fourcc, 16, 64, 48), &picture), E_FAIL);
        EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard));
    }
}

}  // namespace
}  // namespace nyx
