/// Frames on their way through each codec: what the engines are handed, word by word, what comes
/// back, and what becomes of frames, engines and memory that are of no use.

#include <gtest/gtest.h>

#include <random>

#include "codecs/engine_records.h"
#include "engines/standin/frame_coder.h"
#include "tests/codecs/codecs.h"
#include "tests/support/engines.h"
#include "tests/support/guard.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

using Words = std::vector<DWORD>;
constexpr BYTE kGuard = 0x5A;
constexpr DWORD kOnes = 0xFFFFFFFF;

DWORD Word(const void* pointer) {
    return reinterpret_cast<DWORD>(pointer);
}
Words Record(std::size_t size, Words first, DWORD rest = 0) {
    first.resize(size, rest);
    return first;
}
Words Last(const wchar_t* library, standin::Purpose purpose) {
    const standin::Call call = LastCall(library, purpose);
    return {call.words, call.words + call.wordCount};
}

/// A frame that a stand-in makes of a picture, bit by bit the same when it is decoded as "YUY2".
Bytes Coded(const char* coding, const Bytes& picture, LONG width, LONG height) {
    const standin::FrameCoder coder(*standin::FindCoding(coding));
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
    const char* coding;  ///< null: a Q210 frame
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
    {kLossless, "lossless-argb32", 32, true, 32},
    {kMpeg, "mpeg2", 24, false, 16},
    {kTenBit, nullptr, 20, false, 16},
};
constexpr LONG kWidth = 160;
constexpr LONG kHeight = 120;

BITMAPINFOHEADER PictureOf(WORD bits, LONG width = kWidth, LONG height = kHeight) {
    return bits == 16 ? Yuy2Header(width, height) : RgbHeader(bits, width, -height);
}

class Frames : public testing::Test {
  protected:
    const PrivateUserRegistry registry_;
    const EngineSearch search_;
    Codecs codecs_;

    Bytes FrameOf(const Stream& stream) const {
        return stream.coding ? Coded(stream.coding, SmoothPicture(PictureOf(stream.pictureBits)),
                                     kWidth, kHeight)
                             : Q210Frame(RandomTenBitPicture(kWidth, kHeight, 3));
    }

    /// Decodes into `picture`, between bytes that nothing may touch.
    HRESULT Decode(ICodec& codec, const Bytes& sample, WORD bits, const BITMAPINFOHEADER& output,
                   bool alpha, Bytes* picture, LONG width = 0, DWORD mode = 0) {
        constexpr std::ptrdiff_t kMargin = 4096;
        const BITMAPINFOHEADER input =
            MakeHeader(codec.GetFourCC(), bits, width == 0 ? output.biWidth : width,
                       std::abs(output.biHeight), sample.size());
        const std::ptrdiff_t size = std::ptrdiff_t{output.biWidth} * std::abs(output.biHeight) *
                                    std::max(output.biBitCount / 8, 1);
        Bytes room(static_cast<std::size_t>(size + 2 * kMargin), kGuard);
        const GuardedMemory frame(sample);
        const HRESULT result =
            codec.Decompress(&input, frame.data(), &output, alpha, room.data() + kMargin, 0, mode);
        picture->assign(room.begin() + kMargin, room.end() - kMargin);
        std::fill_n(room.begin() + kMargin, size, kGuard);
        EXPECT_EQ(room, Bytes(room.size(), kGuard)) << "written outside";
        return result;
    }
    HRESULT Decode(const Stream& stream, const Bytes& sample, Bytes* picture) {
        return Decode(*codecs_.all[stream.codec], sample, stream.bits,
                      PictureOf(stream.pictureBits), stream.alpha, picture);
    }
    static bool Untouched(const Bytes& picture) { return picture == Bytes(picture.size(), kGuard); }
};

struct Layout {
    DWORD fourcc;
    WORD bits;
    DWORD bytes;
    DWORD core[4], alpha[4], zeta2[4];  ///< by definition and range; 0 0 0 0: a callback
    bool zetaCallback;
};
constexpr Layout kLayouts[] = {
    {FourCC("YUY2"), 16, 2, {0, 0, 0, 0}, {0, 0, 0, 0}, {1, 1, 1, 1}, false},
    {BI_RGB, 24, 3, {8, 6, 4, 2}, {8, 6, 4, 2}, {9, 7, 5, 3}, false},
    {BI_RGB, 32, 4, {7, 5, 3, 1}, {4, 3, 2, 1}, {8, 6, 4, 2}, false},
    {FourCC("v210"), 20, 2, {}, {}, {}, false},
    {FourCC("v408"), 32, 4, {}, {}, {}, true},
    {FourCC("r408"), 32, 4, {}, {}, {}, true},
    {FourCC("b64a"), 64, 8, {}, {}, {}, false},
    {FourCC("r4fl"), 128, 16, {}, {}, {}, true},
    {FourCC("2vuy"), 16, 2, {}, {}, {}, true},
};

