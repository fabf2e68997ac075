#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "dv/dv25_codec.h"
#include "dv/dv50_codec.h"
#include "dv/dvhd_codec.h"
#include "dv/resample.h"
#include "tests/dv/dv_codec_rig.h"

namespace nyx {
namespace {

using test::DvHeader;
using test::DvPicture;
using test::EngineSearch;
using test::kDvEngine;
using test::LastCall;
using test::PictureHeader;
using test::StoredSetting;

constexpr DWORD kDv25 = FourCC("QDVC");
constexpr DWORD kDv50 = FourCC("QDV5");
constexpr DWORD kHd = FourCC("QDVH");

/// The most that the stand-in writes.
constexpr std::size_t kLargestFrame = 576000;

struct Encoded {
    HRESULT result;
    DWORD length;
    standin::Call call;
    std::vector<BYTE> frame;
};

/// Encodes a picture of noise.
template <typename Codec>
Encoded Encode(DvPicture* picture) {
    std::mt19937 random(3);
    for (LONG y = 0; y < picture->rows(); ++y) {
        BYTE* row = picture->data() + y * picture->stride();
        std::generate(row, row + picture->rowBytes(), [&] { return static_cast<BYTE>(random()); });
    }
    const EngineSearch search;
    Codec codec;
    Encoded encoded = {S_OK, 0, {}, std::vector<BYTE>(kLargestFrame)};
    BITMAPINFOHEADER output =
        DvHeader(codec.GetFourCC(), picture->header().biWidth, picture->rows());
    encoded.result = codec.Compress(&picture->header(), false, picture->data(), &output,
                                    encoded.frame.data(), 0, 0, 0);
    encoded.length = output.biSizeImage;
    encoded.call = LastCall(kDvEngine, standin::kEncode);
    return encoded;
}

template <typename Codec>
void ExpectFlags(LONG width, LONG height, DWORD flags, DWORD length) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    DvPicture picture(24, width, height);
    const Encoded encoded = Encode<Codec>(&picture);
    EXPECT_EQ(encoded.result, S_OK);
    EXPECT_EQ(encoded.call.words[0], flags);
    EXPECT_EQ(encoded.length, length);
}

TEST(DvEncode, FlagsFollowSizeAndSettings) {
    ExpectFlags<CDv25Codec>(720, 480, 0x51, 120000);
    ExpectFlags<CDv25Codec>(720, -576, 0x91, 144000);
    ExpectFlags<CDv25Codec>(856, 480, 0x451, 120000);
    ExpectFlags<CDv25Codec>(1024, 576, 0x491, 144000);
    ExpectFlags<CDv50Codec>(720, 480, 0x60, 240000);
    ExpectFlags<CDv50Codec>(720, 576, 0xA0, 288000);
    ExpectFlags<CDvHdCodec>(1280, 1080, 0x472, 480000);
    ExpectFlags<CDvHdCodec>(1440, 1080, 0x4B2, 576000);
    ExpectFlags<CDvHdCodec>(960, 720, 0x475, 240000);
    {
        const StoredSetting fifty(kHd, L"5060", 1);
        ExpectFlags<CDvHdCodec>(960, 720, 0x4B5, 288000);
    }
    {
        const StoredSetting wide(kDv50, L"wide_screen", 2);
        ExpectFlags<CDv50Codec>(720, 480, 0x460, 240000);
        ExpectFlags<CDv50Codec>(720, 576, 0x4A0, 288000);
    }
    const StoredSetting dvcPro25(kDv25, L"dvcpro25", 1);
    ExpectFlags<CDv25Codec>(720, 480, 0x52, 120000);
    ExpectFlags<CDv25Codec>(1024, 576, 0x492, 144000);
    const StoredSetting wide(kDv25, L"wide_screen", 1);
    ExpectFlags<CDv25Codec>(720, 480, 0x452, 120000);
}

TEST(DvEncode, UnknownHeightsAreEncodedWithoutFlags) {
    DvPicture picture(16, 720, 486);
    EXPECT_EQ(Encode<CDv25Codec>(&picture).call.words[0], 0u);
}

TEST(DvEncode, APictureOfTheRecordedWidthIsEncodedInPlace) {
    DvPicture picture(24, 720, 576);
    const Encoded encoded = Encode<CDv25Codec>(&picture);
    EXPECT_EQ(encoded.call.words[1], reinterpret_cast<DWORD>(encoded.frame.data()));
    EXPECT_EQ(encoded.call.words[2], reinterpret_cast<DWORD>(picture.Row(575)));
    EXPECT_EQ(static_cast<LONG>(encoded.call.words[3]), -2160);
    EXPECT_EQ(encoded.call.words[4], 3u);
    EXPECT_EQ(encoded.call.words[5], 4u);
}

void ExpectSqueezed(WORD bits, LONG width, LONG height, DWORD code) {
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << bits << " bits");
    DvPicture picture(bits, width, height);
    const Encoded encoded = Encode<CDv25Codec>(&picture);
    ASSERT_EQ(encoded.result, S_OK);
    const bool yuv = bits == 16;
    const bool bottomUp = !yuv && height > 0;
    const std::size_t rowBytes = 720u * bits / 8;
    for (const LONG y : {LONG{0}, picture.rows() - 1}) {
        std::vector<BYTE> expected(rowBytes);
        ASSERT_EQ(
            SqueezeRows(bits == 24 ? ResampleUnit::kThreeBytes : ResampleUnit::kFourBytes,
                        {picture.Row(bottomUp ? picture.rows() - 1 - y : y), picture.rowBytes(),
                         yuv ? width / 2 : width},
                        {expected.data(), static_cast<LONG>(rowBytes), yuv ? LONG{360} : LONG{720}},
                        1),
            S_OK);
        const BYTE* row = encoded.frame.data() + (y == 0 ? 0 : rowBytes);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), row)) << "row " << y;
    }
    EXPECT_EQ(static_cast<LONG>(encoded.call.words[3]),
              static_cast<LONG>(rowBytes) * (bottomUp ? -1 : 1));
    EXPECT_EQ(encoded.call.words[4], static_cast<DWORD>(bits / 8));
    EXPECT_EQ(encoded.call.words[5], code);
}

