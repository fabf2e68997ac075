/// Frames on their way through each codec: what the engines are handed, word by word, what comes
/// back, and what becomes of frames, engines and memory that are of no use.

#include <gtest/gtest.h>

#include "codecs/engine_records.h"
#include "engines/standin/frame_coder.h"
#include "tests/codecs/codecs.h"
#include "tests/codecs/converted.h"
#include "tests/support/engines.h"
#include "tests/support/guard.h"
#include "tests/support/leaks.h"
#include "tests/support/together.h"

namespace nyx::test {
namespace {

using namespace standin;
using Words = std::vector<LONG_PTR>;
constexpr wchar_t kCore[] = L"rkzcore.dll", kAlpha[] = L"rkzalpha.dll";
constexpr wchar_t kZeta2Core[] = L"rkz2core.dll", kLlc[] = L"rkllc.dll", kM2vi[] = L"rkm2vi01.dll";
constexpr BYTE kGuard = 0x5A;
constexpr LONG_PTR kOnes = -1;

LONG_PTR Word(const void* pointer) {
    return reinterpret_cast<LONG_PTR>(pointer);
}
Words Last(const wchar_t* library, Purpose purpose) {
    const Call call = LastCall(library, purpose);
    return {call.words, call.words + call.wordCount};
}

/// A frame that a stand-in makes of a picture, bit by bit the same when it is decoded as "YUY2".
Bytes Coded(const char* coding, const Bytes& picture, LONG width, LONG height) {
    const FrameCoder coder(*FindCoding(coding));
    return coder.Code(picture.data(), width, height, 1);
}

/// A stand-in's header without a picture: it passes the probe and is given up in the decoder.
Bytes Hollow(const char* tag, LONG width, LONG height, LONG alpha) {
    const LONG words[] = {0, 24, width, height, 1, alpha};
    const auto* bytes = reinterpret_cast<const BYTE*>(words);
    Bytes frame(bytes, bytes + sizeof(words));
    std::memcpy(frame.data(), tag, 4);
    return frame;
}

/// A stream of one codec with a picture that it holds exactly.
struct Stream {
    int codec;
    const char* name;  ///< the stand-ins' for the coding
    WORD bits;
    bool alpha;
    WORD pictureBits;
};
constexpr Stream kStreams[] = {
    {kZeta, "zeta", 24, false, 16},
    {kZeta, "zeta-alpha", 32, true, 32},
    {kZeta2, "zeta2", 24, false, 16},
    {kZeta2, "zeta2-alpha", 32, true, 32},
    {kLossless, "lossless-yuy2", 24, false, 16},
    {kLossless, "lossless-rgb24", 24, false, 24},
    {kLossless, "lossless-rgb32", 24, false, 32},
    {kLossless, "lossless-argb32", 32, true, 32},
    {kMpeg, "mpeg2", 24, false, 16},
    {kTenBit, "q210", 20, false, 16},
};
constexpr const Stream* kLosslessStreams = &kStreams[4];
constexpr const Stream& kMpegStream = kStreams[8];
constexpr const Stream& kTenBitStream = kStreams[9];
constexpr LONG kWidth = 160;
constexpr LONG kHeight = 120;

BITMAPINFOHEADER PictureOf(WORD bits, LONG width = kWidth, LONG height = kHeight) {
    return bits == 16 ? Yuy2Header(width, height) : RgbHeader(bits, width, -height);
}

Bytes FrameOf(const Stream& stream) {
    return stream.codec == kTenBit
               ? Q210Frame(RandomTenBitPicture(kWidth, kHeight, 3))
               : Coded(stream.name, SmoothPicture(PictureOf(stream.pictureBits)), kWidth, kHeight);
}

bool Untouched(const Bytes& picture) {
    return picture == Bytes(picture.size(), kGuard);
}

class Frames : public testing::Test {
  protected:
    const PrivateUserRegistry registry_;
    const EngineSearch search_;
    Codecs codecs_;

    HRESULT Decompress(const Stream& stream, const BITMAPINFOHEADER& input, const BYTE* frame,
                       const BITMAPINFOHEADER& output, BYTE* picture) {
        return codecs_.all[stream.codec]->Decompress(&input, frame, &output, stream.alpha, picture,
                                                     0, 0);
    }