TEST_F(Frames, ReachTheEnginesInRecordsThatAreRightWordByWord) {
    std::vector<BYTE> memory(960 * 720 * 16), out(64);
    for (const Layout& layout : kLayouts) {
        for (int place = 0; place < 4; ++place) {
            SCOPED_TRACE(testing::Message() << std::hex << layout.fourcc << " place " << place);
            const LONG width = place < 2 ? 960 : 160, height = place < 2 ? 720 : 120;
            const LONG colorSpace = place % 2 == 0 ? 0 : 3;
            const auto w = static_cast<DWORD>(width), h = static_cast<DWORD>(height);
            const bool isV210 = layout.fourcc == FourCC("v210");
            const bool bottomUp = layout.fourcc == BI_RGB;
            const DWORD row = isV210 ? (w + 47) / 48 * 128 : w * layout.bytes;
            const DWORD given = isV210 ? row : 0;
            const DWORD first = Word(memory.data()) + (bottomUp ? (h - 1) * row : 0);
            const DWORD stride = bottomUp ? 0 - row : row;
            const BITMAPINFOHEADER picture = MakeHeader(layout.fourcc, layout.bits, width, height);
            for (const int codec : {kZeta, kZeta2, kLossless}) {
                registry_.Store(SettingsKey(codec), L"color_space", colorSpace);
            }
            registry_.Store(SettingsKey(kZeta2), L"preset", 4);
            registry_.Store(SettingsKey(kZeta2), L"quant_scale", 7);
            Codecs codecs;
            codecs.zeta.SetParameters({colorSpace, 11, 33, 4}, false);
            const auto decode = [&](ICodec& codec, const Bytes& frame, bool flag, DWORD mode = 0) {
                const BITMAPINFOHEADER input =
                    MakeHeader(codec.GetFourCC(), 24, width, height, frame.size());
                return codec.Decompress(&input, frame.data(), &picture, flag, memory.data(),
                                        static_cast<LONG>(given), mode);
            };
            const auto encode = [&](ICodec& codec, WORD bits, DWORD mode = 0) {
                const Misbehaviour stopAfterTheRecord("encode:divide");
                BITMAPINFOHEADER output = MakeHeader(codec.GetFourCC(), bits, width, height);
                EXPECT_EQ(codec.Compress(&picture, bits == 32, memory.data(), &output, out.data(),
                                         0, given, mode),
                          E_FAIL);
            };
            // A slot's entries are addresses; so are the words themselves that stand for one.
            const auto code = [&](DWORD number, DWORD word, bool callback) {
                EXPECT_TRUE(!callback || (word > 0xFFFF && *reinterpret_cast<DWORD*>(word) > 1));
                return callback ? word : number;
            };
            for (const bool flag : {false, true}) {
                const Bytes core = Hollow("ZCF1", width, height, 0);
                ASSERT_EQ(decode(codecs.zeta, core, flag), S_OK);
                EXPECT_EQ(
                    Last(L"rkzcore.dll", standin::kProbe),
                    Record(13, {0x40000000, kOnes, kOnes, kOnes, kOnes, Word(core.data())}, kOnes));
                Words got = Last(L"rkzcore.dll", standin::kDecode);
                EXPECT_EQ(got, Record(13, {0, first, stride, layout.bytes,
                                           code(layout.core[place], got[4], layout.zetaCallback),
                                           Word(core.data()), 24, 2}));
                const Bytes alpha = Hollow("ZTA1", width, height, 1);
                ASSERT_EQ(decode(codecs.zeta, alpha, flag), S_OK);
                EXPECT_EQ(Last(L"rkzalpha.dll", standin::kProbe),
                          Record(14,
                                 {0x40000000, kOnes, kOnes, kOnes, kOnes, kOnes, kOnes, kOnes,
                                  Word(alpha.data())},
                                 kOnes));
                got = Last(L"rkzalpha.dll", standin::kDecode);
                EXPECT_EQ(got, Record(14, {0, first, stride, layout.bytes, 0, 0, 0,
                                           code(layout.alpha[place], got[7], layout.zetaCallback),
                                           Word(alpha.data())}));
            }
            const bool zeta2Callback = layout.zeta2[place] == 0;
            for (const LONG alpha : {0, 1}) {
                const Bytes frame = Hollow("QZ21", width, height, alpha);
                DWORD callbacks[2];
                for (const DWORD mode : {0u, 1u}) {
                    ASSERT_EQ(decode(codecs.zeta2, frame, alpha != 0, mode), S_OK);
                    EXPECT_EQ(Last(L"rkz2core.dll", standin::kProbe),
                              Record(11, {0, 0, 0, Word(frame.data())}));
                    const Words got = Last(L"rkz2core.dll", standin::kDecode);
                    EXPECT_EQ(got, Record(11, {0, got[1],
                                               code(layout.zeta2[place], got[2], zeta2Callback),
                                               Word(frame.data()), 24}));
                    const standin::Call call = LastCall(L"rkz2core.dll", standin::kDecode);
                    EXPECT_EQ(Words(call.inner, call.inner + 3), (Words{first, stride, 0}));
                    callbacks[mode] = got[2];
                }
                EXPECT_EQ(callbacks[0] != callbacks[1], alpha != 0 && zeta2Callback && !isV210 &&
                                                            layout.fourcc != FourCC("2vuy"));
            }
            const WORD bits = layout.bits == 32 ? 32 : 24;
            encode(codecs.zeta2, bits);
            Words got = Last(L"rkz2core.dll", standin::kEncode);
            EXPECT_EQ(
                got,
                Record(12, {0, got[1], code(layout.zeta2[place], got[2], zeta2Callback),
                            Word(out.data()),
                            isV210 ? row * h : w * h * 20 / 8 * (bits == 32 ? 2 : 1) * 30 / 100,
                            w * h / layout.bytes / 8, bits == 32 ? 2u : 0u, w, h, 7, 11}));
            encode(codecs.zeta, bits);
            if (layout.bits == 32) {
                got = Last(L"rkzalpha.dll", standin::kEncode);
                EXPECT_EQ(got, Record(14, {0, first, stride, layout.bytes, 0, 0, 0,
                                           code(layout.alpha[place], got[7], layout.zetaCallback),
                                           Word(out.data()), w, h, 11, 9}));
            } else if (layout.bits <= 24 && !isV210) {
                got = Last(L"rkzcore.dll", standin::kEncode);
                EXPECT_EQ(got,
                          Record(14, {0x04000000, first, stride, layout.bytes,
                                      code(layout.core[place], got[4], layout.zetaCallback),
                                      Word(out.data()), w * h * 2 * 33 / 100,
                                      (w + 15) / 16 * ((h + 15) / 16) * 4096, 2, w, h, 11, 9}));
            }
            for (DWORD kind = 0; kind < 4; ++kind) {
                Bytes frame = {'L', static_cast<BYTE>(kind)};
                frame.resize(100);  // room to read on, so that it is decoded in place
                const DWORD native = layout.bits == 32 ? 2 : layout.bits / 8 - 2;
                if (&layout - kLayouts < 3 && (kind == native || (kind == 3 && native == 2))) {
                    EXPECT_EQ(decode(codecs.lossless, frame, kind == 3), E_FAIL) << "told by it";
                    EXPECT_EQ(Last(L"rkllc.dll", standin::kDecode),
                              (Words{kind, Word(frame.data()), first, stride, w, h}));
                    encode(codecs.lossless, kind == 3 ? 32 : 24);
                    EXPECT_EQ(Last(L"rkllc.dll", standin::kEncode),
                              (Words{kind, Word(out.data()), first, stride, w, h}));
                }
            }
        }
    }
}

