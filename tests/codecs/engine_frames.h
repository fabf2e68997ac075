#pragma once

/// @file
/// All codecs but those of DV, their frames on the stand-in engines, and the engines' call records.

#include <gtest/gtest.h>

#include "codecs/engine_records.h"
#include "codecs/lossless_codec.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "engines/standin/frame_coder.h"
#include "settings/codec_settings.h"
#include "tests/codecs/converted.h"
#include "tests/support/engines.h"
#include "tests/support/guard.h"
#include "tests/support/settings.h"

namespace nyx::test {

enum CodecNumber { kZeta, kZeta2, kLossless, kMpeg, kTenBit, kCodecs };
constexpr DWORD kFourCCs[kCodecs] = {FourCC("QZTA"), FourCC("QZT2"), FourCC("QLLC"), FourCC("QMIC"),
                                     FourCC("Q210")};

/// One of each. The constructors read the settings and load the engines.
struct Codecs {
    CZetaCodec zeta;
    CZeta2Codec zeta2;
    CLosslessCodec lossless;
    CMpegIntraCodec mpeg;
    CTenBitCodec tenBit;
    ICodec* const all[kCodecs] = {&zeta, &zeta2, &lossless, &mpeg, &tenBit};
};

using namespace standin;
using Words = std::vector<LONG_PTR>;
constexpr wchar_t kCore[] = L"rkzcore.dll", kAlpha[] = L"rkzalpha.dll";
constexpr wchar_t kZeta2Core[] = L"rkz2core.dll", kLlc[] = L"rkllc.dll", kM2vi[] = L"rkm2vi01.dll";
constexpr BYTE kGuard = 0x5A;
constexpr LONG_PTR kOnes = -1;

inline LONG_PTR Word(const void* pointer) {
    return reinterpret_cast<LONG_PTR>(pointer);
}

/// A stand-in's frame of a picture, lossless when it is decoded as "YUY2".
inline Bytes Coded(const char* coding, const Bytes& picture, LONG width, LONG height) {
    const FrameCoder coder(*FindCoding(coding));
    return coder.Code(picture.data(), width, height, 1);
}

/// A stand-in's header without a picture: it passes the probe and fails in the decoder.
inline Bytes Hollow(const char (&tag)[5], LONG width, LONG height, LONG alpha) {
    Bytes frame = Chunk(tag, {DWORD(width), DWORD(height), 1, DWORD(alpha)});
    frame[4] = 24;  // its own length
    return frame;
}

/// A stream of one codec, lossless for pictures of `pictureBits`.
struct Stream {
    int codec;
    const char* name;  ///< the coding's, in the stand-ins' list
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
inline constexpr const Stream& kMpegStream = kStreams[8];
inline constexpr const Stream& kTenBitStream = kStreams[9];
constexpr LONG kWidth = 160;
constexpr LONG kHeight = 120;

inline BITMAPINFOHEADER PictureOf(WORD bits, LONG width = kWidth, LONG height = kHeight) {
    return PictureHeader(bits, width, bits == 16 ? height : -height);
}

inline Bytes FrameOf(const Stream& stream, LONG width = kWidth, LONG height = kHeight,
                     int number = 0) {
    const Bytes source = SmoothPicture(PictureOf(stream.pictureBits, width, height), number);
    return stream.codec == kTenBit ? Q210Frame(RandomTenBitPicture(width, height, unsigned(number)))
                                   : Coded(stream.name, source, width, height);
}

inline bool Untouched(const Bytes& picture) {
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
            MakeHeader(kFourCCs[stream.codec], stream.bits, output.biWidth, height, sample.size());
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

/// Placeholders in an expected record: any word, and an address of a value that is not 0.
constexpr LONG_PTR kAny = 0x40DE0000, kAddress = 0x40DE0001;

/// Compares an engine's last call with a record of `size` words: `words`, then `rest`.
inline void Expect(const wchar_t* library, Purpose purpose, std::size_t size, Words words,
                   LONG_PTR rest = 0) {
    words.resize(size, rest);
    const Words got = WordsOf(LastCall(library, purpose));
    ASSERT_EQ(got.size(), size);
    for (std::size_t i = 0; i < size; ++i) {
        if (words[i] == kAddress) {
            EXPECT_TRUE(got[i] > 0xFFFF && *reinterpret_cast<DWORD*>(got[i]) != 0);
        }
        words[i] = words[i] == kAny || words[i] == kAddress ? got[i] : words[i];
    }
    EXPECT_EQ(got, words);
}

}  // namespace nyx::test