    /// Decodes a sample into `picture`, both in memory that ends with them.
    HRESULT Decode(const Stream& stream, const Bytes& sample, const BITMAPINFOHEADER& output,
                   Bytes* picture, DWORD mode = 0, ICodec* codec = nullptr) {
        const LONG height = std::abs(output.biHeight);
        const BITMAPINFOHEADER input =
            MakeHeader(FourCCOf(stream.codec), stream.bits, output.biWidth, height, sample.size());
        const auto bytes =
            static_cast<std::size_t>(output.biWidth * height * output.biBitCount / 8);
        const GuardedMemory frame(sample), room(bytes, kGuard);
        const HRESULT result =
            (codec ? codec : codecs_.all[stream.codec])
                ->Decompress(&input, frame.data(), &output, stream.alpha, room.data(), 0, mode);
        picture->assign(room.data(), room.data() + bytes);
        return result;
    }
};

/// Stand in an expected record for any word, and for an address of something that is not 0.
constexpr LONG_PTR kAny = 0x40DE0000, kAddress = 0x40DE0001;

struct Layout {
    DWORD fourcc;
    WORD bits;
    LONG bytes;
    LONG core[4], alpha[4], zeta2[4];  ///< numbers by definition and range; 0 where there is none
    bool callback;                     ///< Zeta has row callbacks for it
};
constexpr Layout kLayouts[] = {
    {FourCC("YUY2"), 16, 2, {}, {}, {1, 1, 1, 1}, false},
    {BI_RGB, 24, 3, {8, 6, 4, 2}, {8, 6, 4, 2}, {9, 7, 5, 3}, false},
    {BI_RGB, 32, 4, {7, 5, 3, 1}, {4, 3, 2, 1}, {8, 6, 4, 2}, false},
    {FourCC("v210"), 20, 2, {}, {}, {}, false},
    {FourCC("v408"), 32, 4, {}, {}, {}, true},
    {FourCC("r408"), 32, 4, {}, {}, {}, true},
    {FourCC("b64a"), 64, 8, {}, {}, {}, false},
    {FourCC("r4fl"), 128, 16, {}, {}, {}, true},
    {FourCC("2vuy"), 16, 2, {}, {}, {}, true},
};

/// Holds an engine's last call against a record of `size` words: the first ones, then `rest`.
void Expect(const wchar_t* library, Purpose purpose, std::size_t size, Words words,
            LONG_PTR rest = 0) {
    words.resize(size, rest);
    const Words got = Last(library, purpose);
    ASSERT_EQ(got.size(), size);
    for (std::size_t i = 0; i < size; ++i) {
        if (words[i] == kAddress) {
            EXPECT_TRUE(got[i] > 0xFFFF && *reinterpret_cast<DWORD*>(got[i]) != 0);
        }
        words[i] = words[i] == kAny || words[i] == kAddress ? got[i] : words[i];
    }
    EXPECT_EQ(got, words);
}

// What an engine sets has its place as well.
static_assert(offsetof(ZetaAlphaProbeRecord, codedLength) == 2 * sizeof(void*) &&
              offsetof(MpegIntraState, codedHeight) == 2 * sizeof(LONG));

TEST_F(Frames, ReachTheEnginesInRecordsThatAreRightWordByWord) {
    Bytes memory(960 * 720 * 16), out(64);
    for (int scene = 0; scene < 4 * int{std::size(kLayouts)}; ++scene) {
        const Layout& layout = kLayouts[scene / 4];
        const int place = scene % 4;
        SCOPED_TRACE(testing::Message() << "layout " << scene / 4 << " place " << place);
        const LONG width = place < 2 ? 960 : 160, height = place < 2 ? 720 : 120;
        const LONG colorSpace = place % 2 == 0 ? 0 : 3;
        const LONG_PTR w = width, h = height;
        const bool isV210 = layout.fourcc == FourCC("v210"), rgb = layout.fourcc == BI_RGB;
        const LONG_PTR bytes = layout.bytes, row = isV210 ? (w + 47) / 48 * 128 : w * bytes;
        const LONG_PTR first = Word(memory.data()) + (rgb ? (h - 1) * row : 0);
        const LONG_PTR stride = rgb ? -row : row;
        const auto given = static_cast<DWORD>(isV210 ? row : 0);
        const BITMAPINFOHEADER picture = MakeHeader(layout.fourcc, layout.bits, width, height);
        registry_.Store(SettingsKey(kZeta2), L"color_space", colorSpace);
        registry_.Store(SettingsKey(kZeta2), L"preset", 4);
        registry_.Store(SettingsKey(kZeta2), L"quant_scale", 7);
        Codecs codecs;
        codecs.zeta.SetParameters({colorSpace, 11, 33, 4}, false);
        const auto decode = [&](ICodec& codec, const Bytes& frame, bool flag) {
            const auto input = MakeHeader(codec.GetFourCC(), 24, width, height, frame.size());
            return codec.Decompress(&input, frame.data(), &picture, flag, memory.data(),
                                    static_cast<LONG>(given), 0);
        };
        const auto encode = [&](ICodec& codec, bool flag) {
            const Misbehaviour stopAfterTheRecord("encode:divide");
            auto output = MakeHeader(codec.GetFourCC(), flag ? 32 : 24, width, height);
            EXPECT_EQ(
                codec.Compress(&picture, flag, memory.data(), &output, out.data(), 0, given, 0),
                E_FAIL);
        };
        const LONG_PTR core = layout.callback ? kAddress : layout.core[place];
        const LONG_PTR alpha = layout.callback ? kAddress : layout.alpha[place];
        const LONG_PTR zeta2 = layout.zeta2[place] == 0 ? kAddress : layout.zeta2[place];
        const Bytes zcf = Hollow("ZCF1", width, height, 0), zta = Hollow("ZTA1", width, height, 1);
        const LONG_PTR zcfAt = Word(zcf.data()), ztaAt = Word(zta.data()), outAt = Word(out.data());
        for (const bool flag : {false, true}) {
            ASSERT_EQ(decode(codecs.zeta, zcf, flag), S_OK);
            Expect(kCore, kProbe, 13, {0x40000000, kOnes, kOnes, kOnes, kOnes, zcfAt}, kOnes);
            Expect(kCore, kDecode, 13, {0, first, stride, bytes, core, zcfAt, 24, 2});
            ASSERT_EQ(decode(codecs.zeta, zta, flag), S_OK);
            Words probe(9, kOnes);
            probe[0] = 0x40000000;
            probe[8] = ztaAt;
            Expect(kAlpha, kProbe, 14, probe, kOnes);
            Expect(kAlpha, kDecode, 14, {0, first, stride, bytes, 0, 0, 0, alpha, ztaAt});
        }
        LONG_PTR codes[4];
        for (const LONG kind : {0, 1, 2, 3}) {  // of which the middle ones are alpha
            const Bytes frame = Hollow("QZ21", width, height, kind);
            ASSERT_EQ(decode(codecs.zeta2, frame, kind == 1 || kind == 2), S_OK);
            Expect(kZeta2Core, kProbe, 11, {0, 0, 0, Word(frame.data())});
            Expect(kZeta2Core, kDecode, 11, {0, kAny, zeta2, Word(frame.data()), 24});
            const Call call = LastCall(kZeta2Core, kDecode);
            EXPECT_EQ(Words(call.inner, call.inner + 3), (Words{first, stride, 0}));
            codes[kind] = call.words[2];
        }
        EXPECT_EQ(std::pair(codes[0], codes[1]), std::pair(codes[3], codes[2]));
        const bool flag = layout.bits == 32;
        const LONG_PTR size = isV210 ? row * h : w * h * 20 / 8 * (flag ? 2 : 1) * 30 / 100;
        const LONG_PTR blocks = (w + 15) / 16 * ((h + 15) / 16);
        encode(codecs.zeta2, flag);
        Expect(kZeta2Core, kEncode, 12,
               {0, kAny, zeta2, outAt, size, w * h / bytes / 8, flag ? 2 : 0, w, h, 7, 11});
        encode(codecs.zeta, flag);
        if (flag) {
            Expect(kAlpha, kEncode, 14,
                   {0, first, stride, bytes, 0, 0, 0, alpha, outAt, w, h, 11, 9});
        } else if (layout.bits <= 24 && !isV210) {
            Expect(kCore, kEncode, 14,
                   {0x04000000, first, stride, bytes, core, outAt, w * h * 2 * 33 / 100,
                    blocks * 4096, 2, w, h, 11, 9});
        }
        const auto native = static_cast<BYTE>(scene / 4);
        for (BYTE kind = native; native < 3 && kind <= (native == 2 ? 3 : native); ++kind) {
            Bytes frame = {'L', kind};
            frame.resize(100);  // room to read on, so that it is decoded in place
            EXPECT_EQ(decode(codecs.lossless, frame, kind == 3), E_FAIL) << "as it says";
            Expect(kLlc, kDecode, 6, {kind, Word(frame.data()), first, stride, w, h});
            encode(codecs.lossless, kind == 3);
            Expect(kLlc, kEncode, 6, {kind, outAt, first, stride, w, h});
        }
    }
}

TEST_F(Frames, GoThroughTheRowCallbacksOfEveryLayoutAndBack) {
    for (int row = 0; row < 4 * 5 * 3; ++row) {
        const Stream& stream = kStreams[row / 15];
        constexpr int kPacked[] = {4, 5, 7, 8, 6};  // the last one for Zeta2 alone
        const Layout& layout = kLayouts[kPacked[row / 3 % 5]];
        const DWORD mode = static_cast<DWORD>(row) % 3;  // premultiplied is 1
        SCOPED_TRACE(testing::Message() << stream.name << " layout " << row / 3 % 5 << " " << mode);
        if (stream.codec == kZeta && layout.bits == 64) {
            continue;
        }
        const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
        const Bytes source = SmoothPicture(output), frame = FrameOf(stream);
        Bytes packed, other, coded, back;
        const auto picture = MakeHeader(layout.fourcc, layout.bits, kWidth, kHeight);
        ASSERT_EQ(Decode(stream, frame, picture, &packed, mode), S_OK);
        ASSERT_EQ(Decode(stream, frame, picture, &other, mode % 2 == 0), S_OK);
        const bool keepsAlpha = stream.alpha && layout.fourcc != FourCC("2vuy");
        EXPECT_EQ(packed != other, keepsAlpha);
        if (layout.bits == 64) {
            continue;  // RGB, not so exact
        }
        if (keepsAlpha && layout.fourcc == FourCC("r408")) {  // premultiplied luma is darker
            EXPECT_EQ(packed[4 * kWidth / 2 + 1] < other[4 * kWidth / 2 + 1], mode == 1);
        }
        const auto input = MakeHeader(layout.fourcc, stream.pictureBits, kWidth, kHeight);
        const auto encode = [&](DWORD by, Bytes* to) {
            auto header = MakeHeader(FourCCOf(stream.codec), stream.bits, kWidth, kHeight);
            to->assign(kWidth * kHeight * 5, 0);
            return codecs_.all[stream.codec]->Compress(&input, stream.alpha, packed.data(), &header,
                                                       to->data(), 0, 0, by);
        };
        ASSERT_EQ(encode(mode % 2 == 0, &other), S_OK);
        ASSERT_EQ(encode(mode, &coded), S_OK);
        EXPECT_EQ(coded != other, keepsAlpha);
        ASSERT_EQ(Decode(stream, coded, output, &back, 1), S_OK);
        for (std::size_t i = 0; i < source.size(); ++i) {
            const bool isAlpha = stream.alpha && i % 4 == 3;
            if (!stream.alpha || isAlpha || source[i | 3] == 255) {
                ASSERT_NEAR(back[i], isAlpha && !keepsAlpha ? 255 : source[i],
                            isAlpha        ? 0
                            : stream.alpha ? 24
                                           : 8)
                    << i;
            }
        }
    }
}

TEST_F(Frames, ComeBackWithTheirAlphaAndWithoutWhatIsUnderTheMatte) {
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
        const Bytes source = SmoothPicture(output), frame = FrameOf(stream);
        Bytes bare, again;
        ASSERT_EQ(Decode(stream, frame, output, &bare), S_OK);
        for (const Bytes& chunk : {InfoChunk(1, 2, 3, 4), Chunk("INFO", {}), Chunk("INFO", {7})}) {
            EXPECT_EQ(Decode(stream, chunk + frame, output, &again), S_OK);
            EXPECT_EQ(again, bare);
        }
        // A wider output keeps what the picture does not cover.
        const auto input =
            MakeHeader(FourCCOf(stream.codec), stream.bits, kWidth, kHeight, frame.size());
        const std::size_t row = kWidth * stream.pictureBits / 8u, gap = 6 * stream.pictureBits / 8u;
        again.assign((row + gap) * kHeight, kGuard);
        ASSERT_EQ(Decompress(stream, input, frame.data(), PictureOf(stream.pictureBits, kWidth + 6),
                             again.data()),
                  S_OK);
        for (std::size_t y = 0; y < kHeight; ++y) {
            const BYTE* at = &again[y * (row + gap)];
            ASSERT_EQ(std::memcmp(at, &bare[y * row], row), 0);
            ASSERT_EQ(std::count(at + row, at + row + gap, kGuard), LONG(gap));
        }
        if (stream.codec == kZeta || stream.codec == kZeta2) {
            Stream other = stream;  // the tag or the probe decides, not the header
            other.bits = static_cast<WORD>(24 + 32 - stream.bits);
            EXPECT_EQ(Decode(other, frame, output, &again), S_OK);
            EXPECT_EQ(again, bare);
        }
        if (!stream.alpha) {
            EXPECT_EQ(bare, stream.codec != kTenBit
                                ? source
                                : ReferenceYuy2(RandomTenBitPicture(kWidth, kHeight, 3)));
            continue;
        }
        for (const BYTE black : {BYTE{0}, BYTE{0x10}}) {
            // Alpha mode 1 leaves the matte alone.
            registry_.Store(SettingsKey(stream.codec), L"color_space", black);
            Codecs anew;
            ICodec& codec = *anew.all[stream.codec];
            ASSERT_EQ(Decode(stream, frame, output, &again, 1, &codec), S_OK);
            ASSERT_EQ(Decode(stream, frame, output, &bare, black == 0 ? 0 : 2, &codec), S_OK);
            for (std::size_t i = 0; i < source.size(); i += 4) {
                ASSERT_EQ(again[i + 3], source[i + 3]);
                const bool clear = source[i + 3] == 0 && stream.codec != kLossless;
                ASSERT_EQ(bare[i + 1], clear ? black : again[i + 1]) << i;
            }
        }
    }
}

TEST_F(Frames, AreRefusedForPicturesOfOtherSizesAndForWhatIsMissing) {
    Bytes picture(kWidth * (kHeight + 1) * 4, kGuard);
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        ICodec& codec = *codecs_.all[stream.codec];
        const Bytes frame = FrameOf(stream);
        auto input = MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight, frame.size());
        for (const BITMAPINFOHEADER& output :
             {Yuy2Header(kWidth - 2, kHeight), Yuy2Header(kWidth, kHeight + 1),
              Yuy2Header(kWidth, kHeight - 1), RgbHeader(8, kWidth, kHeight)}) {
            EXPECT_EQ(Decompress(stream, input, frame.data(), output, picture.data()), E_FAIL);
            EXPECT_TRUE(Untouched(picture));
        }
        for (int missing = 0; missing < 4; ++missing) {
            BITMAPINFOHEADER* const from = missing == 0 ? nullptr : &input;
            BITMAPINFOHEADER* const to = missing == 1 ? nullptr : &input;
            BYTE* const data = missing == 2 ? nullptr : picture.data();
            BYTE* const room = missing == 3 ? nullptr : picture.data();
            EXPECT_EQ(codec.Decompress(from, data, to, false, room, 0, 0), E_POINTER);
            EXPECT_EQ(codec.Compress(from, false, data, to, room, 0, 0, 0),
                      stream.codec == kMpeg ? E_NOTIMPL : E_POINTER);
        }
    }
}

