#include "codecs/ten_bit_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "codecs/pixel_format_index.h"
#include "convert/convert.h"
#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::MakeHeader;

using test::Bytes;
using test::TenBitPicture;
using test::operator+;

constexpr DWORD kYuy2 = FourCC("YUY2");

BITMAPINFOHEADER TenBitHeader(LONG width, LONG height) {
    return MakeHeader(FourCC("Q210"), 20, width, height);
}

TEST(TenBitQueries, FollowTheRulesInBothDirections) {
    CTenBitCodec codec;
    struct Case {
        const char* name;
        BITMAPINFOHEADER stream, picture;
        bool alpha, decodes, encodes;
    };
    const BITMAPINFOHEADER stream = TenBitHeader(720, 486);
    const BITMAPINFOHEADER rgb24 = MakeHeader(BI_RGB, 24, 720, 486);
    const Case cases[] = {
        {"yuy2", stream, MakeHeader(kYuy2, 16, 720, 486), false, true, true},
        {"rgb24", stream, rgb24, false, true, true},
        {"rgb24 with alpha", stream, rgb24, true, false, true},
        {"rgb32", stream, MakeHeader(BI_RGB, 32, 720, 486), false, true, false},
        {"rgb32 with alpha", stream, MakeHeader(BI_RGB, 32, 720, 486), true, false, false},
        {"rgb16", stream, MakeHeader(BI_RGB, 16, 720, 486), false, false, false},
        {"yuy2 of 24 bits", stream, MakeHeader(kYuy2, 24, 720, 486), false, false, false},
        {"uyvy", stream, MakeHeader(FourCC("UYVY"), 16, 720, 486), false, false, false},
        {"top-down", stream, MakeHeader(BI_RGB, 24, 720, -486), false, true, true},
        {"wider", stream, MakeHeader(BI_RGB, 24, 768, 486), false, true, false},
        {"narrower", stream, MakeHeader(BI_RGB, 24, 718, 486), false, false, false},
        {"other height", stream, MakeHeader(BI_RGB, 24, 720, 480), false, false, false},
        {"odd width", TenBitHeader(719, 486), MakeHeader(BI_RGB, 24, 719, 486), false, false,
         false},
        {"no width", TenBitHeader(0, 486), MakeHeader(BI_RGB, 24, 0, 486), false, false, false},
        {"no height", TenBitHeader(720, 0), MakeHeader(BI_RGB, 24, 720, 0), false, false, false},
        {"top-down stream", TenBitHeader(720, -486), rgb24, false, false, false},
        {"v210", MakeHeader(FourCC("v210"), 20, 720, 486), rgb24, false, false, false},
        {"24 bits", MakeHeader(FourCC("Q210"), 24, 720, 486), rgb24, false, false, false},
        {"too large", TenBitHeader(0x7FFFFFFE, 0x7FFFFFFF),
         MakeHeader(BI_RGB, 24, 0x7FFFFFFE, 0x7FFFFFFF), false, false, false},
    };
    const auto answer = [](bool accepted) { return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED; };
    for (const Case& c : cases) {
        EXPECT_EQ(codec.DecompressQuery(&c.stream, &c.picture, c.alpha), answer(c.decodes))
            << c.name;
        EXPECT_EQ(codec.CompressQuery(&c.picture, c.alpha, &c.stream), answer(c.encodes)) << c.name;
    }
    EXPECT_EQ(codec.DecompressQuery(&stream, nullptr, false), S_OK);
    EXPECT_EQ(codec.DecompressQuery(nullptr, &rgb24, false), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.CompressQuery(&rgb24, false, nullptr), S_OK);
    EXPECT_EQ(codec.CompressQuery(nullptr, false, &stream), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.GetMaxCompressedSize(&rgb24, false), 15u * 486 * 128 + 1064);
}

