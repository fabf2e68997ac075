/// Frames of one codec: the packed layouts of Zeta and Zeta2, the kinds of the lossless codec and
/// the memory behind its frames, the dropped lines and failing pictures of MPEG-2.

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
            auto header = MakeHeader(kFourCCs[stream.codec], stream.bits, kWidth, kHeight);
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
        {kTenBit, PictureHeader(32, kWidth - 1, kHeight), 0, E_FAIL},
        {kZeta2, uyvy, 0, S_OK},
        {kZeta2, PictureHeader(24, -160, 120), 0, E_FAIL},
        {kZeta2, PictureHeader(32, 0x7FFFFFFE, 2), 0, E_FAIL},
        {kZeta2, v210, 431, E_FAIL},
        {kZeta2, v210, 432, S_OK},
    };
    const Bytes frame = Hollow("QZ21", kWidth, kHeight, 0);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QZT2"), 24, kWidth, kHeight, 24);
    for (const auto& [codec, picture, stride, result] : cases) {
        BITMAPINFOHEADER output = MakeHeader(kFourCCs[codec], 24, kWidth, kHeight);
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

TEST_F(Frames, OfEveryLosslessKindDecodeToEveryOutput) {
    for (DWORD code = 0; code < 4; ++code) {  // definition and range
        const LONG width = code < 2 ? 62 : 960, height = code < 2 ? 37 : 720;
        WriteCodecSetting(FourCC("QLLC"), L"color_space", code % 2 == 0 ? 5 : 0);
        CLosslessCodec codec;
        for (int pair = 0; pair < 16; ++pair) {
            const int kind = pair / 4, to = pair % 4;
            SCOPED_TRACE(testing::Message() << kind << " to " << to << " code " << code);
            const Stream& stored = kLosslessStreams[kind];
            const std::size_t from = stored.pictureBits / 8u;
            const std::size_t bytes = kLosslessStreams[to].pictureBits / 8u;
            Bytes expected = SmoothPicture(PictureOf(stored.pictureBits, width, height)), picture;
            const Bytes frame = Coded(stored.name, expected, width, height);
            ASSERT_EQ(frame[1], kind);
            for (std::size_t i = 0; kind == 3 && to != 3 && i < expected.size(); i += 4) {
                std::fill_n(&expected[i], expected[i + 3] == 0 ? 3 : 0,
                            static_cast<BYTE>(code % 2 == 0 ? 0x10 : 0));
            }
            const DWORD rgb = std::max(from, bytes) == 4 ? kBgra : kBgr3;
            if (kind != to && (kind == 0 || to == 0)) {
                expected = Converted(expected, kind == 0 ? kYuy2 : rgb, to == 0 ? kYuy2 : rgb,
                                     width, height, code);
            } else if (kind != to) {  // the three colours, a fourth byte opaque
                Bytes repacked(expected.size() / from * bytes, 0xFF);
                for (std::size_t i = 0; i < expected.size() / from; ++i) {
                    std::copy_n(&expected[i * from], 3, &repacked[i * bytes]);
                }
                expected = repacked;
            }
            Stream asked = stored;
            asked.alpha = to == 3;
            ASSERT_EQ(Decode(asked, frame, PictureOf(static_cast<WORD>(8 * bytes), width, height),
                             &picture, 0, &codec),
                      S_OK);
            EXPECT_TRUE(picture == expected);
        }
    }
}

TEST_F(Frames, OfKnownLosslessKindsReachTheEngineCopiedOnlyBeforeUnreadableMemory) {
    const BITMAPINFOHEADER picture = PictureHeader(16, 16, 8);
    const Bytes source = SmoothPicture(picture), frame = Coded("lossless-yuy2", source, 16, 8);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QLLC"), 24, 16, 8, frame.size());
    for (const std::size_t behind : {0u, 63u, 64u}) {
        const GuardedMemory memory(frame + Bytes(behind));
        memory.Protect();
        Bytes back(source.size());
        EXPECT_EQ(
            codecs_.lossless.Decompress(&input, memory.data(), &picture, false, back.data(), 0, 0),
            S_OK);
        EXPECT_EQ(back, source);
        EXPECT_EQ(LastCall(kLlc, kDecode).words[1] == Word(memory.data()), behind == 64);
    }
    const DWORD calls = LastCall(kLlc, kDecode).count;
    for (const BYTE kind : {BYTE{4}, BYTE{255}}) {
        Bytes back;
        EXPECT_EQ(Decode(kLosslessStreams[0], {'L', kind, 'S', '1'}, picture, &back), E_FAIL);
    }
    EXPECT_EQ(LastCall(kLlc, kDecode).count, calls);
}

TEST_F(Frames, OfMpegLoseTheLinesAboveThePictureAndHaveThreeBytesPerPixelInEveryRgb) {
    constexpr LONG kPictures[][4] = {{720, 576, 608, 32}, {720, 480, 512, 32},
                                     {720, 486, 512, 26}, {720, 486, 486, 0},
                                     {704, 480, 512, 0},  {1920, 1080, 1088, 8}};
    for (const auto& [width, height, codedHeight, dropped] : kPictures) {
        SCOPED_TRACE(testing::Message() << width << 'x' << height << " of " << codedHeight);
        const Bytes source = SmoothPicture(PictureHeader(16, width, codedHeight));
        const Bytes frame = Coded("mpeg2", source, width, codedHeight);
        Bytes picture, rgb;
        ASSERT_EQ(Decode(kMpegStream, frame, PictureHeader(16, width, height), &picture), S_OK);
        EXPECT_TRUE(
            std::equal(picture.begin(), picture.end(), source.begin() + dropped * width * 2));
        const auto size = static_cast<LONG_PTR>(frame.size());
        Expect(kM2vi, kProbe, 14, {kAny, kAny, size});
        Expect(kM2vi, kDecode, 14,
               {kAny, kAny, size, kAny, 2 * width, 2, width, height, 0, 0, 0, 0, 0,
                dropped == 0 ? 0 : kAny});
        const Call call = LastCall(kM2vi, kDecode);
        EXPECT_EQ(call.inner[2], dropped);
        EXPECT_EQ(call.result, kDone) << "its state record was zeroed";

        const Bytes colours = Converted(picture, kYuy2, kBgr3, width, height, width >= 960 ? 3 : 1);
        for (const WORD bits : {WORD{24}, WORD{32}}) {
            ASSERT_EQ(Decode(kMpegStream, frame, PictureOf(bits, width, height), &rgb), S_OK);
            Bytes expected(rgb.size(), kGuard);
            for (LONG y = 0; y < height; ++y) {
                std::copy_n(colours.begin() + y * width * 3, width * 3,
                            expected.begin() + y * width * bits / 8);
            }
            EXPECT_TRUE(rgb == expected) << bits;
        }
    }
    // A frame that is cut shows no old memory in RGB.
    Bytes cut = FrameOf(kMpegStream), rgb;
    cut.pop_back();
    EXPECT_EQ(Decode(kMpegStream, cut, PictureOf(24), &rgb), S_OK);
    EXPECT_TRUE(std::equal(rgb.begin() + 3, rgb.end(), rgb.begin()));
}

}  // namespace
}  // namespace nyx::test