TEST_F(Frames, HaveTheirRowsStoredAndReadByTheCallbackOfTheLayout) {
    // One pair of a block: luma 100, Cr 60, Cb 200, alpha 128; then clear.
    Bytes block(1024, 100), back(1024);
    std::fill_n(block.begin() + 16, 8, BYTE{60});
    std::fill_n(block.begin() + 24, 8, BYTE{200});
    std::fill_n(block.begin() + 512, 16, BYTE{128});
    const struct {
        DWORD fourcc;
        WORD bits;
        Bytes core, straight, premultiplied, clear;
    } layouts[] = {
        {FourCC("2vuy"),
         16,
         {200, 100, 60, 100},
         {164, 58, 94, 58},
         {164, 58, 94, 58},
         {128, 16, 128, 16}},
        {FourCC("v408"),
         32,
         {200, 100, 60, 235},
         {200, 100, 60, 126},
         {164, 58, 94, 126},
         {128, 16, 128, 16}},
        {FourCC("r408"),
         32,
         {255, 84, 200, 60},
         {128, 84, 200, 60},
         {128, 42, 164, 94},
         {0, 0, 128, 128}},
        {FourCC("r4fl"), 128, {0, 0, 128, 63}, {129, 128, 0, 63}, {129, 128, 0, 63}, {0, 0, 0, 0}},
    };
    using Core = void(__stdcall*)(BYTE*, LONG, BYTE*, LONG, LONG);
    using Alpha = void(__stdcall*)(BYTE*, LONG, DWORD, DWORD, BYTE*, LONG, LONG);
    using Fill = void(__stdcall*)(BYTE*, LONG, DWORD, DWORD, LONG, LONG);
    Bytes memory(kWidth * kHeight * 16);
    for (const auto& layout : layouts) {
        const BITMAPINFOHEADER picture = MakeHeader(layout.fourcc, layout.bits, kWidth, kHeight);
        const auto slot = [&](const char* tag, DWORD mode, const wchar_t* library, bool encode) {
            const Bytes frame = Hollow(tag, kWidth, kHeight, 1);
            BITMAPINFOHEADER stream =
                MakeHeader(FourCC("QZTA"), 32, kWidth, kHeight, encode ? 0 : frame.size());
            const Misbehaviour stop("encode:divide");
            const standin::Purpose purpose = encode ? standin::kEncode : standin::kDecode;
            if (encode) {
                const BITMAPINFOHEADER source =
                    MakeHeader(layout.fourcc, tag[1] == 'T' ? 32 : 16, kWidth, kHeight);
                codecs_.zeta.Compress(&source, true, memory.data(), &stream, memory.data(), 0, 0,
                                      mode);
            } else {
                codecs_.zeta.Decompress(&stream, frame.data(), &picture, true, memory.data(), 0,
                                        mode);
            }
            return reinterpret_cast<void* const*>(Last(library, purpose)[tag[1] == 'T' ? 7 : 4]);
        };
        const auto check = [&](const Bytes& expected, const char* what) {
            EXPECT_EQ(Bytes(memory.begin(), memory.begin() + 4), expected)
                << std::string(reinterpret_cast<const char*>(&layout.fourcc), 4) << " " << what;
        };
        reinterpret_cast<Core>(slot("ZCF1", 0, L"rkzcore.dll", false)[0])(memory.data(), 512,
                                                                          block.data(), 16, 1);
        check(layout.core, "opaque");
        reinterpret_cast<Core>(slot("ZCF1", 0, L"rkzcore.dll", true)[0])(memory.data(), 512,
                                                                         back.data(), 16, 1);
        EXPECT_TRUE(std::equal(back.begin(), back.begin() + 32, block.begin()));
        for (const DWORD mode : {0u, 1u, 2u}) {
            void* const* pair = slot("ZTA1", mode, L"rkzalpha.dll", false);
            reinterpret_cast<Alpha>(pair[1])(memory.data(), 512, 0, 0, block.data(), 16, 1);
            check(mode == 1 ? layout.premultiplied : layout.straight, "with alpha");
            if (layout.fourcc != FourCC("2vuy")) {
                reinterpret_cast<Alpha>(slot("ZTA1", mode, L"rkzalpha.dll", true)[0])(
                    memory.data(), 512, 0, 0, back.data(), 16, 1);
                EXPECT_NEAR(back[0], 100, 1) << mode;
                EXPECT_EQ(back[512], 128) << mode;
            }
            reinterpret_cast<Fill>(pair[0])(memory.data(), 512, 0, 0, 16, 1);
            check(layout.clear, "clear");
        }
    }
}