TEST_F(Frames, OfTheLosslessCodecGoFromEveryKindToEveryOutput) {
    for (DWORD code = 0; code < 4; ++code) {  // definition and range
        const LONG width = code < 2 ? 62 : 960, height = code < 2 ? 37 : 720;
        registry_.Store(SettingsKey(kLossless), L"color_space", code % 2 == 0 ? 5 : 0);
        CLosslessCodec codec;
        for (int pair = 0; pair < 16; ++pair) {
            const int kind = pair / 4, to = pair % 4;
            SCOPED_TRACE(testing::Message() << kind << " to " << to << " code " << code);
            const Stream& stored = kLosslessStreams[kind];
            const std::size_t from = stored.pictureBits / 8u;
            const std::size_t bytes = kLosslessStreams[to].pictureBits / 8u;
            Bytes expected = SmoothPicture(PictureOf(stored.pictureBits, width, height)), picture;
            const Bytes frame = Coded(stored.name, expected, width, height);
            ASSERT_EQ(frame[1], kind);
            for (std::size_t i = 0; kind == 3 && to != 3 && i < expected.size(); i += 4) {
                std::fill_n(&expected[i], expected[i + 3] == 0 ? 3 : 0,
                            static_cast<BYTE>(code % 2 == 0 ? 0x10 : 0));
            }
            const DWORD rgb = std::max(from, bytes) == 4 ? kBgra : kBgr3;
            if (kind != to && (kind == 0 || to == 0)) {
                expected = Converted(expected, kind == 0 ? kYuy2 : rgb, to == 0 ? kYuy2 : rgb,
                                     width, height, code);
            } else if (kind != to) {  // the three colours, a fourth byte opaque
                Bytes repacked(expected.size() / from * bytes, 0xFF);
                for (std::size_t i = 0; i < expected.size() / from; ++i) {
                    std::copy_n(&expected[i * from], 3, &repacked[i * bytes]);
                }
                expected = repacked;
            }
            Stream asked = stored;
            asked.alpha = to == 3;
            ASSERT_EQ(Decode(asked, frame, PictureOf(static_cast<WORD>(8 * bytes), width, height),
                             &picture, 0, &codec),
                      S_OK);
            EXPECT_TRUE(picture == expected);
        }
    }
}

