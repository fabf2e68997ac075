// Every word of the Zeta and Zeta2 engines' call records, as the engines were given them, over all
// formats, alpha modes, definitions and colour spaces.

#include <gtest/gtest.h>

#include <set>

#include "tests/codecs/engine_codec_support.h"

namespace nyx {
namespace {

using test::MakeHeader;
using test::Word;
using test::Words;

enum Layout { kYuy2, kRgb24, kRgb32, kV210, kV408, kR408, kB64a, kR4fl, k2vuy };
struct Format {
    DWORD fourcc;
    WORD bitCount;
    DWORD bytesPerPixel;
};
constexpr Format kFormats[] = {
    {FourCC("YUY2"), 16, 2}, {BI_RGB, 24, 3},           {BI_RGB, 32, 4},
    {FourCC("v210"), 20, 2}, {FourCC("v408"), 32, 4},   {FourCC("r408"), 32, 4},
    {FourCC("b64a"), 64, 8}, {FourCC("r4fl"), 128, 16}, {FourCC("2vuy"), 16, 2},
};

/// The numbers of an engine for the first three layouts: high definition in full and studio range,
/// standard definition in both. The others have no number.
using Codes = DWORD[3][4];
constexpr Codes kZetaCoreCodes = {{0, 0, 0, 0}, {8, 6, 4, 2}, {7, 5, 3, 1}};
constexpr Codes kZetaAlphaCodes = {{0, 0, 0, 0}, {8, 6, 4, 2}, {4, 3, 2, 1}};
constexpr Codes kZeta2Codes = {{1, 1, 1, 1}, {9, 7, 5, 3}, {8, 6, 4, 2}};

/// A picture in one layout, definition and colour space.
struct Scene {
    int layout;
    bool standard;
    LONG colorSpace;
    LONG width = standard ? 160 : 960;
    LONG height = standard ? 120 : 720;
    const Format& format = kFormats[layout];
    BITMAPINFOHEADER header = MakeHeader(format.fourcc, format.bitCount, width, height);
    DWORD rowBytes = static_cast<DWORD>(width) * format.bytesPerPixel;
    std::vector<BYTE> picture = std::vector<BYTE>(rowBytes * static_cast<DWORD>(height));
    bool bottomUp = format.fourcc == BI_RGB;
    // The first row in processing order, and its stride.
    DWORD data = Word(picture.data()) + (bottomUp ? rowBytes * static_cast<DWORD>(height - 1) : 0);
    DWORD stride = bottomUp ? 0u - rowBytes : rowBytes;

    DWORD Code(const Codes& codes) const {
        return layout > kRgb32 ? 0 : codes[layout][(standard ? 2 : 0) + (colorSpace != 0 ? 1 : 0)];
    }
    /// Zeta serves these by callbacks, and the two others not at all.
    bool HasCallback() const { return layout > kRgb32 && layout != kV210 && layout != kB64a; }
};

template <typename Body>
void ForEachScene(Body body) {
    for (int layout = kYuy2; layout <= k2vuy; ++layout) {
        for (bool standard : {false, true}) {
            for (LONG colorSpace : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "layout " << layout << " standard " << standard
                                                << " color_space " << colorSpace);
                Scene scene{layout, standard, colorSpace};
                body(scene);
            }
        }
    }
}

/// A frame of nothing but a stand-in's header: it passes the probe and is given up in the decoder,
/// after the record was kept.
std::vector<BYTE> HollowFrame(const char* tag, const Scene& scene, DWORD, DWORD alpha) {
    std::vector<BYTE> frame(24);
    const DWORD words[] = {0,
                           static_cast<DWORD>(frame.size()),
                           static_cast<DWORD>(scene.width),
                           static_cast<DWORD>(scene.height),
                           1,
                           alpha != 0};
    std::memcpy(frame.data(), words, sizeof(words));
    std::memcpy(frame.data(), tag, 4);
    return frame;
}

/// A record of so many words: the first ones, then `rest`.
std::vector<DWORD> Record(std::size_t size, std::vector<DWORD> first, DWORD rest = 0) {
    first.resize(size, rest);
    return first;
}

/// What every probe but for the frame's place is.
constexpr DWORD kAllOnes = 0xFFFFFFFF;

class ZetaRecords : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    CZetaCodec codec_;