TEST_F(Frames, ComeBackWithTheirAlphaAndWithoutWhatIsUnderTheMatte) {
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.coding ? stream.coding : "q210");
        const Bytes source = SmoothPicture(PictureOf(stream.pictureBits));
        const Bytes frame = FrameOf(stream);
        Bytes bare, chunked, kept;
        ASSERT_EQ(Decode(stream, frame, &bare), S_OK);
        for (const Bytes& chunk : {InfoChunk(1, 2, 3, 4), Chunk("INFO", {}), Chunk("INFO", {7})}) {
            EXPECT_EQ(Decode(stream, chunk + frame, &chunked), S_OK);
            EXPECT_EQ(chunked, bare);
        }
        // The tag or the probe decides, not the header; alpha mode 1 leaves the matte alone.
        ICodec& codec = *codecs_.all[stream.codec];
        const BITMAPINFOHEADER picture = PictureOf(stream.pictureBits);
        if (stream.codec == kZeta || stream.codec == kZeta2) {
            const WORD other = stream.alpha ? 24 : 32;
            EXPECT_EQ(Decode(codec, frame, other, picture, stream.alpha, &chunked), S_OK);
            EXPECT_EQ(chunked, bare);
        }
        if (!stream.alpha) {
            const Bytes expected =
                stream.coding ? source : ReferenceYuy2(RandomTenBitPicture(kWidth, kHeight, 3));
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bare.begin()));
            continue;
        }
        for (const LONG colorSpace : {0, 1}) {
            registry_.Store(SettingsKey(stream.codec), L"color_space", colorSpace);
            Codecs anew;
            const BITMAPINFOHEADER opaque24 = PictureOf(24);
            const bool lossless = stream.codec == kLossless;
            ASSERT_EQ(Decode(*anew.all[stream.codec], frame, 32, lossless ? opaque24 : picture,
                             !lossless, &bare),
                      S_OK);
            ASSERT_EQ(Decode(*anew.all[stream.codec], frame, 32, picture, true, &kept, 0, 1), S_OK);
            const std::size_t bytes = lossless ? 3 : 4;
            for (std::size_t i = 0; i < source.size() / 4; ++i) {
                const BYTE black = colorSpace == 0 ? 0 : 0x10;
                const bool clear = source[4 * i + 3] == 0;
                ASSERT_EQ(kept[4 * i + 3], source[4 * i + 3]);
                ASSERT_EQ(bare[bytes * i + 1], clear ? black : kept[4 * i + 1]) << i;
            }
        }
    }
}

/// An RGB or "YUY2" picture with rows without gaps, through the conversion library.
Bytes Converted(Bytes picture, DWORD from, DWORD to, LONG width, LONG height, DWORD code) {
    Bytes result(static_cast<std::size_t>(width * height * BytesPerPixel(to)));
    const ImagePlane source = {picture.data(), width * BytesPerPixel(from), 0};
    const ImagePlane target = {result.data(), width * BytesPerPixel(to), 0};
    const HRESULT done = from == FourCC("YUY2")
                             ? ConvertFromYuv(&source, nullptr, from, code & 2, 0, &target, to,
                                              code, 0, width, height)
                             : ConvertToYuv(&source, from, code, nullptr, &target, nullptr, to,
                                            code & 2, 0, width, height);
    EXPECT_EQ(done, S_OK);
    return result;
}

/// The three colours of each pixel, a fourth byte opaque.
Bytes Repacked(const Bytes& rgb, std::size_t from, std::size_t to) {
    Bytes result(rgb.size() / from * to, 0xFF);
    for (std::size_t i = 0; i < rgb.size() / from; ++i) {
        std::copy_n(&rgb[i * from], 3, &result[i * to]);
    }
    return result;
}

