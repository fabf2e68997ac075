/// Which headers each codec takes, in both directions, and how it describes itself. Queries need no
/// engine, so that none can be found here.

#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

constexpr bool kHasAlpha[kCodecs] = {true, true, true, false, false};
constexpr WORD kOpaqueBits[kCodecs] = {24, 24, 24, 24, 20};

HRESULT Answer(bool accepted) {
    return accepted ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

class Queries : public testing::TestWithParam<int> {
  protected:
    const int number_ = GetParam();
    PrivateUserRegistry registry_;
    EngineSearch nowhere_{L"none"};
    Codecs codecs_;
    ICodec& codec_ = *codecs_.all[number_];

    HRESULT EncodeAnswer(bool accepted) const {
        return number_ == kMpeg ? E_NOTIMPL : Answer(accepted);
    }
    BITMAPINFOHEADER Stream(WORD bits, LONG width = 720, LONG height = 480) const {
        return MakeHeader(kFourCCs[number_], bits, width, height);
    }
};

INSTANTIATE_TEST_SUITE_P(Codecs, Queries, testing::Range(0, int{kCodecs}));

TEST_P(Queries, TakeThePairsOfTheRules) {
    enum Kind { kYuy, kRgb24, kRgb32, kOther };
    const std::tuple<DWORD, WORD, Kind> layouts[] = {
        {FourCC("YUY2"), 16, kYuy},   {BI_RGB, 24, kRgb24},      {BI_RGB, 32, kRgb32},
        {BI_RGB, 16, kOther},         {BI_RGB, 8, kOther},       {FourCC("YUY2"), 24, kOther},
        {FourCC("UYVY"), 16, kOther}, {BI_BITFIELDS, 32, kOther}};
    constexpr WORD kBits[] = {16, 20, 24, 32};
    const bool hasAlpha = kHasAlpha[number_];
    for (const auto& [fourcc, pictureBits, kind] : layouts) {
        for (int row = 0; row < 16; ++row) {
            const WORD bits = kBits[row / 4];
            const bool flag = row % 2 != 0, opaque = bits == kOpaqueBits[number_];
            SCOPED_TRACE(testing::Message() << fourcc << "/" << pictureBits << " row " << row);
            const bool decodes = hasAlpha
                                     ? (opaque && (kind == kYuy || kind == kRgb24)) ||
                                           (kind == kRgb32 && ((opaque && !flag) || bits == 32))
                                     : opaque && kind != kOther && !flag;
            const bool input =
                kind == kYuy || kind == kRgb24 || (kind == kRgb32 && hasAlpha && flag);
            const bool encodes = input && bits == (kind == kRgb32 ? 32 : kOpaqueBits[number_]);
            const BITMAPINFOHEADER stream = Stream(bits);
            const auto picture = MakeHeader(fourcc, pictureBits, 720, row % 4 < 2 ? 480 : -480);
            EXPECT_EQ(codec_.DecompressQuery(&stream, &picture, flag), Answer(decodes));
            EXPECT_EQ(codec_.DecompressQuery(&stream, nullptr, flag),
                      Answer(opaque || (hasAlpha && bits == 32)));
            EXPECT_EQ(codec_.CompressQuery(&picture, flag, &stream), EncodeAnswer(encodes));
            EXPECT_EQ(codec_.CompressQuery(&picture, flag, nullptr), EncodeAnswer(input));
        }
    }
}

TEST_P(Queries, LookAtEachFieldOfBothHeaders) {
    using H = BITMAPINFOHEADER;
    const struct {
        bool decodes, encodes;
        void (*change)(H& compressed, H& picture);
    } cases[] = {
        {true, true, [](H& c, H& p) { c.biSize = p.biSize = 124; }},
        {false, false, [](H& c, H&) { c.biSize = 39; }},
        {false, false, [](H&, H& p) { p.biSize = 39; }},
        {false, false, [](H& c, H&) { c.biPlanes = 2; }},
        {false, false, [](H&, H& p) { p.biPlanes = 0; }},
        {false, false, [](H& c, H&) { c.biCompression ^= 0x20; }},
        {true, false, [](H&, H& p) { p.biWidth += 2; }},
        {false, false, [](H&, H& p) { p.biWidth -= 2; }},
        {false, false, [](H&, H& p) { p.biHeight += 1; }},
        {false, false, [](H&, H& p) { p.biHeight -= 1; }},
        {false, false, [](H& c, H&) { c.biHeight = -480; }},
        {false, false, [](H& c, H& p) { c.biHeight = p.biHeight = 0; }},
        {false, false, [](H& c, H& p) { c.biHeight = p.biHeight = LONG_MIN; }},
        {false, false, [](H& c, H& p) { c.biWidth = p.biWidth = 0; }},
        {false, false, [](H& c, H& p) { c.biWidth = p.biWidth = -720; }},
    };
    for (const auto& c : cases) {
        H compressed = Stream(kOpaqueBits[number_]);
        H picture = PictureHeader(16, 720, 480);
        c.change(compressed, picture);
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(codec_.DecompressQuery(&compressed, &picture, false), Answer(c.decodes));
        EXPECT_EQ(codec_.CompressQuery(&picture, false, &compressed), EncodeAnswer(c.encodes));
    }
    const H picture = PictureHeader(16, 720, 480);
    EXPECT_EQ(codec_.DecompressQuery(nullptr, &picture, false), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(codec_.CompressQuery(nullptr, false, nullptr), EncodeAnswer(false));
}

TEST_P(Queries, TakeTheSizesOfTheCodecAndDescribeIt) {
    const auto check = [&](LONG width, LONG height, bool accepted) {
        const BITMAPINFOHEADER stream = Stream(kOpaqueBits[number_], width, height);
        const BITMAPINFOHEADER picture = PictureHeader(16, width, -height);
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        EXPECT_EQ(codec_.DecompressQuery(&stream, nullptr, false), Answer(accepted));
        EXPECT_EQ(codec_.CompressQuery(&picture, false, &stream), EncodeAnswer(accepted));
    };
    check(720, 480, true);
    check(722, 480, number_ != kZeta);
    check(721, 480, false);
    check(2, 1, number_ != kZeta);
    check(10000, 10000, number_ != kZeta);
    check(10002, 720, number_ != kZeta && number_ != kLossless);
    check(720, 10001, number_ != kZeta && number_ != kLossless);
    // A 10-bit frame and a 32-bit picture of it must stay below 2^31 bytes.
    const bool any = number_ == kZeta2 || number_ == kMpeg;
    check(0x7FFFFFFE, 0x7FFFFFFF, any);
    check(2, 11184810, any || number_ == kTenBit);  // 128 bytes a row, padding and all
    check(2, 11184811, any);
    EXPECT_EQ(codec_.SupportsAlpha(), kHasAlpha[number_]);
    EXPECT_EQ(codec_.GetFourCC(), kFourCCs[number_]);
    EXPECT_EQ(codec_.GetMaxCompressedSize(nullptr, false), 0u);
    WriteCodecSetting(kFourCCs[number_], L"color_space", 7);
    const Codecs reread;
    for (int i = 0; i < kCodecs; ++i) {
        EXPECT_EQ(reread.all[i]->GetColorSpace(), i == number_ ? 7 : 0) << i;
    }
}

TEST(WorstCaseSizes, FollowTheirFormulas) {
    const PrivateUserRegistry defaults;
    Codecs codecs;
    const auto expect = [&](DWORD size, int codec, DWORD fourcc, WORD bits, LONG height,
                            bool alpha = false) {
        const auto input = MakeHeader(fourcc, bits, height < 0 ? 718 : 1282, height);
        EXPECT_EQ(codecs.all[codec]->GetMaxCompressedSize(&input, alpha), size) << codec;
    };
    expect(718 * 480 * 3 + 2064, kLossless, BI_RGB, 24, -480);
    expect(718 * 480 * 4 + 2064, kLossless, BI_RGB, 32, -480, true);
    expect(718 * 480 * 20 / 8 * 30 / 100 + 1064, kZeta2, BI_RGB, 24, -480);
    expect(718 * 480 * 20 / 8 * 2 * 30 / 100 + 1064, kZeta2, BI_RGB, 24, -480, true);
    expect(27 * 720 * 128 + 1064, kZeta2, FourCC("v210"), 20, 720, true);
    expect(718 * 480 * 2 * 30 / 100 + 1064, kZeta, BI_RGB, 24, -480);
    expect(718 * 480 * 48 / 10 + 1064, kZeta, BI_RGB, 24, -480, true);
    expect(0, kMpeg, BI_RGB, 24, -480);
    EXPECT_TRUE(CTenBitCodec::IsEngineAvailable(kEngineForEncoding));
}

}  // namespace
}  // namespace nyx::test