TEST_F(Frames, OfTheLosslessCodecAreCopiedOnlyWhereTheMemoryBehindCannotBeRead) {
    const BITMAPINFOHEADER picture = Yuy2Header(16, 8);
    const Bytes source = SmoothPicture(picture), frame = Coded("lossless-yuy2", source, 16, 8);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QLLC"), 24, 16, 8, frame.size());
    for (const std::size_t behind : {0u, 63u, 64u}) {
        const GuardedMemory memory(frame + Bytes(behind));
        memory.Protect();
        Bytes back(source.size());
        EXPECT_EQ(
            codecs_.lossless.Decompress(&input, memory.data(), &picture, false, back.data(), 0, 0),
            S_OK);
        EXPECT_EQ(back, source);
        EXPECT_EQ(Last(kLlc, kDecode)[1] == Word(memory.data()), behind == 64);
    }
}

TEST_F(Frames, OfTwoThreadsHaveMemoryOfTheirOwnAndALargeOneLeavesNoneBehind) {
    const auto decode = [&](const Stream& stream, LONG width, LONG height, int number) {
        const BITMAPINFOHEADER shown = PictureOf(24, width, height);
        const Bytes source = SmoothPicture(PictureOf(stream.pictureBits, width, height), number);
        const Bytes frame = stream.codec == kTenBit
                                ? Q210Frame(RandomTenBitPicture(width, height, DWORD(number)))
                                : Coded(stream.name, source, width, height);
        return
            [=, this](Bytes* picture) { EXPECT_EQ(Decode(stream, frame, shown, picture), S_OK); };
    };
    for (const Stream* stream : {&kLosslessStreams[0], &kTenBitStream}) {
        SCOPED_TRACE(stream->name);
        ExpectSameTogether([&](int number) { return decode(*stream, kWidth, kHeight, number); });
    }
    Bytes picture;
    const auto large = decode(kLosslessStreams[2], 2560, 1440, 0);
    picture.reserve(2560 * 1440 * 3);
    const std::size_t before = CountHeld().privateBytes;
    large(&picture);
    EXPECT_LT(CountHeld().privateBytes, before + picture.size() + 1920 * 1080 * 4);
}