TEST_F(Frames, OfTheLosslessCodecGoFromEveryKindToEveryOutput) {
    constexpr const char* kCodings[] = {"lossless-yuy2", "lossless-rgb24", "lossless-rgb32",
                                        "lossless-argb32"};
    constexpr WORD kBits[] = {16, 24, 32, 32};
    const DWORD yuy2 = FourCC("YUY2");
    for (const DWORD code : {0u, 1u, 2u, 3u}) {  // definition and range
        const LONG width = code < 2 ? 62 : 960, height = code < 2 ? 37 : 720;
        registry_.Store(SettingsKey(kLossless), L"color_space", code % 2 == 0 ? 5 : 0);
        CLosslessCodec codec;
        for (int kind = 0; kind < 4; ++kind) {
            Bytes source = SmoothPicture(PictureOf(kBits[kind], width, height));
            const Bytes frame = Coded(kCodings[kind], source, width, height);
            ASSERT_EQ(frame[1], kind);
            const std::size_t bytes = kBits[kind] / 8;
            for (int to = 0; to < 4; ++to) {
                SCOPED_TRACE(testing::Message() << kind << " to " << to << " code " << code);
                Bytes expected = source, picture;
                if (kind == 3 && to != 3) {
                    for (std::size_t i = 0; i < expected.size(); i += 4) {
                        std::fill_n(&expected[i], expected[i + 3] == 0 ? 3 : 0,
                                    static_cast<BYTE>(code % 2 == 0 ? 0x10 : 0));
                    }
                }
                const DWORD rgb = FourCC(kBits[kind] == 24 || to == 1 ? "BGR3" : "BGRA");
                if (kind == 0 && to != 0) {
                    expected = Converted(expected, yuy2, rgb, width, height, code);
                } else if (kind != 0 && to == 0) {
                    expected = Converted(expected, rgb, yuy2, width, height, code);
                } else if (kind != to) {
                    expected = Repacked(expected, bytes, kBits[to] / 8u);
                }
                ASSERT_EQ(Decode(codec, frame, kind > 1 ? 32 : 24,
                                 PictureOf(kBits[to], width, height), to == 3, &picture),
                          S_OK);
                EXPECT_TRUE(picture == expected);
            }
        }
    }
}

TEST_F(Frames, OfTheLosslessCodecAreCopiedOnlyWhereTheMemoryBehindCannotBeRead) {
    const Bytes source = SmoothPicture(Yuy2Header(16, 8));
    const Bytes frame = Coded("lossless-yuy2", source, 16, 8);
    const struct {
        DWORD protection;  ///< of the page behind
        std::size_t bytesBehind;
        bool copied;
    } cases[] = {{PAGE_NOACCESS, 0, true},      {PAGE_NOACCESS, 63, true},
                 {PAGE_NOACCESS, 64, false},    {PAGE_EXECUTE, 0, true},
                 {PAGE_READONLY, 0, false},     {PAGE_READWRITE, 0, false},
                 {PAGE_EXECUTE_READ, 0, false}, {PAGE_EXECUTE_READWRITE, 0, false}};
    for (const auto& c : cases) {
        auto* pages = static_cast<BYTE*>(
            VirtualAlloc(nullptr, 8192, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        DWORD before = 0;
        VirtualProtect(pages + 4096, 4096, c.protection, &before);
        BYTE* at = pages + 4096 - c.bytesBehind - frame.size();
        std::copy(frame.begin(), frame.end(), at);
        const BITMAPINFOHEADER picture = Yuy2Header(16, 8);
        const BITMAPINFOHEADER input = MakeHeader(FourCC("QLLC"), 24, 16, 8, frame.size());
        Bytes back(source.size());
        EXPECT_EQ(codecs_.lossless.Decompress(&input, at, &picture, false, back.data(), 0, 0),
                  S_OK);
        EXPECT_EQ(back, source);
        EXPECT_EQ(Last(L"rkllc.dll", standin::kDecode)[1] != Word(at), c.copied)
            << c.protection << " " << c.bytesBehind;
        VirtualFree(pages, 0, MEM_RELEASE);
    }
}

TEST_F(Frames, OfMpegLoseTheLinesAboveThePictureAndAreThreeBytesAPixelInRgb) {
    const struct {
        LONG width, height, codedHeight, dropped;
    } cases[] = {{720, 576, 608, 32},   {720, 480, 512, 32},  {720, 486, 512, 26},
                 {720, 486, 486, 0},    {704, 480, 512, 0},   {64, 48, 80, 0},
                 {1920, 1080, 1088, 8}, {1920, 1080, 1080, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " of " << c.codedHeight);
        const Bytes source = SmoothPicture(Yuy2Header(c.width, c.codedHeight));
        const Bytes frame = Coded("mpeg2", source, c.width, c.codedHeight);
        Bytes picture, rgb;
        ASSERT_EQ(Decode(codecs_.mpeg, frame, 24, Yuy2Header(c.width, c.height), false, &picture),
                  S_OK);
        EXPECT_TRUE(
            std::equal(picture.begin(), picture.end(), source.begin() + c.dropped * c.width * 2));
        const standin::Call call = LastCall(L"rkm2vi01.dll", standin::kDecode);
        const auto w = static_cast<DWORD>(c.width), h = static_cast<DWORD>(c.height);
        const auto size = static_cast<DWORD>(frame.size());
        EXPECT_EQ(Words(call.words, call.words + 14),
                  (Words{call.words[0], call.words[1], size, call.words[3], 2 * w, 2, w, h, 0, 0, 0,
                         0, 0, call.words[13]}));
        EXPECT_EQ(call.words[13] != 0, c.dropped != 0);
        EXPECT_EQ(call.inner[2], static_cast<DWORD>(c.dropped));
        EXPECT_EQ(Last(L"rkm2vi01.dll", standin::kProbe),
                  Record(14, {Last(L"rkm2vi01.dll", standin::kProbe)[0], call.words[1], size}));
        EXPECT_EQ(call.result, standin::kDone) << "its state record was zeroed";
        const Bytes expected = Converted(picture, FourCC("YUY2"), FourCC("BGR3"), c.width, c.height,
                                         c.width >= 960 ? 3 : 1);
        for (const WORD bits : {WORD{24}, WORD{32}}) {
            ASSERT_EQ(
                Decode(codecs_.mpeg, frame, 24, PictureOf(bits, c.width, c.height), false, &rgb),
                S_OK);
            for (LONG y = 0; y < c.height; ++y) {
                const BYTE* row = &rgb[static_cast<std::size_t>(y * c.width * bits / 8)];
                ASSERT_EQ(
                    std::memcmp(row, &expected[static_cast<std::size_t>(y * c.width * 3)], 3 * w),
                    0);
                ASSERT_EQ(std::count(row + 3 * w, row + bits / 8 * w, kGuard), (bits / 8 - 3) * w);
            }
        }
    }
    const Misbehaviour raise("decode:throw");
    Bytes picture;
    const Bytes frame = Coded("mpeg2", SmoothPicture(Yuy2Header(64, 48)), 64, 48);
    ASSERT_EQ(Decode(codecs_.mpeg, frame, 24, Yuy2Header(64, 48), false, &picture), E_FAIL);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        ASSERT_EQ(picture[i], i % 2 == 0 ? 0x10 : 0x80);
    }
}

TEST_F(Frames, FillWhatTheyCoverOfAWiderOutputAndAreRefusedByOthers) {
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.coding ? stream.coding : "q210");
        ICodec& codec = *codecs_.all[stream.codec];
        const Bytes frame = FrameOf(stream);
        Bytes narrow, wide, picture;
        ASSERT_EQ(Decode(stream, frame, &narrow), S_OK);
        const BITMAPINFOHEADER wider = PictureOf(stream.pictureBits, kWidth + 6);
        ASSERT_EQ(Decode(codec, frame, stream.bits, wider, stream.alpha, &wide, kWidth), S_OK);
        const std::size_t bytes = stream.pictureBits / 8u, row = kWidth * bytes;
        for (std::size_t y = 0; y < kHeight; ++y) {
            const BYTE* at = &wide[y * (row + 6 * bytes)];
            ASSERT_EQ(std::memcmp(at, &narrow[y * row], row), 0);
            ASSERT_EQ(std::count(at + row, at + row + 6 * bytes, kGuard), 6 * bytes);
        }
        for (const BITMAPINFOHEADER& output :
             {Yuy2Header(kWidth - 2, kHeight), Yuy2Header(kWidth, kHeight + 1),
              Yuy2Header(kWidth, kHeight - 1), RgbHeader(8, kWidth, kHeight),
              MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight)}) {
            BITMAPINFOHEADER input =
                MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight, frame.size());
            picture.assign(kWidth * (kHeight + 1) * 4, kGuard);
            EXPECT_EQ(
                codec.Decompress(&input, frame.data(), &output, stream.alpha, picture.data(), 0, 0),
                E_FAIL);
            EXPECT_TRUE(Untouched(picture));
        }
        BITMAPINFOHEADER header = MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight, 64);
        BYTE data[64] = {};
        BITMAPINFOHEADER* const headers[] = {nullptr, &header};
        BYTE* const places[] = {nullptr, data};
        for (int given = 0; given < 15; ++given) {  // any of the four missing
            EXPECT_EQ(codec.Decompress(headers[given & 1], places[given >> 1 & 1],
                                       headers[given >> 2 & 1], false, places[given >> 3], 0, 0),
                      E_POINTER);
            EXPECT_EQ(codec.Compress(headers[given & 1], false, places[given >> 1 & 1],
                                     headers[given >> 2 & 1], places[given >> 3], 0, 0, 0),
                      stream.codec == kMpeg ? E_NOTIMPL : E_POINTER);
        }
    }
}