TEST(DvEncode, WideScreenPicturesAreSqueezed) {
    ExpectSqueezed(16, 856, 480, 0);
    ExpectSqueezed(16, 1024, 576, 0);
    ExpectSqueezed(24, 1024, 576, 4);
    ExpectSqueezed(24, 856, -480, 4);
    ExpectSqueezed(32, 1024, 576, 3);
}

TEST(DvEncode, WhatCannotBeEncodedFails) {
    DvPicture narrow(24, 640, 480);
    EXPECT_EQ(Encode<CDv25Codec>(&narrow).result, E_FAIL) << "a squeeze cannot enlarge";
    DvPicture picture(24, 720, 480);
    {
        const test::Misbehaviour raise("encode:access");
        EXPECT_EQ(Encode<CDv50Codec>(&picture).result, E_FAIL);
    }
    {
        const test::Misbehaviour negative("encode:longer");
        EXPECT_EQ(Encode<CDv50Codec>(&picture).result, E_FAIL);
    }
    CDv25Codec unbound;
    BITMAPINFOHEADER input = picture.header();
    BITMAPINFOHEADER output = DvHeader(kDv25, 720, 480);
    BYTE frame[4];
    EXPECT_EQ(unbound.Compress(&input, false, picture.data(), &output, frame, 0, 0, 0), E_FAIL);
    input.biCompression = FourCC("v210");
    EXPECT_EQ(unbound.Compress(&input, false, picture.data(), &output, frame, 0, 0, 0), E_FAIL);
    EXPECT_EQ(unbound.Compress(nullptr, false, picture.data(), &output, frame, 0, 0, 0), E_POINTER);
}