TEST_F(Frames, OfMpegLoseTheLinesAboveThePictureAndAreThreeBytesAPixelInRgb) {
    const struct {
        LONG width, height, codedHeight, dropped;
    } cases[] = {{720, 576, 608, 32}, {720, 480, 512, 32}, {720, 486, 512, 26},
                 {720, 486, 486, 0},  {704, 480, 512, 0},  {1920, 1080, 1088, 8}};
    const Stream& stream = kMpegStream;
    Bytes picture, rgb;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " of " << c.codedHeight);
        const LONG_PTR w = c.width, h = c.height;
        const Bytes source = SmoothPicture(Yuy2Header(c.width, c.codedHeight));
        const Bytes frame = Coded("mpeg2", source, c.width, c.codedHeight);
        ASSERT_EQ(Decode(stream, frame, Yuy2Header(c.width, c.height), &picture), S_OK);
        EXPECT_TRUE(
            std::equal(picture.begin(), picture.end(), source.begin() + c.dropped * c.width * 2));
        const auto size = static_cast<LONG_PTR>(frame.size());
        Expect(kM2vi, kProbe, 14, {kAny, kAny, size});
        Expect(kM2vi, kDecode, 14,
               {kAny, kAny, size, kAny, 2 * w, 2, w, h, 0, 0, 0, 0, 0, c.dropped == 0 ? 0 : kAny});
        const Call call = LastCall(kM2vi, kDecode);
        EXPECT_EQ(call.inner[2], c.dropped);
        EXPECT_EQ(call.result, kDone) << "its state record was zeroed";
        const Bytes expected =
            Converted(picture, kYuy2, kBgr3, c.width, c.height, c.width >= 960 ? 3 : 1);
        for (const WORD bits : {WORD{24}, WORD{32}}) {
            ASSERT_EQ(Decode(stream, frame, PictureOf(bits, c.width, c.height), &rgb), S_OK);
            const auto pixels = static_cast<std::size_t>(w), rest = (bits / 8u - 3) * pixels;
            for (std::size_t y = 0; y * pixels * 3 < expected.size(); ++y) {
                const BYTE* row = &rgb[y * pixels * bits / 8];
                ASSERT_EQ(std::memcmp(row, &expected[y * pixels * 3], 3 * pixels), 0);
                ASSERT_EQ(std::count(row + 3 * pixels, row + 3 * pixels + rest, kGuard),
                          LONG(rest));
            }
        }
    }
    const Bytes good = FrameOf(stream), cut(good.begin(), good.end() - 1);
    EXPECT_EQ(Decode(stream, cut, PictureOf(24), &rgb), S_OK);
    EXPECT_TRUE(std::equal(rgb.begin() + 3, rgb.end(), rgb.begin())) << "shows older memory";
    const Misbehaviour raise("decode:throw");
    ASSERT_EQ(Decode(stream, good, PictureOf(16), &picture), E_FAIL);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        ASSERT_EQ(picture[i], i % 2 == 0 ? 0x10 : 0x80);
    }
}

