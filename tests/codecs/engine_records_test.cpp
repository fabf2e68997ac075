/// The call records that reach the engines, word by word, for every layout, definition and range.

#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

// Words that an engine sets.
static_assert(offsetof(ZetaAlphaDecodeRecord, codedLength) == 2 * sizeof(void*) &&
              offsetof(MpegIntraState, codedHeight) == 2 * sizeof(LONG));

/// One layout in a high- or standard-definition picture of full or studio range.
struct Scene {
    int number;
    const int place = number % 4;
    const Layout& layout = kLayouts[number / 4];
    const LONG width = place < 2 ? 960 : 160, height = place < 2 ? 720 : 120;
    const BITMAPINFOHEADER picture = MakeHeader(layout.fourcc, layout.bits, width, height);
    const bool isV210 = layout.fourcc == FourCC("v210"), rgb = layout.fourcc == BI_RGB;
    const bool hasAlpha = layout.bits == 32;
    const LONG_PTR w = width, h = height, bytes = layout.bytes;
    const LONG_PTR row = isV210 ? (w + 47) / 48 * 128 : w * bytes;
    Bytes memory = Bytes(static_cast<std::size_t>(row * h)), out = Bytes(64);
    const LONG_PTR outAt = Word(out.data());
    const LONG_PTR first = Word(memory.data()) + (rgb ? (h - 1) * row : 0);
    const LONG_PTR stride = rgb ? -row : row;
    const LONG_PTR core = layout.callback ? kAddress : layout.core[place];
    const LONG_PTR alpha = layout.callback ? kAddress : layout.alpha[place];
    const LONG_PTR zeta2 = layout.zeta2[place] == 0 ? kAddress : layout.zeta2[place];
    Codecs codecs{};

    DWORD CallersStride() const { return static_cast<DWORD>(isV210 ? row : 0); }
    HRESULT Decode(ICodec& codec, const Bytes& frame, bool alphaOut) {
        const auto input = MakeHeader(codec.GetFourCC(), 24, width, height, frame.size());
        return codec.Decompress(&input, frame.data(), &picture, alphaOut, memory.data(),
                                static_cast<LONG>(CallersStride()), 0);
    }
    /// Stops in the engine, after it has logged the record.
    void Encode(ICodec& codec, bool alphaIn) {
        const Misbehaviour stop("encode:divide");
        auto output = MakeHeader(codec.GetFourCC(), alphaIn ? 32 : 24, width, height);
        EXPECT_EQ(codec.Compress(&picture, alphaIn, memory.data(), &output, out.data(), 0,
                                 CallersStride(), 0),
                  E_FAIL);
    }
};

class EngineRecords : public Frames {
  protected:
    template <class Body>
    void ForEachScene(Body body) {
        registry_.Store(SettingsKey(kZeta2), L"preset", 4);
        registry_.Store(SettingsKey(kZeta2), L"quant_scale", 7);
        for (int number = 0; number < 4 * int{std::size(kLayouts)}; ++number) {
            SCOPED_TRACE(testing::Message() << "layout " << number / 4 << " place " << number % 4);
            const LONG colorSpace = number % 2 == 0 ? 0 : 3;
            registry_.Store(SettingsKey(kZeta2), L"color_space", colorSpace);
            Scene scene{.number = number};
            scene.codecs.zeta.SetParameters({colorSpace, 11, 33, 4}, false);
            body(scene);
        }
    }
};

TEST_F(EngineRecords, OfZetaFramesGoToTheEngineOfTheirTag) {
    ForEachScene([](Scene& s) {
        const Bytes opaque = Hollow("ZCF1", s.width, s.height, 0);
        const Bytes translucent = Hollow("ZTA1", s.width, s.height, 1);
        const LONG_PTR at = Word(opaque.data()), alphaAt = Word(translucent.data());
        for (const bool alpha : {false, true}) {
            ASSERT_EQ(s.Decode(s.codecs.zeta, opaque, alpha), S_OK);
            Expect(kCore, kProbe, 13, {0x40000000, kOnes, kOnes, kOnes, kOnes, at}, kOnes);
            Expect(kCore, kDecode, 13, {0, s.first, s.stride, s.bytes, s.core, at, 24, 2});
            ASSERT_EQ(s.Decode(s.codecs.zeta, translucent, alpha), S_OK);
            Words probe(9, kOnes);
            probe[0] = 0x40000000;
            probe[8] = alphaAt;
            Expect(kAlpha, kProbe, 14, probe, kOnes);
            Expect(kAlpha, kDecode, 14, {0, s.first, s.stride, s.bytes, 0, 0, 0, s.alpha, alphaAt});
        }
    });
}

