#include "codecs/zeta_codec.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "codecs/row_callbacks.h"
#include "tests/codecs/engine_codec_support.h"
#include "tests/support/private_bytes.h"

namespace nyx {
namespace {

using test::EncodePicture;
using test::MakeHeader;
using test::RgbHeader;
using test::RootMeanSquare;
using test::SmoothPicture;
using test::Yuy2Header;

constexpr DWORD kZeta = FourCC("QZTA");
constexpr LONG kWidth = 160;
constexpr LONG kHeight = 120;
constexpr BYTE kGuard = 0x5A;

class ZetaCodec : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    CZetaCodec codec_;

    HRESULT Decode(const std::vector<BYTE>& sample, WORD bits, const BITMAPINFOHEADER& output,
                   bool alphaOut, std::vector<BYTE>* picture, DWORD alphaMode = 0) {
        const BITMAPINFOHEADER input =
            test::FrameHeaderFor(kZeta, bits, kWidth, kHeight, sample.size());
        picture->assign(static_cast<std::size_t>(kWidth * kHeight) * 16, kGuard);
        return codec_.Decompress(&input, sample.data(), &output, alphaOut, picture->data(), 0,
                                 alphaMode);
    }

    std::vector<BYTE> CoreFrame() {
        const BITMAPINFOHEADER input = Yuy2Header(kWidth, kHeight);
        return EncodePicture(codec_, input, false, SmoothPicture(input), 24);
    }