TEST_F(Frames, WithoutAnIndexOrRoomForARowAreRefusedAndPassedOverByZeta2) {
    Bytes memory(kWidth * kHeight * 4);
    const struct {
        int codec;
        BITMAPINFOHEADER input;
        LONG stride;
        HRESULT result;
    } cases[] = {
        {kZeta, MakeHeader(FourCC("UYVY"), 16, 160, 120), 0, E_FAIL},
        {kZeta, RgbHeader(8, 160, 120), 0, E_FAIL},
        {kZeta, MakeHeader(FourCC("b64a"), 64, 16, 16), 0, E_FAIL},
        {kLossless, MakeHeader(FourCC("v210"), 20, 160, 120), 512, E_FAIL},
        {kZeta2, MakeHeader(FourCC("UYVY"), 16, 160, 120), 0, S_OK},
        {kZeta2, RgbHeader(16, 160, 120), 0, S_OK},
        {kZeta2, RgbHeader(24, -160, 120), 0, E_FAIL},
        {kZeta2, RgbHeader(24, 160, LONG_MIN), 0, E_FAIL},
        {kZeta2, RgbHeader(32, 0x7FFFFFFE, 2), 0, E_FAIL},
        {kZeta2, MakeHeader(FourCC("v210"), 20, 160, 120), 0, E_FAIL},
        {kZeta2, MakeHeader(FourCC("v210"), 20, 160, 120), 431, E_FAIL},
        {kZeta2, MakeHeader(FourCC("v210"), 20, 160, 120), 432, S_OK},
    };
    for (const auto& c : cases) {
        BITMAPINFOHEADER output = MakeHeader(FourCCOf(c.codec), 24, 160, 120);
        EXPECT_EQ(codecs_.all[c.codec]->Compress(&c.input, false, memory.data(), &output,
                                                 memory.data(), 0, static_cast<DWORD>(c.stride), 0),
                  c.result)
            << c.input.biCompression << " " << c.stride;
        EXPECT_EQ(output.biSizeImage != 0, c.stride == 432) << "none was coded";
        if (c.codec == kZeta2 && c.input.biCompression == FourCC("v210")) {
            const Bytes frame = Hollow("QZ21", 160, 120, 0);
            const BITMAPINFOHEADER input = MakeHeader(FourCC("QZT2"), 24, 160, 120, 24);
            EXPECT_EQ(codecs_.zeta2.Decompress(&input, frame.data(), &c.input, false, memory.data(),
                                               c.stride, 0),
                      c.result);
        }
    }
}