    static standin::Call Core(standin::Purpose purpose) {
        return test::LastCall(L"rkzcore.dll", purpose);
    }
    static standin::Call Alpha(standin::Purpose purpose) {
        return test::LastCall(L"rkzalpha.dll", purpose);
    }
    HRESULT Decode(Scene& scene, const std::vector<BYTE>& frame, WORD bits, bool alphaOut,
                   DWORD alphaMode = 0) {
        codec_.SetParameters({scene.colorSpace, 11, 33, 4}, false);
        const BITMAPINFOHEADER input =
            test::FrameHeaderFor(FourCC("QZTA"), bits, scene.width, scene.height, frame.size());
        return codec_.Decompress(&input, frame.data(), &scene.header, alphaOut,
                                 scene.picture.data(), 0, alphaMode);
    }
};

TEST_F(ZetaRecords, CoreDecodeIsLaidOutWordByWord) {
    ForEachScene([&](Scene& scene) {
        const auto frame = test::WithInfo(HollowFrame("ZCF1", scene, 8, 0), 24);
        const DWORD coded = Word(frame.data()) + 32;
        for (bool alphaOut : {false, true}) {
            for (WORD bits : {WORD{24}, WORD{32}}) {  // the tag decides, not the header
                ASSERT_EQ(Decode(scene, frame, bits, alphaOut), S_OK);
                EXPECT_EQ(Words(Core(standin::kProbe)),
                          Record(13, {0x40000000, kAllOnes, kAllOnes, kAllOnes, kAllOnes, coded},
                                 kAllOnes));
                const standin::Call decode = Core(standin::kDecode);
                DWORD code = scene.Code(kZetaCoreCodes);
                if (scene.HasCallback()) {
                    code = decode.words[4];
                    ASSERT_GE(code, 0x10000u);
                    EXPECT_GE(*reinterpret_cast<const DWORD*>(code), 0x10000u);
                }
                EXPECT_EQ(Words(decode),
                          Record(13, {0, scene.data, scene.stride, scene.format.bytesPerPixel, code,
                                      coded, 24, 2}));
            }
        }
    });
}

TEST_F(ZetaRecords, AlphaDecodeIsLaidOutWordByWord) {
    ForEachScene([&](Scene& scene) {
        const auto frame = HollowFrame("ZTA1", scene, 8, 0);
        const DWORD* slots[2] = {};
        for (bool alphaOut : {false, true}) {
            for (DWORD alphaMode : {0u, 1u}) {
                ASSERT_EQ(Decode(scene, frame, 24, alphaOut, alphaMode), S_OK);
                std::vector<DWORD> probe = Record(14, {0x40000000}, kAllOnes);
                probe[8] = Word(frame.data());
                EXPECT_EQ(Words(Alpha(standin::kProbe)), probe);
                const standin::Call decode = Alpha(standin::kDecode);
                DWORD code = scene.Code(kZetaAlphaCodes);
                if (scene.HasCallback()) {
                    code = decode.words[7];
                    ASSERT_GE(code, 0x10000u);
                    slots[alphaMode] = reinterpret_cast<const DWORD*>(code);
                }
                EXPECT_EQ(Words(decode),
                          Record(14, {0, scene.data, scene.stride, scene.format.bytesPerPixel, 0, 0,
                                      0, code, Word(frame.data())}));
            }
        }
        if (scene.HasCallback()) {
            EXPECT_EQ(slots[0][0], slots[1][0]);  // the fill is shared
            EXPECT_EQ(slots[0][1] == slots[1][1], scene.layout == k2vuy);
        }
    });
}