TEST_F(Frames, WithoutAnIndexOrRoomForARowAreRefusedAndPassedOverByZeta2) {
    Bytes memory(kWidth * kHeight * 4);
    const BITMAPINFOHEADER uyvy = MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight);
    const BITMAPINFOHEADER v210 = MakeHeader(FourCC("v210"), 20, kWidth, kHeight);
    const std::tuple<int, BITMAPINFOHEADER, LONG, HRESULT> cases[] = {
        {kZeta, uyvy, 0, E_FAIL},
        {kZeta, MakeHeader(FourCC("b64a"), 64, 16, 16), 0, E_FAIL},
        {kLossless, v210, 512, E_FAIL},
        {kTenBit, v210, 0, E_FAIL},
        {kTenBit, RgbHeader(32, kWidth - 1, kHeight), 0, E_FAIL},
        {kZeta2, uyvy, 0, S_OK},
        {kZeta2, RgbHeader(24, -160, 120), 0, E_FAIL},
        {kZeta2, RgbHeader(32, 0x7FFFFFFE, 2), 0, E_FAIL},
        {kZeta2, v210, 431, E_FAIL},
        {kZeta2, v210, 432, S_OK},
    };
    const Bytes frame = Hollow("QZ21", kWidth, kHeight, 0);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QZT2"), 24, kWidth, kHeight, 24);
    for (const auto& [codec, picture, stride, result] : cases) {
        BITMAPINFOHEADER output = MakeHeader(FourCCOf(codec), 24, kWidth, kHeight);
        EXPECT_EQ(codecs_.all[codec]->Compress(&picture, false, memory.data(), &output,
                                               memory.data(), 0, static_cast<DWORD>(stride), 0),
                  result)
            << picture.biCompression << " " << stride;
        EXPECT_EQ(output.biSizeImage != 0, stride == 432);
        EXPECT_EQ(codecs_.zeta2.Decompress(&input, frame.data(), &picture, false, memory.data(),
                                           stride, 0),
                  stride >= 432 ? S_OK : E_FAIL);
    }
}

