// Every word of the Zeta engines' call records, as the engines were given them, over all formats,
// alpha modes, definitions and colour spaces.

#include <gtest/gtest.h>

#include "codecs/zeta_codec.h"
#include "tests/codecs/engine_codec_support.h"

namespace nyx {
namespace {

using test::MakeHeader;
using test::Word;
using test::Words;

/// An uncompressed format and the words it leads to: the index's number in high definition, full
/// range, and the distance between the four combinations; or a callback slot.
struct Format {
    const char* name;
    DWORD fourcc;
    WORD bitCount;
    DWORD bytesPerPixel;
    bool bottomUp;
    DWORD coreCodes[4];  // HD full, HD studio, SD full, SD studio
    DWORD alphaCodes[4];
    bool callback;
};

const Format kFormats[] = {
    {"YUY2", FourCC("YUY2"), 16, 2, false, {0, 0, 0, 0}, {0, 0, 0, 0}, false},
    {"RGB24", BI_RGB, 24, 3, true, {8, 6, 4, 2}, {8, 6, 4, 2}, false},
    {"RGB32", BI_RGB, 32, 4, true, {7, 5, 3, 1}, {4, 3, 2, 1}, false},
    {"v210", FourCC("v210"), 20, 2, false, {0, 0, 0, 0}, {0, 0, 0, 0}, false},
    {"v408", FourCC("v408"), 32, 4, false, {}, {}, true},
    {"r408", FourCC("r408"), 32, 4, false, {}, {}, true},
    {"b64a", FourCC("b64a"), 64, 8, false, {0, 0, 0, 0}, {0, 0, 0, 0}, false},
    {"r4fl", FourCC("r4fl"), 128, 16, false, {}, {}, true},
    {"2vuy", FourCC("2vuy"), 16, 2, false, {}, {}, true},
};

struct Definition {
    LONG width;
    LONG height;
    int column;  // of the code columns, for full range
};
constexpr Definition kDefinitions[] = {{960, 720, 0}, {160, 120, 2}};

/// A frame of nothing but the stand-ins' header: it passes the probe and is given up in the
/// decoder, after the record was kept.
std::vector<BYTE> HollowFrame(const char* tag, LONG width, LONG height) {
    std::vector<BYTE> frame(32);
    const DWORD words[] = {0,
                           static_cast<DWORD>(frame.size()),
                           static_cast<DWORD>(width),
                           static_cast<DWORD>(height),
                           8,
                           0x3F800000,
                           0,
                           0};
    std::memcpy(frame.data(), words, sizeof(words));
    std::memcpy(frame.data(), tag, 4);
    return frame;
}

class ZetaRecords : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    CZetaCodec codec_;

    void SetColorSpace(LONG colorSpace) {
        EncoderParameters parameters = codec_.GetParameters(false);
        parameters.color_space = colorSpace;
        codec_.SetParameters(parameters, false);
    }