TEST_F(ZetaRecords, EncodesAreLaidOutWordByWord) {
    const test::Misbehaviour stopAfterTheRecord("encode:divide");
    ForEachScene([&](Scene& scene) {
        codec_.SetParameters({scene.colorSpace, 11, 33, 4}, false);
        BITMAPINFOHEADER output = MakeHeader(FourCC("QZTA"), 24, scene.width, scene.height);
        std::vector<BYTE> frame(64);
        const bool toCore = scene.format.bitCount == 16 || scene.format.bitCount == 24;
        const bool toAlpha = scene.format.bitCount == 32;
        const DWORD coreBefore = Core(standin::kEncode).count;
        const DWORD alphaBefore = Alpha(standin::kEncode).count;
        EXPECT_EQ(codec_.Compress(&scene.header, toAlpha, scene.picture.data(), &output,
                                  frame.data(), 0, 0, 0),
                  E_FAIL);
        const standin::Call core = Core(standin::kEncode);
        const standin::Call alpha = Alpha(standin::kEncode);
        EXPECT_EQ(core.count - coreBefore, toCore ? 1u : 0u);
        EXPECT_EQ(alpha.count - alphaBefore, toAlpha ? 1u : 0u);
        const auto width = static_cast<DWORD>(scene.width);
        const auto height = static_cast<DWORD>(scene.height);
        if (toCore) {
            const DWORD code = scene.HasCallback() ? core.words[4] : scene.Code(kZetaCoreCodes);
            EXPECT_EQ(code >= 0x10000, scene.HasCallback());
            const DWORD blocks = (width + 15) / 16 * ((height + 15) / 16);
            EXPECT_EQ(Words(core),
                      Record(14, {0x04000000, scene.data, scene.stride, scene.format.bytesPerPixel,
                                  code, Word(frame.data()), width * height * 2 * 33 / 100,
                                  blocks * 4096, 2, width, height, 11, 9}));
        }
        if (toAlpha) {
            const DWORD code = scene.HasCallback() ? alpha.words[7] : scene.Code(kZetaAlphaCodes);
            EXPECT_EQ(code >= 0x10000, scene.HasCallback());
            EXPECT_EQ(Words(alpha),
                      Record(14, {0, scene.data, scene.stride, scene.format.bytesPerPixel, 0, 0, 0,
                                  code, Word(frame.data()), width, height, 11, 9}));
        }
    });
}

TEST_F(ZetaRecords, EncodeTakesAnotherReaderForPremultipliedAlpha) {
    const test::Misbehaviour stopAfterTheRecord("encode:divide");
    Scene scene{kR408, true, 0};
    BITMAPINFOHEADER output = MakeHeader(FourCC("QZTA"), 32, scene.width, scene.height);
    std::vector<BYTE> frame(64);
    DWORD readers[2];
    for (DWORD alphaMode : {0u, 1u}) {
        codec_.Compress(&scene.header, true, scene.picture.data(), &output, frame.data(), 0, 0,
                        alphaMode);
        readers[alphaMode] = *reinterpret_cast<const DWORD*>(Alpha(standin::kEncode).words[7]);
    }
    EXPECT_NE(readers[0], readers[1]);
}

TEST_F(ZetaRecords, CallersStrideIsTakenAsItStands) {
    Scene scene{kRgb24, true, 0};
    const auto frame = HollowFrame("ZCF1", scene, 8, 0);
    const BITMAPINFOHEADER input = test::FrameHeaderFor(FourCC("QZTA"), 24, 160, 120, frame.size());
    std::vector<BYTE> picture(512 * 120);
    ASSERT_EQ(codec_.Decompress(&input, frame.data(), &scene.header, false, picture.data(), 512, 0),
              S_OK);
    EXPECT_EQ(Core(standin::kDecode).words[1], Word(picture.data()));
    EXPECT_EQ(Core(standin::kDecode).words[2], 512u);
}