/// The picture that the codec must write: the plain unpacking, then for RGB one conversion of the
/// whole picture, each row placed by hand.
Bytes ExpectedPicture(const TenBitPicture& picture, const BITMAPINFOHEADER& output, BYTE canary) {
    const LONG bytesPerPixel = output.biBitCount / 8;
    const LONG stride = bytesPerPixel * output.biWidth;
    const LONG height = picture.height;
    Bytes yuy2 = test::ReferenceYuy2(picture);
    Bytes rows = yuy2;
    if (output.biCompression == BI_RGB) {
        rows.resize(static_cast<std::size_t>(picture.width * height * bytesPerPixel));
        const bool high = picture.width >= 960 && height >= 720;
        const ImagePlane source = {yuy2.data(), 2 * picture.width, 0};
        const ImagePlane destination = {rows.data(), bytesPerPixel * picture.width, 0};
        EXPECT_EQ(ConvertFromYuv(&source, nullptr, kYuy2, high ? 2 : 0, 0, &destination,
                                 bytesPerPixel == 3 ? FourCC("BGR3") : FourCC("BGRA"), 1, 0,
                                 picture.width, height),
                  S_OK);
    }
    Bytes placed(static_cast<std::size_t>(stride * height), canary);
    const bool bottomUp = output.biCompression == BI_RGB && output.biHeight > 0;
    for (LONG y = 0; y < height; ++y) {
        const LONG at = (bottomUp ? height - 1 - y : y) * stride;
        const LONG rowBytes = bytesPerPixel * picture.width;
        std::copy_n(rows.begin() + y * rowBytes, rowBytes, placed.begin() + at);
    }
    return placed;
}

TEST(TenBitDecode, WritesThePictureAndNothingElse) {
    CTenBitCodec codec;
    struct Size {
        LONG width, height;
    };
    for (const Size size :
         {Size{2, 1}, Size{46, 5}, Size{720, 17}, Size{1280, 33}, Size{960, 720}}) {
        const TenBitPicture picture = test::RandomTenBitPicture(size.width, size.height, 5);
        const Bytes bare = test::Q210Frame(picture, 0xFF);
        for (const Bytes& frame : {bare, test::InfoChunk(1, 2, 3, 4) + bare}) {
            for (const LONG wider : {0, 10}) {
                const LONG width = size.width + wider;
                for (const BITMAPINFOHEADER& output :
                     {MakeHeader(kYuy2, 16, width, size.height),
                      MakeHeader(BI_RGB, 24, width, size.height),
                      MakeHeader(BI_RGB, 24, width, -size.height),
                      MakeHeader(BI_RGB, 32, width, size.height),
                      MakeHeader(BI_RGB, 32, width, -size.height)}) {
                    BITMAPINFOHEADER input = TenBitHeader(size.width, size.height);
                    input.biSizeImage = static_cast<DWORD>(frame.size());
                    const std::size_t bytes = static_cast<std::size_t>(SurfaceSize(output));
                    const std::unique_ptr<BYTE[]> buffer(new BYTE[bytes]);
                    std::fill_n(buffer.get(), bytes, BYTE{0xA5});
                    ASSERT_EQ(
                        codec.Decompress(&input, frame.data(), &output, false, buffer.get(), 0, 0),
                        S_OK);
                    EXPECT_EQ(Bytes(buffer.get(), buffer.get() + bytes),
                              ExpectedPicture(picture, output, 0xA5))
                        << size.width << "x" << output.biHeight << " " << output.biBitCount;
                }
            }
        }
    }
}