    std::vector<BYTE> AlphaFrame() {
        const BITMAPINFOHEADER input = RgbHeader(32, kWidth, kHeight);
        return EncodePicture(codec_, input, true, SmoothPicture(input), 32);
    }
};

TEST(ZetaCodecAlone, RefusesFramesWithoutItsEngines) {
    const test::EngineSearch nowhere(L"none");
    CZetaCodec codec;
    EXPECT_FALSE(CZetaCodec::IsEngineAvailable(kEngineForDecoding));
    EXPECT_FALSE(CZetaCodec::IsEngineAvailable(kEngineForEncoding));
    const BITMAPINFOHEADER picture = Yuy2Header(kWidth, kHeight);
    const std::vector<BYTE> source = SmoothPicture(picture);
    EXPECT_TRUE(EncodePicture(codec, picture, false, source, 24).empty());
    const std::vector<BYTE> frame = {'Z', 'C', 'F', '1', 0, 0, 0, 0};
    const BITMAPINFOHEADER input = test::FrameHeaderFor(kZeta, 24, kWidth, kHeight, frame.size());
    std::vector<BYTE> out(source.size(), kGuard);
    EXPECT_EQ(codec.Decompress(&input, frame.data(), &picture, false, out.data(), 0, 0), E_FAIL);
    EXPECT_EQ(out, std::vector<BYTE>(source.size(), kGuard));
}

TEST_F(ZetaCodec, SaysWhatItIs) {
    EXPECT_TRUE(CZetaCodec::IsEngineAvailable(kEngineForDecoding));
    EXPECT_TRUE(CZetaCodec::IsEngineAvailable(kEngineForEncoding));
    EXPECT_TRUE(codec_.SupportsAlpha());
    EXPECT_EQ(codec_.GetFourCC(), kZeta);
}

TEST_F(ZetaCodec, BringsPicturesBackWithinTheQuantisersBound) {
    codec_.SetParameters({0, 4, 100, 4}, false);
    for (const BITMAPINFOHEADER& header :
         {Yuy2Header(kWidth, kHeight), Yuy2Header(kWidth, -kHeight)}) {
        const std::vector<BYTE> source = SmoothPicture(header);
        const std::vector<BYTE> frame = EncodePicture(codec_, header, false, source, 24);
        ASSERT_FALSE(frame.empty());
        EXPECT_LT(frame.size(), source.size());
        std::vector<BYTE> back;
        ASSERT_EQ(Decode(frame, 24, header, false, &back), S_OK);
        back.resize(source.size());
        EXPECT_LE(RootMeanSquare(back, source), 4 / 2.0 + 0.5);
    }
}

TEST_F(ZetaCodec, BringsRgbBackTheSameWayUpInEveryRange) {
    codec_.SetParameters({0, 4, 100, 4}, false);
    for (WORD bits : {WORD{24}, WORD{32}}) {
        for (LONG height : {kHeight, -kHeight}) {
            for (LONG colorSpace : {0, 1}) {
                codec_.SetParameters({colorSpace, 4, 100, 4}, false);
                const BITMAPINFOHEADER header = RgbHeader(bits, kWidth, height);
                const std::vector<BYTE> source = SmoothPicture(header);
                const bool alpha = bits == 32;
                const auto frame = EncodePicture(codec_, header, alpha, source, bits);
                ASSERT_FALSE(frame.empty());
                std::vector<BYTE> back;
                ASSERT_EQ(Decode(frame, bits, header, alpha, &back, kPremultipliedMode), S_OK);
                back.resize(source.size());
                // Half the chroma samples are dropped and the matrix rounds; a flipped or shifted
                // picture would be off by tens.
                EXPECT_LE(RootMeanSquare(back, source), 8.0)
                    << bits << " " << height << " " << colorSpace;
            }
        }
    }
}

TEST_F(ZetaCodec, KeepsAlphaExactlyAndCleansWhatIsUnderTheMatte) {
    const BITMAPINFOHEADER header = RgbHeader(32, kWidth, kHeight);
    const std::vector<BYTE> source = SmoothPicture(header);
    for (LONG colorSpace : {0, 1}) {
        codec_.SetParameters({colorSpace, 4, 30, 4}, false);
        const auto frame = EncodePicture(codec_, header, true, source, 32);
        std::vector<BYTE> cleaned;
        std::vector<BYTE> untouched;
        ASSERT_EQ(Decode(frame, 32, header, true, &cleaned), S_OK);
        ASSERT_EQ(Decode(frame, 32, header, true, &untouched, kPremultipliedMode), S_OK);
        const BYTE black = colorSpace == 0 ? 0 : 0x10;
        int clear = 0;
        for (std::size_t i = 0; i < source.size(); i += 4) {
            ASSERT_EQ(cleaned[i + 3], source[i + 3]);
            for (std::size_t c = 0; c < 3; ++c) {
                ASSERT_EQ(cleaned[i + c], source[i + 3] == 0 ? black : untouched[i + c]);
            }
            clear += source[i + 3] == 0 ? 1 : 0;
        }
        EXPECT_GT(clear, 0);
    }
}

TEST_F(ZetaCodec, DecodesBehindAnInfoChunkLikeTheBareFrame) {
    const BITMAPINFOHEADER output = Yuy2Header(kWidth, kHeight);
    const std::vector<BYTE> frame = CoreFrame();
    std::vector<BYTE> bare;
    ASSERT_EQ(Decode(frame, 24, output, false, &bare), S_OK);
    for (DWORD payload : {0u, 16u, 61u}) {
        std::vector<BYTE> chunked;
        ASSERT_EQ(Decode(test::WithInfo(frame, payload), 24, output, false, &chunked), S_OK);
        EXPECT_EQ(chunked, bare) << payload;
    }
}

TEST_F(ZetaCodec, GoesByTheTagAndNotByTheHeader) {
    const BITMAPINFOHEADER output = RgbHeader(32, kWidth, kHeight);
    const std::vector<BYTE> frame = AlphaFrame();
    std::vector<BYTE> claimed24;
    std::vector<BYTE> claimed32;
    ASSERT_EQ(Decode(frame, 24, output, true, &claimed24), S_OK);
    ASSERT_EQ(Decode(frame, 32, output, true, &claimed32), S_OK);
    EXPECT_EQ(claimed24, claimed32);
}

TEST_F(ZetaCodec, FillsOnlyThePicturesWidthOfAWiderOutput) {
    const std::vector<BYTE> frame = AlphaFrame();
    const BITMAPINFOHEADER output = RgbHeader(32, kWidth + 32, -kHeight);
    std::vector<BYTE> wide;
    ASSERT_EQ(Decode(frame, 32, output, true, &wide), S_OK);
    for (std::size_t y = 0; y < static_cast<std::size_t>(kHeight); ++y) {
        for (std::size_t at = kWidth * 4; at < (kWidth + 32) * 4; ++at) {
            ASSERT_EQ(wide[y * (kWidth + 32) * 4 + at], kGuard);
        }
    }
}

TEST_F(ZetaCodec, RefusesBadFramesAndWritesNothing) {
    const std::vector<BYTE> core = CoreFrame();
    const std::vector<BYTE> alpha = AlphaFrame();
    ASSERT_FALSE(core.empty() || alpha.empty());
    struct Case {
        const char* name;
        std::vector<BYTE> sample;
    };
    const auto cut = [](std::vector<BYTE> frame, std::size_t length) {
        frame.resize(length);
        return frame;
    };
    const auto changed = [](std::vector<BYTE> frame, std::size_t at, DWORD word) {
        std::memcpy(frame.data() + at, &word, 4);
        return frame;
    };
    const auto coded = static_cast<DWORD>(core.size());
    const Case cases[] = {
        {"one byte", {'Z'}},
        {"three bytes", {'Z', 'C', 'F'}},
        {"core tag alone", cut(core, 4)},
        {"alpha tag alone", cut(alpha, 4)},
        {"core frame a byte short", cut(core, core.size() - 1)},
        {"alpha frame a byte short", cut(alpha, alpha.size() - 1)},
        {"core frame half there", cut(core, core.size() / 2)},
        {"core length one too long", changed(core, 4, coded + 1)},
        {"core length of all ones", changed(core, 4, 0xFFFFFFFF)},
        {"core length negative", changed(core, 4, 0x80000000)},
        {"core length 0", changed(core, 4, 0)},
        {"wrong first letter", changed(core, 0, 0x31464358)},
        {"lower case tag", changed(core, 0, 0x3166637A)},
        {"alpha tag of another version", changed(alpha, 0, 0x3241545A)},
        {"all zero", std::vector<BYTE>(64)},
        {"INFO and nothing else", test::WithInfo({}, 16)},
        {"INFO longer than the sample", changed(test::WithInfo(core, 16), 4, coded + 17)},
        {"INFO exactly to the end", changed(test::WithInfo(core, 16), 4, coded + 16)},
        {"INFO of all ones", changed(test::WithInfo(core, 16), 4, 0xFFFFFFFF)},
        {"INFO wrapping round", changed(test::WithInfo(core, 16), 4, 0xFFFFFFF8)},
        {"INFO twice", test::WithInfo(test::WithInfo(core, 16), 16)},
        {"INFO one byte off", changed(test::WithInfo(core, 16), 4, 17)},
    };
    for (const Case& c : cases) {
        std::vector<BYTE> picture;
        EXPECT_EQ(Decode(c.sample, 24, Yuy2Header(kWidth, kHeight), false, &picture), E_FAIL)
            << c.name;
        EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard)) << c.name;
    }
}

