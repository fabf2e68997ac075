// The queries of all codecs on engines, over every pair of formats, from their rules.

#include <gtest/gtest.h>

#include <functional>

#include "codecs/ten_bit_codec.h"
#include "tests/codecs/engine_codec_support.h"
#include "tests/codecs/stored_setting.h"

namespace nyx {
namespace {

using test::MakeHeader;
using test::NamedCodec;
using test::RgbHeader;
using test::Yuy2Header;

constexpr LONG kWidth = 720;
constexpr LONG kHeight = 480;

class EngineCodecQueries : public ::testing::Test {
  protected:
    const test::EngineSearch nowhere_{L"none"};  // queries need no engine
    test::EngineCodecs codecs_;
};

/// Every uncompressed format that anybody might name, and its kind.
enum Kind { kYuy2, kRgb24, kRgb32, kOther };
struct Uncompressed {
    BITMAPINFOHEADER header;
    Kind kind;
};

std::vector<Uncompressed> AllUncompressed(LONG width, LONG height) {
    return {{Yuy2Header(width, height), kYuy2},
            {RgbHeader(24, width, height), kRgb24},
            {RgbHeader(32, width, height), kRgb32},
            {RgbHeader(16, width, height), kOther},
            {RgbHeader(8, width, height), kOther},
            {RgbHeader(0, width, height), kOther},
            {MakeHeader(FourCC("YUY2"), 24, width, height), kOther},
            {MakeHeader(FourCC("UYVY"), 16, width, height), kOther},
            {MakeHeader(FourCC("v210"), 20, width, height), kOther},
            {MakeHeader(FourCC("v408"), 32, width, height), kOther},
            {MakeHeader(FourCC("2vuy"), 16, width, height), kOther},
            {MakeHeader(BI_BITFIELDS, 32, width, height), kOther}};
}

/// The rules in words: 24-bit streams go to all three formats, to RGB 32-bit only opaque; 32-bit
/// streams only to RGB 32-bit; codecs without alpha have 24-bit streams only and refuse the flag.
bool MayDecode(const NamedCodec& codec, WORD streamBits, Kind output, bool alphaOut) {
    if (!codec.alpha) {
        return streamBits == 24 && !alphaOut && output != kOther;
    }
    if (streamBits == 24) {
        return output == kYuy2 || output == kRgb24 || (output == kRgb32 && !alphaOut);
    }
    return streamBits == 32 && output == kRgb32;
}

HRESULT Answer(bool accepted) {
    return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

TEST_F(EngineCodecQueries, DecodingFollowsTheRulesForEveryPair) {
    for (const NamedCodec& codec : codecs_.all) {
        for (WORD bits : {WORD{8}, WORD{16}, WORD{20}, WORD{24}, WORD{32}, WORD{48}}) {
            const BITMAPINFOHEADER input =
                MakeHeader(codec.codec->GetFourCC(), bits, kWidth, kHeight);
            const bool known = bits == 24 || (bits == 32 && codec.alpha);
            EXPECT_EQ(codec.codec->DecompressQuery(&input, nullptr, false), Answer(known))
                << codec.name << " " << bits;
            for (LONG height : {kHeight, -kHeight}) {
                for (const Uncompressed& output : AllUncompressed(kWidth, height)) {
                    for (bool alphaOut : {false, true}) {
                        EXPECT_EQ(codec.codec->DecompressQuery(&input, &output.header, alphaOut),
                                  Answer(MayDecode(codec, bits, output.kind, alphaOut)))
                            << codec.name << " " << bits << " to " << output.kind << " alpha "
                            << alphaOut;
                    }
                }
            }
        }
    }
}

TEST_F(EngineCodecQueries, EncodingFollowsTheRulesForEveryPair) {
    for (const NamedCodec& codec : codecs_.all) {
        for (LONG height : {kHeight, -kHeight}) {
            for (const Uncompressed& input : AllUncompressed(kWidth, height)) {
                for (bool alpha : {false, true}) {
                    const bool known = input.kind == kYuy2 || input.kind == kRgb24 ||
                                       (input.kind == kRgb32 && alpha);
                    EXPECT_EQ(codec.codec->CompressQuery(&input.header, alpha, nullptr),
                              codec.encodes ? Answer(known) : E_NOTIMPL)
                        << codec.name << " " << input.kind;
                    for (WORD bits : {WORD{16}, WORD{24}, WORD{32}}) {
                        const BITMAPINFOHEADER output =
                            MakeHeader(codec.codec->GetFourCC(), bits, kWidth, kHeight);
                        const WORD right = input.kind == kRgb32 ? WORD{32} : WORD{24};
                        EXPECT_EQ(codec.codec->CompressQuery(&input.header, alpha, &output),
                                  codec.encodes ? Answer(known && bits == right) : E_NOTIMPL)
                            << codec.name << " " << input.kind << " to " << bits;
                    }
                }
            }
        }
    }
}

TEST_F(EngineCodecQueries, EachCodecReadsItsOwnColourSpace) {
    const auto colours = [] {
        const test::EngineCodecs anew;
        std::vector<LONG> read = {CTenBitCodec().GetColorSpace()};
        for (const NamedCodec& codec : anew.all) {
            read.push_back(codec.codec->GetColorSpace());
        }
        return read;
    };
    const DWORD fourccs[] = {FourCC("Q210"), FourCC("QZTA"), FourCC("QZT2"), FourCC("QLLC"),
                             FourCC("QMIC")};
    for (std::size_t i = 0; i < std::size(fourccs); ++i) {
        std::vector<LONG> expected(std::size(fourccs), 0);
        expected[i] = 1;
        const test::StoredSetting setting(fourccs[i], L"color_space", 1);
        EXPECT_EQ(colours(), expected) << i;
    }
}

TEST_F(EngineCodecQueries, HeadersMustBeWholeAndSizesFit) {
    using Change = std::function<void(BITMAPINFOHEADER*, BITMAPINFOHEADER*)>;
    struct Case {
        const char* name;
        bool decodes;
        bool encodes;
        Change change;  // of the compressed and the uncompressed header
    };
    using H = BITMAPINFOHEADER;
    const Case cases[] = {
        {"nothing", true, true, [](H*, H*) {}},
        {"long headers", true, true, [](H* c, H* u) { c->biSize = u->biSize = 124; }},
        {"short compressed header", false, false, [](H* c, H*) { c->biSize = 39; }},
        {"short picture header", false, false, [](H*, H* u) { u->biSize = 39; }},
        {"two compressed planes", false, false, [](H* c, H*) { c->biPlanes = 2; }},
        {"no picture planes", false, false, [](H*, H* u) { u->biPlanes = 0; }},
        {"other FourCC", false, false, [](H* c, H*) { c->biCompression = FourCC("XXXX"); }},
        {"wider picture", true, false, [](H*, H* u) { u->biWidth += 2; }},
        {"narrower picture", false, false, [](H*, H* u) { u->biWidth -= 2; }},
        {"higher picture", false, false, [](H*, H* u) { u->biHeight += 1; }},
        {"lower picture", false, false, [](H*, H* u) { u->biHeight -= 1; }},
        {"top-down stream", false, false, [](H* c, H*) { c->biHeight = -c->biHeight; }},
        {"no height", false, false, [](H* c, H* u) { c->biHeight = u->biHeight = 0; }},
        {"lowest height", false, false, [](H* c, H* u) { c->biHeight = u->biHeight = LONG_MIN; }},
        {"lowest picture height", false, false, [](H*, H* u) { u->biHeight = LONG_MIN; }},
        {"odd width", false, false, [](H* c, H* u) { c->biWidth = u->biWidth = 719; }},
        {"no width", false, false, [](H* c, H* u) { c->biWidth = u->biWidth = 0; }},
        {"negative width", false, false, [](H* c, H* u) { c->biWidth = u->biWidth = -720; }},
    };
    for (const NamedCodec& codec : codecs_.all) {
        for (const Case& c : cases) {
            H compressed = MakeHeader(codec.codec->GetFourCC(), 24, kWidth, kHeight);
            H picture = Yuy2Header(kWidth, kHeight);
            c.change(&compressed, &picture);
            EXPECT_EQ(codec.codec->DecompressQuery(&compressed, &picture, false), Answer(c.decodes))
                << codec.name << ": " << c.name;
            if (codec.encodes) {
                EXPECT_EQ(codec.codec->CompressQuery(&picture, false, &compressed),
                          Answer(c.encodes))
                    << codec.name << ": " << c.name;
            }
        }
        const H picture = Yuy2Header(kWidth, kHeight);
        EXPECT_EQ(codec.codec->DecompressQuery(nullptr, nullptr, false), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_EQ(codec.codec->DecompressQuery(nullptr, &picture, false), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_EQ(codec.codec->CompressQuery(nullptr, false, nullptr),
                  codec.encodes ? VFW_E_TYPE_NOT_ACCEPTED : E_NOTIMPL);
    }
}

TEST_F(EngineCodecQueries, EachCodecHasItsOwnSizes) {
    struct Case {
        LONG width, height;
        bool zeta, zeta2, lossless, mpeg;
    };
    std::vector<Case> cases = {
        {1366, 768, false, true, true, true},    {1365, 768, false, false, false, false},
        {1080, 1920, false, true, true, true},   {2, 1, false, true, true, true},
        {10000, 10000, false, true, true, true}, {10002, 1080, false, true, false, true},
        {1920, 10001, false, true, false, true},
    };
    for (const SIZE size :
         {SIZE{1920, 1080}, {1440, 1080}, {1280, 1080}, {1280, 720}, {960, 720},   {720, 576},
          {720, 486},       {720, 480},   {640, 480},   {320, 240},  {160, 120},   {800, 600},
          {352, 480},       {352, 240},   {352, 288},   {176, 144},  {1280, 1024}, {1280, 960},
          {1024, 768},      {704, 480},   {704, 576}}) {
        cases.push_back({size.cx, size.cy, true, true, true, true});
    }
    for (const Case& c : cases) {
        const bool accepted[] = {c.zeta, c.zeta2, c.lossless, c.mpeg};
        for (std::size_t i = 0; i < std::size(codecs_.all); ++i) {
            ICodec& codec = *codecs_.all[i].codec;
            const BITMAPINFOHEADER input = MakeHeader(codec.GetFourCC(), 24, c.width, c.height);
            const BITMAPINFOHEADER picture = Yuy2Header(c.width, -c.height);
            EXPECT_EQ(codec.DecompressQuery(&input, nullptr, false), Answer(accepted[i]))
                << codecs_.all[i].name << " " << c.width << " by " << c.height;
            EXPECT_EQ(codec.DecompressQuery(&input, &picture, false), Answer(accepted[i]));
            if (codecs_.all[i].encodes) {
                EXPECT_EQ(codec.CompressQuery(&picture, false, &input), Answer(accepted[i]));
            }
        }
    }
}

TEST_F(EngineCodecQueries, SaysWhatEachCodecIs) {
    for (const NamedCodec& codec : codecs_.all) {
        EXPECT_EQ(codec.codec->SupportsAlpha(), codec.alpha) << codec.name;
        EXPECT_EQ(std::memcmp(codec.name, std::vector<DWORD>{codec.codec->GetFourCC()}.data(), 4),
                  0);
        EXPECT_EQ(codec.codec->GetMaxCompressedSize(nullptr, false), 0u);
    }
    for (LONG mode : {kEngineForEncoding, kEngineForDecoding}) {
        EXPECT_FALSE(CZetaCodec::IsEngineAvailable(mode) || CZeta2Codec::IsEngineAvailable(mode) ||
                     CLosslessCodec::IsEngineAvailable(mode) ||
                     CMpegIntraCodec::IsEngineAvailable(mode));
    }
}

TEST_F(EngineCodecQueries, WorstCaseSizesFollowTheirFormulas) {
    const BITMAPINFOHEADER rgb24 = RgbHeader(24, 718, -480);
    const BITMAPINFOHEADER rgb32 = RgbHeader(32, 718, 480);
    EXPECT_EQ(codecs_.lossless.GetMaxCompressedSize(&rgb24, false), 718u * 480 * 3 + 2064);
    EXPECT_EQ(codecs_.lossless.GetMaxCompressedSize(&rgb32, true), 718u * 480 * 4 + 2064);
    EXPECT_EQ(codecs_.zeta2.GetMaxCompressedSize(&rgb24, false),
              (718u * 480 * 20 / 8) * 30 / 100 + 1064);
    EXPECT_EQ(codecs_.zeta2.GetMaxCompressedSize(&rgb24, true),
              (718u * 480 * 20 / 8) * 2 * 30 / 100 + 1064);
    const BITMAPINFOHEADER v210 = MakeHeader(FourCC("v210"), 20, 1280, 720);
    EXPECT_EQ(codecs_.zeta2.GetMaxCompressedSize(&v210, false), 27u * 720 * 128 + 1064);
    EXPECT_EQ(codecs_.mpeg.GetMaxCompressedSize(&rgb24, false), 0u);
}

}  // namespace
}  // namespace nyx