    /// Runs `body(format, definition, colorSpace, codeColumn)` for every combination.
    template <typename Body>
    void ForEachCombination(Body body) {
        for (const Format& format : kFormats) {
            for (const Definition& definition : kDefinitions) {
                for (LONG colorSpace : {0, 1}) {
                    SetColorSpace(colorSpace);
                    SCOPED_TRACE(testing::Message() << format.name << " " << definition.width
                                                    << " color_space " << colorSpace);
                    body(format, definition, definition.column + (colorSpace ? 1 : 0));
                }
            }
        }
    }
};

/// First row in processing order and its stride.
struct Geometry {
    DWORD data;
    DWORD stride;
};

Geometry GeometryOf(const Format& format, const Definition& definition, const BYTE* picture) {
    const LONG stride = static_cast<LONG>(format.bytesPerPixel) * definition.width;
    if (!format.bottomUp) {
        return {Word(picture), static_cast<DWORD>(stride)};
    }
    return {Word(picture + (definition.height - 1) * stride), static_cast<DWORD>(-stride)};
}

TEST_F(ZetaRecords, CoreDecodeIsLaidOutWordByWord) {
    ForEachCombination([&](const Format& format, const Definition& definition, int column) {
        const auto frame =
            test::WithInfo(HollowFrame("ZCF1", definition.width, definition.height), 24);
        const BYTE* coded = frame.data() + 32;
        const BITMAPINFOHEADER output =
            MakeHeader(format.fourcc, format.bitCount, definition.width, definition.height);
        std::vector<BYTE> picture(static_cast<std::size_t>(definition.width * definition.height) *
                                  format.bytesPerPixel);
        for (bool alphaOut : {false, true}) {
            for (WORD bits : {WORD{24}, WORD{32}}) {  // the tag decides, not the header
                const BITMAPINFOHEADER input = test::FrameHeaderFor(
                    FourCC("QZTA"), bits, definition.width, definition.height, frame.size());
                ASSERT_EQ(codec_.Decompress(&input, frame.data(), &output, alphaOut, picture.data(),
                                            0, 0),
                          S_OK);
                standin::Call probe = test::LastCall(L"rkzcore.dll", standin::kProbe);
                std::vector<DWORD> expected(13, 0xFFFFFFFF);
                expected[0] = 0x40000000;
                expected[5] = Word(coded);
                EXPECT_EQ(Words(probe), expected);

                const standin::Call decode = test::LastCall(L"rkzcore.dll", standin::kDecode);
                const Geometry geometry = GeometryOf(format, definition, picture.data());
                DWORD code = format.coreCodes[column];
                if (format.callback) {
                    code = decode.words[4];
                    ASSERT_GE(code, 0x10000u);
                    EXPECT_GE(*reinterpret_cast<const DWORD*>(code), 0x10000u);
                }
                const std::vector<DWORD> words = {0,
                                                  geometry.data,
                                                  geometry.stride,
                                                  format.bytesPerPixel,
                                                  code,
                                                  Word(coded),
                                                  32,
                                                  2,
                                                  0,
                                                  0,
                                                  0,
                                                  0,
                                                  0};
                EXPECT_EQ(Words(decode), words);
            }
        }
    });
}

TEST_F(ZetaRecords, AlphaDecodeIsLaidOutWordByWord) {
    ForEachCombination([&](const Format& format, const Definition& definition, int column) {
        const auto frame = HollowFrame("ZTA1", definition.width, definition.height);
        const BITMAPINFOHEADER output =
            MakeHeader(format.fourcc, format.bitCount, definition.width, definition.height);
        std::vector<BYTE> picture(static_cast<std::size_t>(definition.width * definition.height) *
                                  format.bytesPerPixel);
        DWORD slots[2] = {};
        for (DWORD alphaMode : {0u, 1u}) {
            const BITMAPINFOHEADER input = test::FrameHeaderFor(
                FourCC("QZTA"), 24, definition.width, definition.height, frame.size());
            ASSERT_EQ(codec_.Decompress(&input, frame.data(), &output, true, picture.data(), 0,
                                        alphaMode),
                      S_OK);
            std::vector<DWORD> expected(14, 0xFFFFFFFF);
            expected[0] = 0x40000000;
            expected[8] = Word(frame.data());
            EXPECT_EQ(Words(test::LastCall(L"rkzalpha.dll", standin::kProbe)), expected);

            const standin::Call decode = test::LastCall(L"rkzalpha.dll", standin::kDecode);
            const Geometry geometry = GeometryOf(format, definition, picture.data());
            DWORD code = format.alphaCodes[column];
            if (format.callback) {
                code = slots[alphaMode] = decode.words[7];
                ASSERT_GE(code, 0x10000u);
            }
            const std::vector<DWORD> words = {0,
                                              geometry.data,
                                              geometry.stride,
                                              format.bytesPerPixel,
                                              0,
                                              0,
                                              0,
                                              code,
                                              Word(frame.data()),
                                              0,
                                              0,
                                              0,
                                              0,
                                              0};
            EXPECT_EQ(Words(decode), words);
        }
        if (format.callback) {
            const auto* straight = reinterpret_cast<const DWORD*>(slots[0]);
            const auto* premultiplied = reinterpret_cast<const DWORD*>(slots[1]);
            EXPECT_EQ(straight[0], premultiplied[0]);  // the fill is shared
            const bool oneWriter = std::strcmp(format.name, "2vuy") == 0;
            EXPECT_EQ(straight[1] == premultiplied[1], oneWriter);
        }
    });
}

TEST_F(ZetaRecords, EncodesAreLaidOutWordByWord) {
    codec_.SetParameters({0, 11, 33, 4}, false);
    const test::Misbehaviour stopAfterTheRecord("encode:divide");
    ForEachCombination([&](const Format& format, const Definition& definition, int column) {
        const BITMAPINFOHEADER input =
            MakeHeader(format.fourcc, format.bitCount, definition.width, definition.height);
        BITMAPINFOHEADER output =
            MakeHeader(FourCC("QZTA"), 24, definition.width, definition.height);
        std::vector<BYTE> picture(static_cast<std::size_t>(definition.width * definition.height) *
                                  format.bytesPerPixel);
        std::vector<BYTE> frame(64);
        const auto width = static_cast<DWORD>(definition.width);
        const auto height = static_cast<DWORD>(definition.height);
        const Geometry geometry = GeometryOf(format, definition, picture.data());
        const bool coreInput = format.bitCount == 16 || format.bitCount == 24;
        const bool alphaInput = format.bitCount == 32;
        const DWORD coreBefore = test::LastCall(L"rkzcore.dll", standin::kEncode).count;
        const DWORD alphaBefore = test::LastCall(L"rkzalpha.dll", standin::kEncode).count;
        EXPECT_EQ(
            codec_.Compress(&input, alphaInput, picture.data(), &output, frame.data(), 0, 0, 0),
            E_FAIL);
        const standin::Call core = test::LastCall(L"rkzcore.dll", standin::kEncode);
        const standin::Call alpha = test::LastCall(L"rkzalpha.dll", standin::kEncode);
        EXPECT_EQ(core.count - coreBefore, coreInput ? 1u : 0u);
        EXPECT_EQ(alpha.count - alphaBefore, alphaInput ? 1u : 0u);
        if (coreInput) {
            const DWORD code = format.callback ? core.words[4] : format.coreCodes[column];
            EXPECT_EQ(code >= 0x10000, format.callback);
            const DWORD blocks = (width + 15) / 16 * ((height + 15) / 16);
            const std::vector<DWORD> words = {0x04000000,
                                              geometry.data,
                                              geometry.stride,
                                              format.bytesPerPixel,
                                              code,
                                              Word(frame.data()),
                                              width * height * 2 * 33 / 100,
                                              blocks * 4096,
                                              2,
                                              width,
                                              height,
                                              11,
                                              9,
                                              0};
            EXPECT_EQ(Words(core), words);
        }
        if (alphaInput) {
            const DWORD code = format.callback ? alpha.words[7] : format.alphaCodes[column];
            EXPECT_EQ(code >= 0x10000, format.callback);
            const std::vector<DWORD> words = {0,
                                              geometry.data,
                                              geometry.stride,
                                              format.bytesPerPixel,
                                              0,
                                              0,
                                              0,
                                              code,
                                              Word(frame.data()),
                                              width,
                                              height,
                                              11,
                                              9,
                                              0};
            EXPECT_EQ(Words(alpha), words);
        }
    });
}

TEST_F(ZetaRecords, EncodeTakesAnotherReaderForPremultipliedAlpha) {
    const test::Misbehaviour stopAfterTheRecord("encode:divide");
    const BITMAPINFOHEADER input = MakeHeader(FourCC("r408"), 32, 160, 120);
    BITMAPINFOHEADER output = MakeHeader(FourCC("QZTA"), 32, 160, 120);
    std::vector<BYTE> picture(160 * 120 * 4);
    std::vector<BYTE> frame(64);
    DWORD readers[2];
    for (DWORD alphaMode : {0u, 1u}) {
        codec_.Compress(&input, true, picture.data(), &output, frame.data(), 0, 0, alphaMode);
        const DWORD slot = test::LastCall(L"rkzalpha.dll", standin::kEncode).words[7];
        readers[alphaMode] = *reinterpret_cast<const DWORD*>(slot);
    }
    EXPECT_NE(readers[0], readers[1]);
}

TEST_F(ZetaRecords, CallersStrideIsTakenAsItStands) {
    const auto frame = HollowFrame("ZCF1", 160, 120);
    const BITMAPINFOHEADER input = test::FrameHeaderFor(FourCC("QZTA"), 24, 160, 120, frame.size());
    const BITMAPINFOHEADER output = test::RgbHeader(24, 160, 120);
    std::vector<BYTE> picture(512 * 120);
    ASSERT_EQ(codec_.Decompress(&input, frame.data(), &output, false, picture.data(), 512, 0),
              S_OK);
    const standin::Call decode = test::LastCall(L"rkzcore.dll", standin::kDecode);
    EXPECT_EQ(decode.words[1], Word(picture.data()));
    EXPECT_EQ(decode.words[2], 512u);
}

}  // namespace
}  // namespace nyx