TEST_F(Frames, OfAFailingEngineFailAndTheNextOneIsDecoded) {
    for (const Stream& stream : kStreams) {
        ICodec& codec = *codecs_.all[stream.codec];
        const Bytes frame = FrameOf(stream);
        const BITMAPINFOHEADER source = PictureOf(stream.pictureBits);
        const bool mpeg = stream.codec == kMpeg;
        Bytes picture, good, coded(codec.GetMaxCompressedSize(&source, stream.alpha));
        ASSERT_EQ(Decode(stream, frame, source, &good), S_OK);
        // A length of 0 is within any. Lossless frames tell their kind by themselves, and the
        // MPEG-2 engine's first call tells no length.
        for (const std::string what :
             {"probe:access", "probe:throw", "probe:longer", "probe:zero", "decode:access",
              "decode:divide", "decode:throw", "encode:access", "encode:longer", "encode:negative",
              "encode:full"}) {
            SCOPED_TRACE(std::string(stream.name) + " " + what);
            const bool probes = what[0] == 'p', encodes = what[0] == 'e';
            const bool asked = stream.codec != kTenBit && !(probes && stream.codec == kLossless) &&
                               !(mpeg && (what == "probe:longer" || encodes));
            const bool fails = asked && !encodes && what != "probe:zero";
            {
                const Misbehaviour misbehave(what.c_str());
                EXPECT_EQ(Decode(stream, frame, source, &picture), fails ? E_FAIL : S_OK);
                EXPECT_EQ(Untouched(picture), fails && (probes || !mpeg));
                auto output = MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight);
                const HRESULT result = codec.Compress(&source, stream.alpha, good.data(), &output,
                                                      coded.data(), 0, 0, 0);
                EXPECT_EQ(result, mpeg                                        ? E_NOTIMPL
                                  : asked && encodes && what != "encode:full" ? E_FAIL
                                                                              : S_OK);
                EXPECT_EQ(output.biSizeImage != 0, result == S_OK);
            }
            EXPECT_EQ(Decode(stream, frame, source, &picture), S_OK);
            EXPECT_EQ(picture, good);
        }
    }
}