TEST_F(EngineRecords, OfZetaPicturesHaveTheLiveParameters) {
    ForEachScene([](Scene& s) {
        const LONG_PTR blocks = (s.w + 15) / 16 * ((s.h + 15) / 16);
        s.Encode(s.codecs.zeta, s.hasAlpha);
        if (s.hasAlpha) {
            Expect(kAlpha, kEncode, 14,
                   {0, s.first, s.stride, s.bytes, 0, 0, 0, s.alpha, s.outAt, s.w, s.h, 11, 9});
        } else if (s.layout.bits <= 24 && !s.isV210) {
            Expect(kCore, kEncode, 14,
                   {0x04000000, s.first, s.stride, s.bytes, s.core, s.outAt,
                    s.w * s.h * 2 * 33 / 100, blocks * 4096, 2, s.w, s.h, 11, 9});
        }
    });
}

TEST_F(EngineRecords, OfZeta2FramesPointToAPlane) {
    ForEachScene([](Scene& s) {
        LONG_PTR codes[4];
        for (const LONG kind : {0, 1, 2, 3}) {  // 1 and 2 have alpha
            const Bytes frame = Hollow("QZ21", s.width, s.height, kind);
            ASSERT_EQ(s.Decode(s.codecs.zeta2, frame, kind == 1 || kind == 2), S_OK);
            Expect(kZeta2Core, kProbe, 11, {0, 0, 0, Word(frame.data())});
            Expect(kZeta2Core, kDecode, 11, {0, kAny, s.zeta2, Word(frame.data()), 24});
            const Call call = LastCall(kZeta2Core, kDecode);
            EXPECT_EQ(Words(call.inner, call.inner + 3), (Words{s.first, s.stride, 0}));
            codes[kind] = call.words[2];
        }
        EXPECT_EQ(std::pair(codes[0], codes[1]), std::pair(codes[3], codes[2]));
    });
}

TEST_F(EngineRecords, OfZeta2PicturesHaveTheStoredQuality) {
    ForEachScene([](Scene& s) {
        const LONG_PTR layers = s.hasAlpha ? 2 : 1;
        const LONG_PTR size = s.isV210 ? s.row * s.h : s.w * s.h * 20 / 8 * layers * 30 / 100;
        s.Encode(s.codecs.zeta2, s.hasAlpha);
        Expect(kZeta2Core, kEncode, 12,
               {0, kAny, s.zeta2, s.outAt, size, s.w * s.h / s.bytes / 8, s.hasAlpha ? 2 : 0, s.w,
                s.h, 7, 11});
    });
}

TEST_F(EngineRecords, OfTheLosslessEngineNameTheKindOfTheFrame) {
    ForEachScene([](Scene& s) {
        const auto native = static_cast<BYTE>(s.number / 4);
        for (BYTE kind = native; native < 3 && kind <= (native == 2 ? 3 : native); ++kind) {
            Bytes frame = {'L', kind};
            frame.resize(100);  // readable beyond its end, so that it is decoded in place
            EXPECT_EQ(s.Decode(s.codecs.lossless, frame, kind == 3), E_FAIL) << "as reported";
            Expect(kLlc, kDecode, 6, {kind, Word(frame.data()), s.first, s.stride, s.w, s.h});
            s.Encode(s.codecs.lossless, kind == 3);
            Expect(kLlc, kEncode, 6, {kind, s.outAt, s.first, s.stride, s.w, s.h});
        }
    });
}

}  // namespace
}  // namespace nyx::test