TEST_F(ZetaCodec, RefusesSizesAndFormatsThatDoNotBelongTogether) {
    const std::vector<BYTE> frame = CoreFrame();
    const BITMAPINFOHEADER outputs[] = {
        Yuy2Header(kWidth - 2, kHeight),
        Yuy2Header(kWidth, kHeight - 1),
        Yuy2Header(kWidth, kHeight + 1),
        Yuy2Header(kWidth, LONG_MIN),
        RgbHeader(16, kWidth, kHeight),
        RgbHeader(8, kWidth, kHeight),
        MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight),
    };
    for (const BITMAPINFOHEADER& output : outputs) {
        std::vector<BYTE> picture;
        EXPECT_EQ(Decode(frame, 24, output, false, &picture), E_FAIL);
        EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), kGuard));
    }
}

TEST_F(ZetaCodec, RefusesNullArguments) {
    const std::vector<BYTE> frame = CoreFrame();
    BITMAPINFOHEADER stream = test::FrameHeaderFor(kZeta, 24, kWidth, kHeight, frame.size());
    const BITMAPINFOHEADER picture = Yuy2Header(kWidth, kHeight);
    std::vector<BYTE> bytes(test::PictureBytes(picture));
    EXPECT_EQ(codec_.Decompress(nullptr, frame.data(), &picture, false, bytes.data(), 0, 0),
              E_POINTER);
    EXPECT_EQ(codec_.Decompress(&stream, nullptr, &picture, false, bytes.data(), 0, 0), E_POINTER);
    EXPECT_EQ(codec_.Decompress(&stream, frame.data(), nullptr, false, bytes.data(), 0, 0),
              E_POINTER);
    EXPECT_EQ(codec_.Decompress(&stream, frame.data(), &picture, false, nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(codec_.Compress(&picture, false, nullptr, &stream, bytes.data(), 0, 0, 0), E_POINTER);
    EXPECT_EQ(codec_.Compress(&picture, false, bytes.data(), &stream, nullptr, 0, 0, 0), E_POINTER);
    EXPECT_EQ(codec_.GetMaxCompressedSize(nullptr, false), 0u);
}

TEST_F(ZetaCodec, TurnsEngineFaultsIntoFailedFramesAndGoesOn) {
    const std::vector<BYTE> core = CoreFrame();
    const std::vector<BYTE> alpha = AlphaFrame();
    const BITMAPINFOHEADER yuy2 = Yuy2Header(kWidth, kHeight);
    const BITMAPINFOHEADER rgb32 = RgbHeader(32, kWidth, kHeight);
    const char* const whats[] = {"probe:access",  "probe:divide",  "probe:throw", "probe:longer",
                                 "decode:access", "decode:divide", "decode:throw"};
    for (const char* what : whats) {
        std::vector<BYTE> picture;
        {
            const test::Misbehaviour misbehave(what);
            for (int i = 0; i < 50; ++i) {
                ASSERT_EQ(Decode(core, 24, yuy2, false, &picture), E_FAIL) << what;
                EXPECT_EQ(picture[0], kGuard) << what;
                ASSERT_EQ(Decode(alpha, 32, rgb32, true, &picture), E_FAIL) << what;
                EXPECT_EQ(picture[0], kGuard) << what;
            }
        }
        EXPECT_EQ(Decode(core, 24, yuy2, false, &picture), S_OK) << what;
    }
    for (const char* what : {"encode:access", "encode:divide", "encode:throw", "encode:longer"}) {
        const test::Misbehaviour misbehave(what);
        EXPECT_TRUE(CoreFrame().empty()) << what;
        EXPECT_TRUE(AlphaFrame().empty()) << what;
    }
    EXPECT_FALSE(CoreFrame().empty());
}

TEST_F(ZetaCodec, HoldsTheFaultsOfManyThreadsAtOnce) {
    const std::vector<BYTE> core = CoreFrame();
    const BITMAPINFOHEADER output = Yuy2Header(kWidth, kHeight);
    const BITMAPINFOHEADER input = test::FrameHeaderFor(kZeta, 24, kWidth, kHeight, core.size());
    std::atomic<int> wrong{0};
    const auto storm = [&](int frames) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, frames] {
                CZetaCodec codec;
                std::vector<BYTE> picture(test::PictureBytes(output), kGuard);
                for (int frame = 0; frame < frames; ++frame) {
                    const HRESULT result =
                        codec.Decompress(&input, core.data(), &output, false, picture.data(), 0, 0);
                    wrong += result == E_FAIL ? 0 : 1;
                }
                wrong += picture[0] == kGuard ? 0 : 1;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    const test::Misbehaviour misbehave("decode:throw");
    storm(10);  // the runtime's first-use allocations
    const std::size_t before = test::PrivateBytes();
    storm(500);
    EXPECT_EQ(wrong, 0);
    EXPECT_LT(test::PrivateBytes(), before + 128 * 1024);
}

TEST_F(ZetaCodec, KeepsNoMemoryBetweenFrames) {
    const std::vector<BYTE> alpha = AlphaFrame();
    const BITMAPINFOHEADER output = RgbHeader(32, kWidth, kHeight);
    const auto run = [&](int frames) {
        std::vector<BYTE> picture;
        for (int i = 0; i < frames; ++i) {
            ASSERT_EQ(Decode(alpha, 32, output, true, &picture), S_OK);
        }
    };
    run(20);
    const std::size_t before = test::PrivateBytes();
    run(100);
    EXPECT_LT(test::PrivateBytes(), before + 64 * 1024);
}

TEST_F(ZetaCodec, HoldsAFaultInsideARowCallback) {
    const std::vector<BYTE> core = CoreFrame();
    const std::vector<BYTE> alpha = AlphaFrame();
    for (DWORD fourcc : {FourCC("v408"), FourCC("r408"), FourCC("r4fl"), FourCC("2vuy")}) {
        const BITMAPINFOHEADER output = MakeHeader(fourcc, 32, kWidth, kHeight);
        std::vector<BYTE> picture;
        const test::Misbehaviour misbehave("decode:callback");
        for (int i = 0; i < 25; ++i) {
            ASSERT_EQ(Decode(core, 24, output, false, &picture), E_FAIL);
            ASSERT_EQ(Decode(alpha, 32, output, true, &picture), E_FAIL);
        }
    }
}

/// The picture of a frame as "YUY2" samples: what the packed layouts are made from.
std::vector<BYTE> Expected2vuy(const std::vector<BYTE>& yuy2) {
    std::vector<BYTE> swapped(yuy2.size());
    for (std::size_t i = 0; i < yuy2.size(); i += 2) {
        swapped[i] = yuy2[i + 1];
        swapped[i + 1] = yuy2[i];
    }
    return swapped;
}

TEST_F(ZetaCodec, StoresPackedLayoutsThroughTheRowCallbacks) {
    const std::vector<BYTE> frame = CoreFrame();
    std::vector<BYTE> yuy2;
    ASSERT_EQ(Decode(frame, 24, Yuy2Header(kWidth, kHeight), false, &yuy2), S_OK);
    yuy2.resize(kWidth * kHeight * 2);
    std::vector<BYTE> packed;
    ASSERT_EQ(Decode(frame, 24, MakeHeader(FourCC("2vuy"), 16, kWidth, kHeight), false, &packed),
              S_OK);
    packed.resize(yuy2.size());
    EXPECT_EQ(packed, Expected2vuy(yuy2));

    ASSERT_EQ(Decode(frame, 24, MakeHeader(FourCC("r408"), 32, kWidth, kHeight), false, &packed),
              S_OK);
    for (std::size_t pixel = 0; pixel < kWidth * kHeight; ++pixel) {
        const BYTE* pair = yuy2.data() + pixel / 2 * 4;
        const int luma = yuy2[2 * pixel];
        ASSERT_EQ(packed[4 * pixel], 255);
        ASSERT_EQ(packed[4 * pixel + 1], std::max(luma - 16, 0));
        ASSERT_EQ(packed[4 * pixel + 2], pair[1]);
        ASSERT_EQ(packed[4 * pixel + 3], pair[3]);
    }
}

TEST_F(ZetaCodec, CleansTheMatteOfPackedLayoutsOnlyForStraightAlpha) {
    const std::vector<BYTE> frame = AlphaFrame();
    const BITMAPINFOHEADER output = MakeHeader(FourCC("r408"), 32, kWidth, kHeight);
    std::vector<BYTE> straight;
    std::vector<BYTE> premultiplied;
    ASSERT_EQ(Decode(frame, 32, output, true, &straight), S_OK);
    ASSERT_EQ(Decode(frame, 32, output, true, &premultiplied, kPremultipliedMode), S_OK);
    const BYTE black[] = {0, 0, 0x80, 0x80};
    int halves = 0;
    for (std::size_t at = 0; at < kWidth * kHeight * 4; at += 4) {
        ASSERT_EQ(straight[at], premultiplied[at]);
        if (straight[at] == 0) {
            ASSERT_EQ(std::memcmp(&straight[at], black, 4), 0);
        } else if (straight[at] == 128 && straight[at + 1] > 60) {
            ASSERT_NEAR(premultiplied[at + 1], straight[at + 1] / 2, 1);
            ++halves;
        }
    }
    EXPECT_GT(halves, 0);
}

TEST_F(ZetaCodec, KeepsToTheEnginesBudget) {
    const BITMAPINFOHEADER d1 = Yuy2Header(720, 480);
    EXPECT_EQ(codec_.GetMaxCompressedSize(&d1, false), 207360u + 1064u);
    EXPECT_EQ(codec_.GetMaxCompressedSize(&d1, true), 720u * 480 * 48 / 10 + 1064);
    const BITMAPINFOHEADER upright = Yuy2Header(720, -480);
    EXPECT_EQ(codec_.GetMaxCompressedSize(&upright, false), 207360u + 1064u);

    codec_.SetParameters({0, 19, 0, 4}, false);  // no budget: the floor of 16 bytes a block holds
    EXPECT_EQ(codec_.GetMaxCompressedSize(&d1, false), 45u * 30 * 16 + 1064);
    codec_.SetParameters({0, 3, 4, 4}, false);
    const std::vector<BYTE> frame = CoreFrame();
    ASSERT_FALSE(frame.empty());
    EXPECT_LE(frame.size(), static_cast<std::size_t>(kWidth * kHeight * 2 * 4 / 100));
}

TEST_F(ZetaCodec, RefusesBitCountsItCannotEncode) {
    BITMAPINFOHEADER output = MakeHeader(kZeta, 24, kWidth, kHeight);
    std::vector<BYTE> picture(kWidth * kHeight * 16);
    std::vector<BYTE> frame(kWidth * kHeight * 16);
    for (const BITMAPINFOHEADER& input :
         {MakeHeader(FourCC("r4fl"), 128, kWidth, kHeight), RgbHeader(8, kWidth, kHeight),
          MakeHeader(FourCC("v210"), 20, kWidth, kHeight)}) {
        EXPECT_EQ(codec_.Compress(&input, false, picture.data(), &output, frame.data(), 0, 0, 0),
                  E_FAIL);
    }
}

TEST_F(ZetaCodec, KeepsLiveParametersUncheckedAndReadsStoredOnesByTheRules) {
    codec_.SetParameters({7, 99, -3, 4}, false);
    const EncoderParameters live = codec_.GetParameters(false);
    EXPECT_EQ(live.color_space, 7);
    EXPECT_EQ(live.quant_scale, 99);
    EXPECT_EQ(live.max_stream_size, -3);
    EXPECT_EQ(live.preset, 4);
    EXPECT_EQ(codec_.GetColorSpace(), 7);
}

TEST_F(ZetaCodec, StoresAllParametersButTheColourSpace) {
    const EncoderParameters before = codec_.GetParameters(true);
    codec_.SetParameters({1, 25, 0, 4}, true);
    const EncoderParameters stored = codec_.GetParameters(true);
    EXPECT_EQ(stored.color_space, before.color_space);
    EXPECT_EQ(stored.preset, 4);
    EXPECT_EQ(stored.quant_scale, 19);  // what was stored, under the rules
    EXPECT_EQ(stored.max_stream_size, 4);
    EXPECT_EQ(codec_.GetParameters(false).quant_scale, 25);
    codec_.SetParameters(before, true);
}

}  // namespace
}  // namespace nyx