TEST_F(Frames, OfAFailingEngineFailAndTheNextOneIsDecoded) {
    for (const Stream& stream : kStreams) {
        if (!stream.coding) {
            continue;
        }
        ICodec& codec = *codecs_.all[stream.codec];
        const Bytes frame = FrameOf(stream);
        const BITMAPINFOHEADER source = PictureOf(stream.pictureBits);
        Bytes picture, good;
        ASSERT_EQ(Decode(stream, frame, &good), S_OK);
        const auto encode = [&] {
            BITMAPINFOHEADER output = MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight);
            Bytes coded(codec.GetMaxCompressedSize(&source, stream.alpha));
            const HRESULT result =
                codec.Compress(&source, stream.alpha, good.data(), &output, coded.data(), 0, 0, 0);
            EXPECT_EQ(output.biSizeImage != 0, result == S_OK);
            return result;
        };
        for (const std::string what : {"probe:access", "probe:throw", "probe:longer", "probe:zero",
                                       "decode:access", "decode:divide", "decode:throw",
                                       "encode:access", "encode:longer", "encode:negative"}) {
            SCOPED_TRACE(std::string(stream.coding) + " " + what);
            const bool probes = what[0] == 'p', mpeg = stream.codec == kMpeg;
            // What no engine is asked for: lossless frames tell their kind by themselves, and the
            // MPEG-2 engine's first call tells no length. A length of 0 is within any.
            const bool fails =
                what[0] != 'e' && what != "probe:zero" &&
                !(probes && (stream.codec == kLossless || (mpeg && what == "probe:longer")));
            {
                const Misbehaviour misbehave(what.c_str());
                EXPECT_EQ(Decode(stream, frame, &picture), fails ? E_FAIL : S_OK);
                EXPECT_EQ(Untouched(picture), fails && (probes || !mpeg));
                if (what[0] == 'e' && !mpeg) {
                    EXPECT_EQ(encode(), E_FAIL);
                }
            }
            EXPECT_EQ(Decode(stream, frame, &picture), S_OK);
            EXPECT_EQ(picture, good);
            EXPECT_EQ(encode(), mpeg ? E_NOTIMPL : S_OK);
        }
    }
    const Misbehaviour misbehave("decode:callback");
    Bytes picture;
    for (const Stream& stream : {kStreams[0], kStreams[1], kStreams[2]}) {
        EXPECT_EQ(Decode(*codecs_.all[stream.codec], FrameOf(stream), stream.bits,
                         MakeHeader(FourCC("r408"), 32, kWidth, kHeight), true, &picture),
                  E_FAIL);
    }
}

TEST_F(Frames, ThatAreDamagedNeverReachPastTheirBytesOrThePicture) {
    std::mt19937 random(20);
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.coding ? stream.coding : "q210");
        const wchar_t* library = stream.coding ? standin::FindCoding(stream.coding)->library : L"";
        const Bytes frame = InfoChunk(0, 0, 1, 1) + FrameOf(stream);
        for (int round = 0; round < 60; ++round) {
            SCOPED_TRACE(round);
            Bytes damaged(frame);
            if (round % 3 != 0) {
                damaged.resize(round < 33 ? static_cast<std::size_t>(round)
                                          : random() % frame.size());
            }
            for (int flips = round % 3; flips > 0 && !damaged.empty(); --flips) {
                damaged[random() % std::min<std::size_t>(damaged.size(), 60)] ^=
                    static_cast<BYTE>(1u << random() % 8);
            }
            const DWORD calls = LastCall(library, standin::kDecode).count;
            Bytes picture;
            const HRESULT result = Decode(stream, damaged, &picture);
            if (stream.coding && LastCall(library, standin::kDecode).count == calls) {
                EXPECT_EQ(result, damaged.empty() ? E_POINTER : E_FAIL);
                EXPECT_TRUE(Untouched(picture));
            }
            if (stream.codec == kLossless && result == S_OK) {
                EXPECT_EQ(LastCall(library, standin::kDecode).result, standin::kDone);
            }
        }
    }
    Bytes picture;
    for (const BYTE kind : {BYTE{4}, BYTE{255}}) {
        EXPECT_EQ(
            Decode(codecs_.lossless, {'L', kind, 'S', '1'}, 24, Yuy2Header(16, 8), false, &picture),
            E_FAIL);
    }
}

