#include <algorithm>

#include "platform/fourcc.h"
#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/frames.h"

namespace nyx::test {
namespace {

const FilterUnderTest& Q210() {
    return RowNamed("Q210Decoder");
}

enum Output : std::size_t { kYuy2, kRgb24, kRgb32 };

/// The pictures that the decoder makes of known samples, seen by the sink.
class Q210Decoder : public ComTest {
  protected:
    /// The bytes that arrive for `frame` with the given output type; buffers are filled with
    /// TestAllocator::kUnwritten beforehand.
    static std::vector<BYTE> Decode(const Picture& picture, const std::vector<BYTE>& frame,
                                    const MediaType& outputType) {
        FilterRig rig(Q210(), picture);
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        EXPECT_EQ(rig.ConnectInput(), S_OK);
        EXPECT_EQ(rig.ConnectOutput(outputType), S_OK);
        EXPECT_EQ(rig.filter->Pause(), S_OK);
        SampleProperties sample;
        sample.bytes = frame;
        EXPECT_EQ(rig.source->Push(sample), S_OK);
        const auto samples = rig.sink->in.samples();
        return samples.empty() ? std::vector<BYTE>{} : samples[0].bytes;
    }
    static std::vector<BYTE> Decode(const Picture& picture, const std::vector<BYTE>& frame,
                                    Output output) {
        return Decode(picture, frame, Q210().OutputType(output, picture));
    }
    static std::vector<BYTE> Repeat(const std::vector<BYTE>& pixel, const Picture& picture) {
        std::vector<BYTE> bytes;
        for (LONG i = 0; i < picture.width * picture.height; ++i) {
            bytes.insert(bytes.end(), pixel.begin(), pixel.end());
        }
        return bytes;
    }
};

constexpr Picture kSmall = {96, 16, 400000, Block::kVideoInfo};
constexpr Picture kHighDefinition = {1920, 1080, 400000, Block::kVideoInfo};

/// A colour at 8 bits and the full-range RGB that BT.601 or BT.709 makes of it.
struct Colour {
    unsigned y, cb, cr;
    BYTE red, green, blue;
};

std::vector<BYTE> Flat(const Picture& picture, const Colour& c) {
    return FlatQ210Frame(picture.width, picture.height, {c.y * 4, c.cb * 4, c.cr * 4});
}

constexpr Colour kBt601[] = {
    {16, 128, 128, 0, 0, 0},  {235, 128, 128, 255, 255, 255}, {126, 128, 128, 128, 128, 128},
    {81, 90, 240, 254, 0, 0}, {145, 54, 34, 0, 255, 1},       {41, 240, 110, 0, 0, 255},
};
constexpr Colour kBt709[] = {
    {16, 128, 128, 0, 0, 0},
    {235, 128, 128, 255, 255, 255},
    {81, 90, 240, 255, 24, 0},
    {145, 54, 34, 0, 216, 0},
};

TEST_F(Q210Decoder, FlatColoursOfStandardDefinitionComeOutExactByBt601) {
    for (const Colour& c : kBt601) {
        EXPECT_EQ(Decode(kSmall, Flat(kSmall, c), kRgb24),
                  Repeat({c.blue, c.green, c.red}, kSmall));
        EXPECT_EQ(Decode(kSmall, Flat(kSmall, c), kRgb32),
                  Repeat({c.blue, c.green, c.red, 255}, kSmall));
    }
}

TEST_F(Q210Decoder, FlatColoursOfHighDefinitionComeOutExactByBt709) {
    for (const Colour& c : kBt709) {
        EXPECT_EQ(Decode(kHighDefinition, Flat(kHighDefinition, c), kRgb24),
                  Repeat({c.blue, c.green, c.red}, kHighDefinition));
    }
}

TEST_F(Q210Decoder, TenBitSamplesAreRoundedToEightAndClamped) {
    struct Sample {
        unsigned ten;
        BYTE eight;
    };
    for (const Sample& s : {Sample{0, 0}, Sample{1, 0}, Sample{2, 1}, Sample{65, 16},
                            Sample{66, 17}, Sample{1021, 255}, Sample{1023, 255}}) {
        const auto bytes = Decode(
            kSmall, FlatQ210Frame(kSmall.width, kSmall.height, {s.ten, s.ten, s.ten}), kYuy2);
        EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(), [&](BYTE b) { return b == s.eight; }))
            << s.ten;
    }
}

TEST_F(Q210Decoder, EveryPixelLandsInItsPlaceAtEveryWidth) {
    // Widths around the 6-pixel groups and the 48-pixel blocks.
    for (LONG width = 2; width <= 102; width += 2) {
        const Picture picture = {width, 3, 400000, Block::kVideoInfo};
        const auto luma = [&](LONG x, LONG y) { return static_cast<unsigned>(x + 70 * y) & 0xFFu; };
        const auto frame = Q210Frame(width, picture.height, [&](LONG x, LONG y) {
            return TenBitPixel{luma(x, y) * 4, (luma(x, y) ^ 0x55) * 4, (luma(x, y) ^ 0xAA) * 4};
        });
        const auto bytes = Decode(picture, frame, kYuy2);
        std::vector<BYTE> expected;
        for (LONG y = 0; y < picture.height; ++y) {
            for (LONG x = 0; x < width; x += 2) {
                for (const unsigned value :
                     {luma(x, y), luma(x, y) ^ 0x55, luma(x + 1, y), luma(x, y) ^ 0xAA}) {
                    expected.push_back(static_cast<BYTE>(value));
                }
            }
        }
        ASSERT_EQ(bytes, expected) << width;
    }
}

