#include "codecs/ten_bit_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "codecs/pixel_format_index.h"
#include "codecs/ten_bit_rows.h"
#include "convert/convert.h"
#include "tests/codecs/chunk_builder.h"
#include "tests/codecs/picture_header.h"
#include "tests/codecs/ten_bit_reference.h"

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

TEST(TenBitQueries, FollowTheRules) {
    CTenBitCodec codec;
    const BITMAPINFOHEADER input = TenBitHeader(720, 486);
    struct Case {
        const char* name;
        BITMAPINFOHEADER input;
        BITMAPINFOHEADER output;
        bool alpha;
        bool accepted;
    };
    BITMAPINFOHEADER shortHeader = input;
    shortHeader.biSize = 39;
    BITMAPINFOHEADER twoPlanes = input;
    twoPlanes.biPlanes = 2;
    BITMAPINFOHEADER longHeader = input;
    longHeader.biSize = 124;
    const BITMAPINFOHEADER rgb32 = MakeHeader(BI_RGB, 32, 720, 486);
    const Case cases[] = {
        {"rgb32", input, rgb32, false, true},
        {"rgb24", input, MakeHeader(BI_RGB, 24, 720, 486), false, true},
        {"yuy2", input, MakeHeader(kYuy2, 16, 720, 486), false, true},
        {"top-down", input, MakeHeader(BI_RGB, 32, 720, -486), false, true},
        {"wider", input, MakeHeader(BI_RGB, 32, 768, 486), false, true},
        {"long header", longHeader, rgb32, false, true},
        {"alpha asked", input, rgb32, true, false},
        {"narrower", input, MakeHeader(BI_RGB, 32, 718, 486), false, false},
        {"other height", input, MakeHeader(BI_RGB, 32, 720, 480), false, false},
        {"rgb16", input, MakeHeader(BI_RGB, 16, 720, 486), false, false},
        {"yuy2 of 24 bits", input, MakeHeader(kYuy2, 24, 720, 486), false, false},
        {"uyvy", input, MakeHeader(FourCC("UYVY"), 16, 720, 486), false, false},
        {"short header", shortHeader, rgb32, false, false},
        {"two planes", twoPlanes, rgb32, false, false},
        {"odd width", TenBitHeader(719, 486), MakeHeader(BI_RGB, 32, 720, 486), false, false},
        {"zero width", TenBitHeader(0, 486), rgb32, false, false},
        {"negative width", TenBitHeader(-720, 486), rgb32, false, false},
        {"zero height", TenBitHeader(720, 0), MakeHeader(BI_RGB, 32, 720, 0), false, false},
        {"negative height", TenBitHeader(720, -486), rgb32, false, false},
        {"v210", MakeHeader(FourCC("v210"), 20, 720, 486), rgb32, false, false},
        {"24 bits", MakeHeader(FourCC("Q210"), 24, 720, 486), rgb32, false, false},
        {"too large", TenBitHeader(0x7FFFFFFE, 0x7FFFFFFF), rgb32, false, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(codec.DecompressQuery(&c.input, &c.output, c.alpha),
                  c.accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED)
            << c.name;
    }
    EXPECT_EQ(codec.DecompressQuery(&input, nullptr, false), S_OK);
    EXPECT_EQ(codec.DecompressQuery(nullptr, nullptr, false), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.DecompressQuery(nullptr, &rgb32, false), VFW_E_TYPE_NOT_ACCEPTED);
}

TEST(TenBitQueries, EncodingTakesYuy2AndRgb24) {
    CTenBitCodec codec;
    const BITMAPINFOHEADER output = TenBitHeader(720, 486);
    const BITMAPINFOHEADER topDown = TenBitHeader(720, -486);
    const BITMAPINFOHEADER rgb24 = MakeHeader(BI_RGB, 24, 720, -486);
    const BITMAPINFOHEADER yuy2 = MakeHeader(kYuy2, 16, 720, 486);
    const BITMAPINFOHEADER rgb32 = MakeHeader(BI_RGB, 32, 720, 486);
    const BITMAPINFOHEADER odd = MakeHeader(BI_RGB, 24, 721, 486);
    EXPECT_EQ(codec.CompressQuery(&rgb24, false, &output), S_OK);
    EXPECT_EQ(codec.CompressQuery(&yuy2, false, nullptr), S_OK);
    EXPECT_EQ(codec.CompressQuery(&rgb24, false, &topDown), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.CompressQuery(&rgb32, true, &output), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.CompressQuery(&odd, false, nullptr), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.CompressQuery(nullptr, false, nullptr), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec.GetMaxCompressedSize(&yuy2, false), 15u * 486 * 128 + 1064);
    EXPECT_FALSE(codec.SupportsAlpha());
    EXPECT_EQ(codec.GetFourCC(), FourCC("Q210"));
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
        const Bytes bare = test::EncodeTenBitFrame(picture, 0xFF);
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
    const Bytes bare = test::EncodeTenBitFrame(picture, 0);
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

TEST(TenBitEncode, Yuy2SurvivesTheRoundTripExactly) {
    CTenBitCodec codec;
    for (const LONG width : {48, 1280}) {
        constexpr LONG kHeight = 20;
        const Bytes source = test::ReferenceYuy2(test::RandomTenBitPicture(width, kHeight, 3));
        const BITMAPINFOHEADER uncompressed = MakeHeader(kYuy2, 16, width, kHeight);
        BITMAPINFOHEADER compressed = TenBitHeader(width, kHeight);
        const TenBitRowLayout layout = TenBitRowLayoutFor(width);
        Bytes frame(layout.stride * kHeight);
        ASSERT_EQ(
            codec.Compress(&uncompressed, false, source.data(), &compressed, frame.data(), 0, 0, 0),
            S_OK);
        EXPECT_EQ(compressed.biSizeImage, (layout.stride + layout.gap) * kHeight);

        compressed.biSizeImage = static_cast<DWORD>(frame.size());
        Bytes back(source.size());
        ASSERT_EQ(
            codec.Decompress(&compressed, frame.data(), &uncompressed, false, back.data(), 0, 0),
            S_OK);
        EXPECT_EQ(back, source);
    }
}

TEST(TenBitEncode, RgbIsConvertedFirst) {
    CTenBitCodec codec;
    constexpr LONG kWidth = 50;
    constexpr LONG kHeight = 18;
    Bytes rgb(kWidth * kHeight * 3);
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        rgb[i] = static_cast<BYTE>(i * 7 + i / 256);
    }
    Bytes yuy2(kWidth * kHeight * 2);
    const ImagePlane source = {rgb.data() + kWidth * 3 * (kHeight - 1), -kWidth * 3, -kWidth * 6};
    const ImagePlane destination = {yuy2.data(), kWidth * 2, 0};
    ASSERT_EQ(ConvertToYuv(&source, FourCC("BGR3"), 1, nullptr, &destination, nullptr, kYuy2, 0, 0,
                           kWidth, kHeight),
              S_OK);

    const BITMAPINFOHEADER rgbHeader = MakeHeader(BI_RGB, 24, kWidth, kHeight);
    const BITMAPINFOHEADER yuyHeader = MakeHeader(kYuy2, 16, kWidth, kHeight);
    BITMAPINFOHEADER compressed = TenBitHeader(kWidth, kHeight);
    Bytes fromRgb(TenBitRowLayoutFor(kWidth).stride * kHeight);
    Bytes fromYuy2 = fromRgb;
    ASSERT_EQ(codec.Compress(&rgbHeader, false, rgb.data(), &compressed, fromRgb.data(), 0, 0, 0),
              S_OK);
    ASSERT_EQ(codec.Compress(&yuyHeader, false, yuy2.data(), &compressed, fromYuy2.data(), 0, 0, 0),
              S_OK);
    EXPECT_EQ(fromRgb, fromYuy2);
}

}  // namespace
}  // namespace nyx
