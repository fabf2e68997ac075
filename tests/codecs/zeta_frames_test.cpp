/// Frames of the Zeta and Zeta2 codecs: the packed layouts by row callbacks.

#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

TEST_F(Frames, GoThroughTheRowCallbacksOfEveryLayoutAndBack) {
    for (int row = 0; row < 4 * 5 * 3; ++row) {
        const Stream& stream = kStreams[row / 15];
        constexpr int kPacked[] = {4, 5, 7, 8, 6};  // the last one for Zeta2 alone
        const Layout& layout = kLayouts[kPacked[row / 3 % 5]];
        const DWORD mode = static_cast<DWORD>(row) % 3;  // premultiplied is 1
        SCOPED_TRACE(testing::Message() << stream.name << " layout " << row / 3 % 5 << " " << mode);
        if (stream.codec == kZeta && layout.bits == 64) {
            continue;
        }
        const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
        const Bytes source = SmoothPicture(output), frame = FrameOf(stream);
        Bytes packed, other, coded, back;
        const auto picture = MakeHeader(layout.fourcc, layout.bits, kWidth, kHeight);
        ASSERT_EQ(Decode(stream, frame, picture, &packed, mode), S_OK);
        ASSERT_EQ(Decode(stream, frame, picture, &other, mode % 2 == 0), S_OK);
        const bool keepsAlpha = stream.alpha && layout.fourcc != FourCC("2vuy");
        EXPECT_EQ(packed != other, keepsAlpha);
        if (layout.bits == 64) {
            continue;  // RGB, not so exact
        }
        if (keepsAlpha && layout.fourcc == FourCC("r408")) {  // premultiplied luma is darker
            EXPECT_EQ(packed[4 * kWidth / 2 + 1] < other[4 * kWidth / 2 + 1], mode == 1);
        }
        const auto input = MakeHeader(layout.fourcc, stream.pictureBits, kWidth, kHeight);
        const auto encode = [&](DWORD by, Bytes* to) {
            auto header = MakeHeader(FourCCOf(stream.codec), stream.bits, kWidth, kHeight);
            to->assign(kWidth * kHeight * 5, 0);
            return codecs_.all[stream.codec]->Compress(&input, stream.alpha, packed.data(), &header,
                                                       to->data(), 0, 0, by);
        };
        ASSERT_EQ(encode(mode % 2 == 0, &other), S_OK);
        ASSERT_EQ(encode(mode, &coded), S_OK);
        EXPECT_EQ(coded != other, keepsAlpha);
        ASSERT_EQ(Decode(stream, coded, output, &back, 1), S_OK);
        for (std::size_t i = 0; i < source.size(); ++i) {
            const bool isAlpha = stream.alpha && i % 4 == 3;
            if (!stream.alpha || isAlpha || source[i | 3] == 255) {
                const int tolerance = stream.alpha ? 24 : 8;
                ASSERT_NEAR(back[i], isAlpha && !keepsAlpha ? 255 : source[i],
                            isAlpha ? 0 : tolerance)
                    << i;
            }
        }
    }
}

TEST_F(Frames, WithoutAnIndexAreRefusedButSkippedByZeta2) {
    Bytes memory(kWidth * kHeight * 4);
    const BITMAPINFOHEADER uyvy = MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight);
    const BITMAPINFOHEADER v210 = MakeHeader(FourCC("v210"), 20, kWidth, kHeight);
    const std::tuple<int, BITMAPINFOHEADER, LONG, HRESULT> cases[] = {
        {kZeta, uyvy, 0, E_FAIL},
        {kZeta, MakeHeader(FourCC("b64a"), 64, 16, 16), 0, E_FAIL},
        {kLossless, v210, 512, E_FAIL},
        {kTenBit, v210, 0, E_FAIL},
        {kTenBit, RgbHeader(32, kWidth - 1, kHeight), 0, E_FAIL},
        {kZeta2, uyvy, 0, S_OK},
        {kZeta2, RgbHeader(24, -160, 120), 0, E_FAIL},
        {kZeta2, RgbHeader(32, 0x7FFFFFFE, 2), 0, E_FAIL},
        {kZeta2, v210, 431, E_FAIL},
        {kZeta2, v210, 432, S_OK},
    };
    const Bytes frame = Hollow("QZ21", kWidth, kHeight, 0);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QZT2"), 24, kWidth, kHeight, 24);
    for (const auto& [codec, picture, stride, result] : cases) {
        BITMAPINFOHEADER output = MakeHeader(FourCCOf(codec), 24, kWidth, kHeight);
        EXPECT_EQ(codecs_.all[codec]->Compress(&picture, false, memory.data(), &output,
                                               memory.data(), 0, static_cast<DWORD>(stride), 0),
                  result)
            << picture.biCompression << " " << stride;
        EXPECT_EQ(output.biSizeImage != 0, stride == 432);
        EXPECT_EQ(codecs_.zeta2.Decompress(&input, frame.data(), &picture, false, memory.data(),
                                           stride, 0),
                  stride >= 432 ? S_OK : E_FAIL);
    }
}

}  // namespace
}  // namespace nyx::test