/// A picture that is white in its first row and black below.
std::vector<BYTE> WhiteFirstRow() {
    return Q210Frame(kSmall.width, kSmall.height, [](LONG, LONG y) {
        return TenBitPixel{y == 0 ? 940u : 64u, 512, 512};
    });
}

TEST_F(Q210Decoder, RgbOfPositiveHeightIsBottomUpAndOfNegativeHeightTopDown) {
    for (const Output output : {kRgb24, kRgb32}) {
        MediaType type = Q210().OutputType(output, kSmall);
        const std::size_t stride = type.Header().biBitCount / 8u * 96u;
        auto bytes = Decode(kSmall, WhiteFirstRow(), type);
        ASSERT_EQ(bytes.size(), 16 * stride);
        EXPECT_EQ(bytes[0], 0);
        EXPECT_EQ(bytes[15 * stride], 255);
        type.Header().biHeight = -kSmall.height;
        bytes = Decode(kSmall, WhiteFirstRow(), type);
        ASSERT_EQ(bytes.size(), 16 * stride);
        EXPECT_EQ(bytes[0], 255);
        EXPECT_EQ(bytes[15 * stride], 0);
    }
}

TEST_F(Q210Decoder, Yuy2IsTopDownWhateverTheSignOfTheHeight) {
    MediaType type = Q210().OutputType(kYuy2, kSmall);
    for (const LONG height : {kSmall.height, -kSmall.height}) {
        type.Header().biHeight = height;
        const auto bytes = Decode(kSmall, WhiteFirstRow(), type);
        EXPECT_EQ(bytes.at(0), 235);
        EXPECT_EQ(bytes.at(15 * 192), 16);
    }
}

TEST_F(Q210Decoder, AnOutputWiderThanTheInputLeavesTheRestOfEachRowUntouched) {
    for (const Output output : {kYuy2, kRgb24, kRgb32}) {
        MediaType type = Q210().OutputType(output, kSmall);
        type.Header().biWidth = 128;
        const std::size_t pixel = type.Header().biBitCount / 8u;
        const auto bytes = Decode(kSmall, Flat(kSmall, kBt601[0]), type);
        ASSERT_EQ(bytes.size(), 16u * 128u * pixel);
        for (std::size_t row = 0; row < 16; ++row) {
            for (std::size_t i = 0; i < 128 * pixel; ++i) {
                ASSERT_EQ(bytes[row * 128 * pixel + i] == TestAllocator::kUnwritten,
                          i >= 96 * pixel)
                    << "row " << row << " byte " << i;
            }
        }
    }
}

/// Input headers that differ from a valid one in one respect.
struct Header {
    const char* what;
    void (*apply)(BITMAPINFOHEADER& header);
    HRESULT expected;
};

TEST_F(Q210Decoder, TheInputHeaderIsCheckedFieldByField) {
    const Header headers[] = {
        {"valid", [](BITMAPINFOHEADER&) {}, S_OK},
        {"odd width", [](BITMAPINFOHEADER& h) { h.biWidth = 95; }, S_FALSE},
        {"height 0", [](BITMAPINFOHEADER& h) { h.biHeight = 0; }, S_FALSE},
        {"top-down", [](BITMAPINFOHEADER& h) { h.biHeight = -16; }, S_FALSE},
        {"height 1", [](BITMAPINFOHEADER& h) { h.biHeight = 1; }, S_OK},
        {"32 bits", [](BITMAPINFOHEADER& h) { h.biBitCount = 32; }, S_FALSE},
        {"2 planes", [](BITMAPINFOHEADER& h) { h.biPlanes = 2; }, S_FALSE},
        {"v210", [](BITMAPINFOHEADER& h) { h.biCompression = FourCC("v210"); }, S_FALSE},
        {"any size", [](BITMAPINFOHEADER& h) { h.biSizeImage = 0; }, S_OK},
    };
    FilterRig rig(Q210());
    for (const Header& header : headers) {
        MediaType type = Q210().InputType();
        header.apply(type.Header());
        EXPECT_EQ(rig.input->QueryAccept(type.get()), header.expected) << header.what;
    }
}

TEST_F(Q210Decoder, AlphaIsNotAcceptedAndTwentyFourBitsOfRgb32AreTakenAsOpaque) {
    FilterRig rig(Q210());
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType type = Q210().OutputType(kRgb32);
    EXPECT_EQ(rig.output->QueryAccept(type.get()), S_OK);
    type->subtype = MEDIASUBTYPE_ARGB32;
    EXPECT_EQ(rig.output->QueryAccept(type.get()), S_FALSE);
    type = Q210().OutputType(kRgb24);
    type->subtype = MEDIASUBTYPE_RGB32;
    EXPECT_EQ(rig.output->QueryAccept(type.get()), S_OK);
}

}  // namespace
}  // namespace nyx::test