TEST_F(Frames, ThatAreCutReachAnEngineOrFailAndNeverReachPastTheirBytes) {
    for (const Stream& stream : kStreams) {
        const wchar_t* library = stream.codec == kTenBit ? L"" : FindCoding(stream.name)->library;
        const Bytes frame = InfoChunk(0, 0, 1, 1) + FrameOf(stream);
        for (std::size_t size = 0; size < 100; ++size) {
            SCOPED_TRACE(testing::Message() << stream.name << " of " << size);
            Bytes cut = frame, picture;
            cut.resize(size < 99 ? size : frame.size() - 1);
            const DWORD calls = LastCall(library, kDecode).count;
            const HRESULT result = Decode(stream, cut, PictureOf(stream.pictureBits), &picture);
            const Call last = LastCall(library, kDecode);
            EXPECT_TRUE((stream.codec != kTenBit && last.count != calls) ||
                        (result == E_FAIL && Untouched(picture)));
            EXPECT_TRUE(stream.codec != kLossless || FAILED(result) || last.result == 0);
        }
    }
    const DWORD calls = LastCall(kLlc, kDecode).count;
    for (const BYTE kind : {BYTE{4}, BYTE{255}}) {
        Bytes picture;
        EXPECT_EQ(Decode(kStreams[4], {'L', kind, 'S', '1'}, Yuy2Header(16, 8), &picture), E_FAIL);
    }
    EXPECT_EQ(LastCall(kLlc, kDecode).count, calls);
}

TEST_F(Frames, WhoseMemoryGoesAwayFailAndLeaveNothingBehind) {
    const GuardedMemory nothing(0);  // no access at all
    const Stream& rgb24 = kLosslessStreams[1];
    const std::tuple<Stream, Bytes, WORD> cases[] = {
        {kStreams[1], Hollow("ZTA1", kWidth, kHeight, 1), 32},
        {rgb24, FrameOf(rgb24), 32},
        {kMpegStream, FrameOf(kMpegStream), 24},
        {kTenBitStream, FrameOf(kTenBitStream), 24}};
    Bytes room(kWidth * kHeight * 4);
    ExpectNoLeak(40, [&] {
        for (const auto& [stream, frame, bits] : cases) {
            SCOPED_TRACE(stream.name);
            ICodec& codec = *codecs_.all[stream.codec];
            const auto input =
                MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight, frame.size());
            const BITMAPINFOHEADER picture = PictureOf(bits);
            EXPECT_EQ(Decompress(stream, input, frame.data(), picture, nothing.data()), E_FAIL);
            EXPECT_EQ(Decompress(stream, input, nothing.data(), picture, room.data()), E_FAIL);
            EXPECT_EQ(codec.GetFrameInfo(&input, nothing.data(), 0, nullptr), E_FAIL);
            BITMAPINFOHEADER output = MakeHeader(FourCC("Q210"), 20, kWidth, kHeight);
            EXPECT_EQ(codecs_.tenBit.Compress(&picture, false, nothing.data(), &output, room.data(),
                                              0, 0, 0),
                      E_FAIL);
        }
    });
}

}  // namespace
}  // namespace nyx::test