struct SizeCase {
    LONG width;
    LONG height;
    DWORD frameBytes;  // 0: not a size of the variant
};

template <typename Codec>
void ExpectSizes(std::initializer_list<SizeCase> cases) {
    Codec codec;
    for (const SizeCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height);
        const HRESULT expected = c.frameBytes != 0 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        const BITMAPINFOHEADER stream = DvHeader(codec.GetFourCC(), c.width, c.height);
        const BITMAPINFOHEADER picture = PictureHeader(16, c.width, c.height);
        const BITMAPINFOHEADER topDown = PictureHeader(24, c.width, -c.height);
        EXPECT_EQ(codec.IsSupportedSize(c.width, c.height), c.frameBytes != 0);
        EXPECT_EQ(codec.GetMaxCompressedSize(&picture, false), c.frameBytes);
        EXPECT_EQ(codec.GetMaxCompressedSize(&topDown, false), c.frameBytes);
        EXPECT_EQ(codec.DecompressQuery(&stream, nullptr, false), expected);
        EXPECT_EQ(codec.DecompressQuery(&stream, &picture, false), expected);
        EXPECT_EQ(codec.CompressQuery(&picture, false, nullptr), expected);
        EXPECT_EQ(codec.CompressQuery(&topDown, false, &stream), expected);
    }
    EXPECT_EQ(codec.GetMaxCompressedSize(nullptr, false), 0u);
}

TEST(DvFormats, EachVariantHasItsSizes) {
    ExpectSizes<CDv25Codec>({{720, 480, 120000},
                             {856, 480, 120000},
                             {720, 576, 144000},
                             {1024, 576, 144000},
                             {1024, 480, 0},
                             {856, 576, 0},
                             {720, 486, 0}});
    ExpectSizes<CDv50Codec>({{720, 480, 240000}, {720, 576, 288000}, {856, 480, 0}});
    ExpectSizes<CDvHdCodec>(
        {{1280, 1080, 480000}, {1440, 1080, 576000}, {960, 720, 240000}, {1280, 720, 0}});
}

/// Only what is DV's own; the rules of all codecs' headers are tested with the engine codecs.
TEST(DvFormats, DecoderOutputsAreOpaqueAndEncoderInputsYuy2AndRgb24) {
    CDv25Codec codec;
    struct Case {
        BITMAPINFOHEADER stream, picture;
        bool alpha, decodes, encodes;
    };
    const BITMAPINFOHEADER stream = DvHeader(kDv25, 720, 576);
    const Case cases[] = {
        {stream, PictureHeader(16, 720, 576), false, true, true},
        {stream, PictureHeader(24, 720, 576), false, true, true},
        {stream, PictureHeader(24, 720, 576), true, false, true},
        {stream, PictureHeader(32, 720, -576), false, true, false},
        {stream, PictureHeader(32, 720, 576), true, false, false},
        {stream, PictureHeader(24, 1024, 576), false, true, false},
        {stream, PictureHeader(24, 719, 576), false, false, false},
        {stream, PictureHeader(24, 720, 480), false, false, false},
        {stream, DvHeader(FourCC("v210"), 720, 576), false, false, false},
        {DvHeader(FourCC("dvsd"), 720, 576), PictureHeader(24, 720, 576), false, false, false},
        {DvHeader(kDv50, 720, 576), PictureHeader(24, 720, 576), false, false, false},
        {DvHeader(kDv25, 720, -576), PictureHeader(24, 720, 576), false, false, false},
        {DvHeader(kDv25, 1024, 576), PictureHeader(24, 720, 576), false, false, false},
    };
    const auto answer = [](bool accepted) { return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED; };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(codec.DecompressQuery(&c.stream, &c.picture, c.alpha), answer(c.decodes));
        EXPECT_EQ(codec.CompressQuery(&c.picture, c.alpha, &c.stream), answer(c.encodes));
    }
}

}  // namespace
}  // namespace nyx
