/// Pictures to DV frames.

#include <set>

#include "tests/dv/dv_codecs.h"

namespace nyx::test {
namespace {

TEST_F(DvCodec, PicturesAreEncodedBySizeAndSettings) {
    using Settings = std::set<std::wstring>;
    const std::tuple<DWORD, Settings, LONG, LONG, LONG, DWORD, DWORD, DWORD> cases[] = {
        {kDv25, {}, 24, 720, 480, 0x51, 120000, 4},
        {kDv25, {}, 24, 720, -576, 0x91, 144000, 4},
        {kDv25, {}, 16, 856, 480, 0x451, 120000, 0},
        {kDv25, {}, 24, 1024, 576, 0x491, 144000, 4},
        {kDv25, {}, 32, 1024, -576, 0x491, 144000, 3},
        {kDv25, {L"dvcpro25"}, 24, 1024, 576, 0x492, 144000, 4},
        {kDv25, {L"dvcpro25", L"wide_screen"}, 24, 720, 480, 0x452, 120000, 4},
        {kDv50, {}, 24, 720, 480, 0x60, 240000, 4},
        {kDv50, {L"wide_screen"}, 16, 720, 576, 0x4A0, 288000, 0},
        {kDvHd, {}, 24, 1280, 1080, 0x472, 480000, 8},
        {kDvHd, {}, 24, 1440, 1080, 0x4B2, 576000, 8},
        {kDvHd, {}, 24, 960, 720, 0x475, 240000, 8},
        {kDvHd, {L"5060"}, 24, 960, 720, 0x4B5, 288000, 8},
    };
    for (const auto& [fourcc, settings, bits, width, height, flags, length, code] : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << flags << ' ' << width);
        for (const wchar_t* setting : {L"dvcpro25", L"wide_screen", L"5060"}) {
            WriteCodecSetting(fourcc, setting, settings.count(setting) != 0 ? 2 : 0);
        }
        codecs_.clear();
        const Picture picture{bits, width, height};
        std::generate(picture.Row(0), picture.Row(0) + picture.memory.size(),
                      [n = 0u]() mutable { return static_cast<BYTE>((n += 2654435761u) >> 24); });
        Bytes frame(576000);
        BITMAPINFOHEADER output = MakeHeader(fourcc, 24, width, picture.rows);
        CDvCodecBase& codec = Codec(fourcc);
        EXPECT_EQ(codec.GetMaxCompressedSize(&picture.header, false),
                  width == 960 ? 240000 : length);
        ASSERT_EQ(
            codec.Compress(&picture.header, false, picture.Row(0), &output, frame.data(), 0, 0, 0),
            S_OK);
        EXPECT_EQ(output.biSizeImage, length);
        const standin::Call call = LastCall(standin::kEncode);
        const bool squeezed = fourcc == kDv25 && width != 720;
        const bool bottomUp = bits != 16 && height > 0;
        const LONG rowBytes = (squeezed ? 720 : width) * bits / 8;
        const LONG first = bottomUp ? picture.rows - 1 : 0;
        EXPECT_EQ(WordsOf(call), Words(flags, frame.data(),
                                       squeezed ? call.words[2] : LONG_PTR(picture.Row(first)),
                                       bottomUp ? -rowBytes : rowBytes, bits / 8, code));
        // The stand-in puts the picture's first row into its frame.
        const Bytes rows =
            squeezed ? Resampled(picture, 720) : Bytes(picture.Row(0), picture.Row(picture.rows));
        EXPECT_EQ(std::memcmp(&rows[static_cast<std::size_t>(first * rowBytes)], frame.data(),
                              static_cast<std::size_t>(rowBytes)),
                  0);
    }
}

TEST_F(DvCodec, PicturesThatCannotBeEncodedAreRefused) {
    Bytes frame(120000);
    BITMAPINFOHEADER output = MakeHeader(kDv25, 24, 720, 480);
    const auto encode = [&](const BITMAPINFOHEADER& input, const char* misbehaviour) {
        const Misbehaviour active(misbehaviour);
        const Picture picture{24, 1024, 576};
        return Codec().Compress(&input, false, picture.Row(0), &output, frame.data(), 0, 0, 0);
    };
    for (const char* misbehaviour : {"encode:access", "encode:longer"}) {
        EXPECT_EQ(encode(PictureHeader(24, 720, 480), misbehaviour), E_FAIL);
    }
    EXPECT_EQ(encode(MakeHeader(FourCC("v210"), 24, 720, 480), ""), E_FAIL);
    EXPECT_EQ(encode(PictureHeader(24, 640, 480), ""), E_FAIL) << "a squeeze cannot enlarge";
    for (const auto& [bits, width, height] :
         {std::tuple(32, 720, 480), {24, 720, 486}, {24, 1024, 480}}) {
        const BITMAPINFOHEADER picture = PictureHeader(bits, width, height);
        EXPECT_EQ(Codec().CompressQuery(&picture, false, &output), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_TRUE(bits == 32 || Codec().GetMaxCompressedSize(&picture, false) == 0u);
    }
    EXPECT_FALSE(Codec(kDv50).IsSupportedSize(856, 480) || Codec(kDvHd).IsSupportedSize(1280, 720));
}

}  // namespace
}  // namespace nyx::test