TEST(TenBitDecode, AFrameThatCannotBeHandledWritesNothing) {
    CTenBitCodec codec;
    const TenBitPicture picture = test::RandomTenBitPicture(50, 4, 1);
    const Bytes bare = test::Q210Frame(picture, 0);
    Bytes endless = test::InfoChunk(0, 0, 1, 1) + bare;
    endless[7] = 0x80;
    const Bytes cut(bare.begin(), bare.end() - 1);
    const Bytes cutAfterInfo = test::InfoChunk(0, 0, 1, 1) + cut;
    const BITMAPINFOHEADER output = MakeHeader(BI_RGB, 32, 50, 4);
    const Bytes untouched(50 * 4 * 4, 0xA5);
    for (const Bytes& frame : {Bytes{}, Bytes{1}, cut, cutAfterInfo, endless}) {
        const std::unique_ptr<BYTE[]> exact(new BYTE[frame.size() + 1]);
        std::copy(frame.begin(), frame.end(), exact.get());
        BITMAPINFOHEADER input = TenBitHeader(50, 4);
        input.biSizeImage = static_cast<DWORD>(frame.size());
        Bytes buffer = untouched;
        EXPECT_EQ(codec.Decompress(&input, exact.get(), &output, false, buffer.data(), 0, 0),
                  E_FAIL)
            << frame.size();
        EXPECT_EQ(buffer, untouched);
    }

    BITMAPINFOHEADER input = TenBitHeader(50, 4);
    input.biSizeImage = static_cast<DWORD>(bare.size());
    const BITMAPINFOHEADER refused = MakeHeader(FourCC("v210"), 20, 50, 4);
    Bytes buffer = untouched;
    EXPECT_EQ(codec.Decompress(&input, bare.data(), &refused, false, buffer.data(), 0, 0), E_FAIL);
    EXPECT_EQ(codec.Decompress(&input, nullptr, &output, false, buffer.data(), 0, 0), E_POINTER);
    EXPECT_EQ(codec.Decompress(&input, bare.data(), &output, false, nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(buffer, untouched);
}

TEST(TenBitEncode, Yuy2SurvivesTheRoundTripExactlyAndRgbIsConvertedToItFirst) {
    CTenBitCodec codec;
    constexpr LONG kHeight = 20;
    struct Row {
        LONG width;
        DWORD stride, gap;
    };
    for (const auto& [width, stride, gap] :
         {Row{48, 128, 0}, Row{50, 256, 112}, Row{1280, 3456, 32}}) {
        const auto encode = [&, width = width, stride = stride, gap = gap](
                                const BITMAPINFOHEADER& header, const Bytes& picture) {
            BITMAPINFOHEADER compressed = TenBitHeader(width, kHeight);
            Bytes frame(stride * kHeight);
            EXPECT_EQ(
                codec.Compress(&header, false, picture.data(), &compressed, frame.data(), 0, 0, 0),
                S_OK);
            EXPECT_EQ(compressed.biSizeImage, (stride + gap) * kHeight);
            return frame;
        };
        const BITMAPINFOHEADER yuy2Header = MakeHeader(kYuy2, 16, width, kHeight);
        Bytes yuy2 = test::ReferenceYuy2(test::RandomTenBitPicture(width, kHeight, 3));
        const Bytes frame = encode(yuy2Header, yuy2);
        BITMAPINFOHEADER compressed = TenBitHeader(width, kHeight);
        compressed.biSizeImage = static_cast<DWORD>(frame.size());
        Bytes back(yuy2.size());
        ASSERT_EQ(
            codec.Decompress(&compressed, frame.data(), &yuy2Header, false, back.data(), 0, 0),
            S_OK);
        EXPECT_EQ(back, yuy2);

        Bytes rgb(static_cast<std::size_t>(width * kHeight * 3));
        for (std::size_t i = 0; i < rgb.size(); ++i) {
            rgb[i] = static_cast<BYTE>(i * 7 + i / 256);
        }
        const ImagePlane source = {rgb.data() + width * 3 * (kHeight - 1), -width * 3, -width * 6};
        const ImagePlane destination = {yuy2.data(), width * 2, 0};
        ASSERT_EQ(ConvertToYuv(&source, FourCC("BGR3"), 1, nullptr, &destination, nullptr, kYuy2, 0,
                               0, width, kHeight),
                  S_OK);
        EXPECT_EQ(encode(MakeHeader(BI_RGB, 24, width, kHeight), rgb), encode(yuy2Header, yuy2));
    }
}

}  // namespace
}  // namespace nyx
