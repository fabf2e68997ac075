/// Frames of the MPEG-2 intra codec: dropped lines, RGB, and pictures that fail.

#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

constexpr wchar_t kM2vi[] = L"rkm2vi01.dll";

struct MpegPicture {
    LONG width, height, codedHeight, dropped;
};
constexpr MpegPicture kPictures[] = {{720, 576, 608, 32}, {720, 480, 512, 32},
                                     {720, 486, 512, 26}, {720, 486, 486, 0},
                                     {704, 480, 512, 0},  {1920, 1080, 1088, 8}};

class MpegFrames : public Frames, public testing::WithParamInterface<MpegPicture> {
  protected:
    const LONG width_ = GetParam().width, height_ = GetParam().height;
    const Bytes source_ = SmoothPicture(Yuy2Header(width_, GetParam().codedHeight));
    const Bytes frame_ = Coded("mpeg2", source_, width_, GetParam().codedHeight);
    Bytes picture_, rgb_;
};
INSTANTIATE_TEST_SUITE_P(Sizes, MpegFrames, testing::ValuesIn(kPictures));

TEST_P(MpegFrames, LoseTheLinesAboveThePicture) {
    const LONG dropped = GetParam().dropped;
    ASSERT_EQ(Decode(kMpegStream, frame_, Yuy2Header(width_, height_), &picture_), S_OK);
    EXPECT_TRUE(
        std::equal(picture_.begin(), picture_.end(), source_.begin() + dropped * width_ * 2));
    const auto size = static_cast<LONG_PTR>(frame_.size());
    Expect(kM2vi, kProbe, 14, {kAny, kAny, size});
    Expect(kM2vi, kDecode, 14,
           {kAny, kAny, size, kAny, 2 * width_, 2, width_, height_, 0, 0, 0, 0, 0,
            dropped == 0 ? 0 : kAny});
    const Call call = LastCall(kM2vi, kDecode);
    EXPECT_EQ(call.inner[2], dropped);
    EXPECT_EQ(call.result, kDone) << "its state record was zeroed";
}

TEST_P(MpegFrames, HaveThreeBytesPerPixelInEveryRgb) {
    ASSERT_EQ(Decode(kMpegStream, frame_, Yuy2Header(width_, height_), &picture_), S_OK);
    const Bytes expected =
        Converted(picture_, kYuy2, kBgr3, width_, height_, width_ >= 960 ? 3 : 1);
    for (const WORD bits : {WORD{24}, WORD{32}}) {
        ASSERT_EQ(Decode(kMpegStream, frame_, PictureOf(bits, width_, height_), &rgb_), S_OK);
        const auto pixels = static_cast<std::size_t>(width_), rest = (bits / 8u - 3) * pixels;
        for (std::size_t y = 0; y * pixels * 3 < expected.size(); ++y) {
            const BYTE* row = &rgb_[y * pixels * bits / 8];
            ASSERT_EQ(std::memcmp(row, &expected[y * pixels * 3], 3 * pixels), 0);
            ASSERT_EQ(std::count(row + 3 * pixels, row + 3 * pixels + rest, kGuard), LONG(rest));
        }
    }
}

TEST_F(Frames, OfMpegThatAreCutShowNoOldMemoryInRgb) {
    Bytes cut = FrameOf(kMpegStream), rgb;
    cut.pop_back();
    EXPECT_EQ(Decode(kMpegStream, cut, PictureOf(24), &rgb), S_OK);
    EXPECT_TRUE(std::equal(rgb.begin() + 3, rgb.end(), rgb.begin()));
}

TEST_F(Frames, OfMpegAreBlackWhenTheEngineRaisesAnException) {
    const Misbehaviour raise("decode:throw");
    Bytes picture;
    ASSERT_EQ(Decode(kMpegStream, FrameOf(kMpegStream), PictureOf(16), &picture), E_FAIL);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        ASSERT_EQ(picture[i], i % 2 == 0 ? 0x10 : 0x80);
    }
}

}  // namespace
}  // namespace nyx::test