TEST_F(Frames, WhoseMemoryGoesAwayFailAndLeaveNothingBehind) {
    const GuardedMemory nothing(0);                          // no access at all
    const Bytes alpha = Hollow("ZTA1", kWidth, kHeight, 1);  // the engine leaves it to the matte
    const Bytes lossless =
        Coded("lossless-rgb24", SmoothPicture(RgbHeader(24, kWidth, kHeight)), kWidth, kHeight);
    const Bytes mpeg = FrameOf(kStreams[6]), q210 = FrameOf(kStreams[7]);
    const struct {
        int codec;
        const Bytes& frame;
        WORD bits, pictureBits;
    } cases[] = {{kZeta, alpha, 32, 32},        {kLossless, lossless, 24, 32},
                 {kLossless, lossless, 24, 16}, {kMpeg, mpeg, 24, 24},
                 {kTenBit, q210, 20, 16},       {kTenBit, q210, 20, 24}};
    Bytes frame(kWidth * kHeight * 4);
    ExpectNoLeak(40, [&] {
        for (const auto& c : cases) {
            ICodec& codec = *codecs_.all[c.codec];
            const BITMAPINFOHEADER input =
                MakeHeader(codec.GetFourCC(), c.bits, kWidth, kHeight, c.frame.size());
            const BITMAPINFOHEADER picture = PictureOf(c.pictureBits);
            EXPECT_EQ(codec.Decompress(&input, c.frame.data(), &picture, c.codec == kZeta,
                                       nothing.data(), 0, 0),
                      E_FAIL)
                << kFourCCs[c.codec] << " " << c.pictureBits;
            EXPECT_EQ(codec.Decompress(&input, nothing.data(), &picture, false, frame.data(), 0, 0),
                      E_FAIL);
            EXPECT_EQ(codec.GetFrameInfo(&input, nothing.data(), 0, nullptr), E_FAIL);
        }
        for (const WORD bits : std::initializer_list<WORD>{16, 24, 32}) {
            const BITMAPINFOHEADER picture = PictureOf(bits);
            BITMAPINFOHEADER output = MakeHeader(FourCC("Q210"), 20, kWidth, kHeight);
            EXPECT_EQ(codecs_.tenBit.Compress(&picture, false, nothing.data(), &output,
                                              frame.data(), 0, 0, 0),
                      E_FAIL);
        }
    });
}

TEST(FramesAlone, AreRefusedWithoutTheirEngines) {
    const EngineSearch nowhere(L"none");
    Codecs codecs;
    for (const Bytes& frame :
         {Hollow("ZCF1", kWidth, kHeight, 0), Hollow("ZTA1", kWidth, kHeight, 1),
          Hollow("QZ21", kWidth, kHeight, 0), Hollow("L\0S1", 0, 0, 0),
          Hollow("\0\0\1\xB3", kWidth, kHeight, 0)}) {
        for (ICodec* codec : codecs.all) {
            const BITMAPINFOHEADER input =
                MakeHeader(codec->GetFourCC(), 24, kWidth, kHeight, frame.size());
            const BITMAPINFOHEADER picture = Yuy2Header(kWidth, kHeight);
            Bytes room(kWidth * kHeight * 2, kGuard);
            EXPECT_EQ(codec->Decompress(&input, frame.data(), &picture, false, room.data(), 0, 0),
                      E_FAIL);
            EXPECT_EQ(room, Bytes(room.size(), kGuard));
        }
    }
}

TEST(FrameInfo, ComesFromTheContainerOrFromTheTables) {
    CTenBitCodec codec;
    const Bytes none, plain = InfoChunk(5, 6, 10, 11);
    const Bytes full = InfoChunk(5, 6, 0, 0, Chunk("FIEL", {0}) + Chunk("RDRT", {8, 9}));
    const Bytes odd = InfoChunk(5, 6, 1, 1, Chunk("FIEL", {3}));
    const struct {
        const Bytes& frame;
        LONG width, height;
        REFERENCE_TIME duration;
        HRESULT result;
        FrameInfo info;
    } rows[] = {
        {none, 1920, 1080, 333666, S_FALSE, {0, 1, 1, -1, -1, -1, -1}},
        {none, 720, 576, 400000, S_FALSE, {1, 768, 720, -1, -1, -1, -1}},
        {none, 720, 480, 333667, S_FALSE, {2, 648, 720, -1, -1, -1, -1}},
        {none, 720, 480, (1LL << 32) + 333666, S_FALSE, {2, 648, 720, -1, -1, -1, -1}},
        {none, 1000, 1000, 400000, S_FALSE, {2, 1, 1, -1, -1, -1, -1}},
        {plain, 720, 480, 333666, S_OK, {1, 10, 11, 5, 6, -1, -1}},
        {full, 720, 480, 333666, S_OK, {0, 0, 0, 5, 6, 8, 9}},
        {odd, 720, 576, 400000, S_OK, {1, 1, 1, 5, 6, -1, -1}},
    };
    for (const auto& row : rows) {
        const BITMAPINFOHEADER header = MakeHeader(FourCC("Q210"), 20, row.width, row.height,
                                                   row.frame.empty() ? 999 : row.frame.size());
        const BYTE* frame = row.frame.empty() ? nullptr : row.frame.data();
        FrameInfo info;
        EXPECT_EQ(codec.GetFrameInfo(&header, frame, row.duration, &info), row.result);
        EXPECT_EQ(std::memcmp(&info, &row.info, sizeof(info)), 0) << row.width << "x" << row.height;
        EXPECT_EQ(codec.GetFrameInfo(&header, frame, row.duration, nullptr), row.result);
    }
    EXPECT_EQ(codec.GetFrameInfo(nullptr, none.data(), 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace nyx::test