TEST(Zeta2Records, DecodesAndEncodesAreLaidOutWordByWord) {
    constexpr DWORD kZeta2 = FourCC("QZT2");
    const test::EngineSearch search;
    const test::Misbehaviour stopAfterTheRecord("encode:divide");
    std::set<DWORD> writers;
    std::set<DWORD> readers;
    ForEachScene([&](Scene& scene) {
        if (scene.layout == kV210) {
            return;  // needs a caller's stride
        }
        const test::Zeta2Settings settings(scene.colorSpace, 7, 40, 4);
        CZeta2Codec codec;
        const bool callback = scene.layout > kRgb32;
        const DWORD code = scene.Code(kZeta2Codes);
        const std::vector<DWORD> plane = {scene.data, scene.stride, 0};
        const auto planeOf = [](const standin::Call& call) {
            return std::vector<DWORD>(call.inner, call.inner + call.innerCount);
        };
        for (bool alpha : {false, true}) {
            const auto frame = HollowFrame("QZ21", scene, 10, alpha ? 4 : 0);
            const BITMAPINFOHEADER input =
                test::FrameHeaderFor(kZeta2, 24, scene.width, scene.height, frame.size());
            DWORD callbacks[2];
            for (DWORD mode : {0u, 1u}) {
                ASSERT_EQ(codec.Decompress(&input, frame.data(), &scene.header, alpha,
                                           scene.picture.data(), 0, mode),
                          S_OK);
                EXPECT_EQ(Words(test::LastCall(L"rkz2core.dll", standin::kProbe)),
                          Record(11, {0, 0, 0, Word(frame.data())}));
                const standin::Call decode = test::LastCall(L"rkz2core.dll", standin::kDecode);
                EXPECT_EQ(planeOf(decode), plane);
                callbacks[mode] = decode.words[2];
                EXPECT_EQ(Words(decode),
                          Record(11, {0, decode.words[1], callback ? callbacks[mode] : code,
                                      Word(frame.data()), static_cast<DWORD>(frame.size())}));
                if (callback) {
                    ASSERT_GE(callbacks[mode], 0x10000u);
                    writers.insert(callbacks[mode]);
                }
            }
            // Only what keeps alpha has a second routine.
            const bool keepsAlpha =
                alpha && callback && scene.layout != kV210 && scene.layout != k2vuy;
            EXPECT_EQ(callbacks[0] != callbacks[1], keepsAlpha);
        }

        const auto width = static_cast<DWORD>(scene.width);
        const auto height = static_cast<DWORD>(scene.height);
        BITMAPINFOHEADER output = MakeHeader(kZeta2, 24, scene.width, scene.height);
        std::vector<BYTE> coded(64);
        EXPECT_EQ(codec.Compress(&scene.header, false, scene.picture.data(), &output, coded.data(),
                                 0, 0, 0),
                  E_FAIL);
        const standin::Call encode = test::LastCall(L"rkz2core.dll", standin::kEncode);
        EXPECT_EQ(planeOf(encode), plane);
        if (callback) {
            readers.insert(encode.words[2]);
        }
        const DWORD capacity = scene.layout == kV210 ? (width + 47) / 48 * height * 128
                                                     : width * height * 20 / 8 * 40 / 100;
        EXPECT_EQ(
            Words(encode),
            Record(12, {0, encode.words[1], callback ? encode.words[2] : code, Word(coded.data()),
                        capacity, width * height / scene.format.bytesPerPixel / 8,
                        scene.format.bitCount == 32 ? 2u : 0u, width, height, 7, 11}));
    });
    // Twelve indices, five of them with a second writer; encoding was asked for opaque streams.
    EXPECT_EQ(writers.size(), 12u + 5u);
    EXPECT_EQ(readers.size(), 6u);
    for (DWORD reader : readers) {
        EXPECT_EQ(writers.count(reader), 0u);
    }
}

}  // namespace
}  // namespace nyx
