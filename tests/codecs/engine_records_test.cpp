/// The call records that reach the engines, word by word, for every layout, definition and range.

#include "tests/codecs/engine_frames.h"

namespace nyx::test {
namespace {

// Words that an engine sets.
static_assert(offsetof(ZetaAlphaDecodeRecord, codedLength) == 2 * sizeof(void*) &&
              offsetof(MpegIntraState, codedHeight) == 2 * sizeof(LONG));

/// One layout in a high- or standard-definition picture of full or studio range.
class EngineRecords : public testing::TestWithParam<int> {
  protected:
    EngineRecords() {
        const LONG colorSpace = place_ % 2 == 0 ? 0 : 3;
        for (const auto& [name, value] :
             {std::pair(L"preset", 4), {L"quant_scale", 7}, {L"color_space", int{colorSpace}}}) {
            WriteCodecSetting(FourCC("QZT2"), name, value);
        }
        codecs_.emplace().zeta.SetParameters({colorSpace, 11, 33, 4}, false);
    }
    HRESULT Decode(ICodec& codec, const Bytes& frame, bool alphaOut) {
        const auto input = MakeHeader(codec.GetFourCC(), 24, width_, height_, frame.size());
        return codec.Decompress(&input, frame.data(), &picture_, alphaOut, memory_.data(),
                                callersStride_, 0);
    }
    /// Stops in the engine, after it has logged the record.
    void Encode(ICodec& codec, bool alphaIn) {
        const Misbehaviour stop("encode:divide");
        auto output = MakeHeader(codec.GetFourCC(), alphaIn ? 32 : 24, width_, height_);
        EXPECT_EQ(codec.Compress(&picture_, alphaIn, memory_.data(), &output, out_.data(), 0,
                                 DWORD(callersStride_), 0),
                  E_FAIL);
    }

    const int place_ = GetParam() % 4;
    const Layout& layout_ = kLayouts[GetParam() / 4];
    const LONG width_ = place_ < 2 ? 960 : 160, height_ = place_ < 2 ? 720 : 120;
    const BITMAPINFOHEADER picture_ = MakeHeader(layout_.fourcc, layout_.bits, width_, height_);
    const bool isV210_ = layout_.fourcc == FourCC("v210"), rgb_ = layout_.fourcc == BI_RGB;
    const bool hasAlpha_ = layout_.bits == 32;
    const LONG_PTR w_ = width_, h_ = height_, bytes_ = layout_.bytes;
    const LONG_PTR row_ = isV210_ ? (w_ + 47) / 48 * 128 : w_ * bytes_;
    const LONG callersStride_ = static_cast<LONG>(isV210_ ? row_ : 0);
    Bytes memory_ = Bytes(static_cast<std::size_t>(row_ * h_)), out_ = Bytes(64);
    const LONG_PTR outAt_ = Word(out_.data());
    const LONG_PTR first_ = Word(memory_.data()) + (rgb_ ? (h_ - 1) * row_ : 0);
    const LONG_PTR stride_ = rgb_ ? -row_ : row_;
    const LONG_PTR core_ = layout_.callback ? kAddress : layout_.core[place_];
    const LONG_PTR alpha_ = layout_.callback ? kAddress : layout_.alpha[place_];
    const LONG_PTR zeta2_ = layout_.zeta2[place_] == 0 ? kAddress : layout_.zeta2[place_];
    const PrivateUserRegistry registry_;
    const EngineSearch search_;
    std::optional<Codecs> codecs_;  ///< with the settings above
};
INSTANTIATE_TEST_SUITE_P(LayoutsAndPlaces, EngineRecords,
                         testing::Range(0, 4 * int{std::size(kLayouts)}));

TEST_P(EngineRecords, OfZetaFramesGoToTheEngineOfTheirTag) {
    const Bytes opaque = Hollow("ZCF1", width_, height_, 0);
    const Bytes translucent = Hollow("ZTA1", width_, height_, 1);
    const LONG_PTR at = Word(opaque.data()), alphaAt = Word(translucent.data());
    for (const bool alpha : {false, true}) {
        ASSERT_EQ(Decode(codecs_->zeta, opaque, alpha), S_OK);
        Expect(kCore, kProbe, 13, {0x40000000, kOnes, kOnes, kOnes, kOnes, at}, kOnes);
        Expect(kCore, kDecode, 13, {0, first_, stride_, bytes_, core_, at, 24, 2});
        ASSERT_EQ(Decode(codecs_->zeta, translucent, alpha), S_OK);
        Words probe(9, kOnes);
        probe[0] = 0x40000000;
        probe[8] = alphaAt;
        Expect(kAlpha, kProbe, 14, probe, kOnes);
        Expect(kAlpha, kDecode, 14, {0, first_, stride_, bytes_, 0, 0, 0, alpha_, alphaAt});
    }
}

TEST_P(EngineRecords, OfZetaPicturesHaveTheLiveParameters) {
    const LONG_PTR blocks = (w_ + 15) / 16 * ((h_ + 15) / 16);
    Encode(codecs_->zeta, hasAlpha_);
    if (hasAlpha_) {
        Expect(kAlpha, kEncode, 14,
               {0, first_, stride_, bytes_, 0, 0, 0, alpha_, outAt_, w_, h_, 11, 9});
    } else if (layout_.bits <= 24 && !isV210_) {
        Expect(kCore, kEncode, 14,
               {0x04000000, first_, stride_, bytes_, core_, outAt_, w_ * h_ * 2 * 33 / 100,
                blocks * 4096, 2, w_, h_, 11, 9});
    }
}

TEST_P(EngineRecords, OfZeta2PointToAPlaneAndHaveTheStoredQuality) {
    LONG_PTR codes[4];
    for (const LONG kind : {0, 1, 2, 3}) {  // 1 and 2 have alpha
        const Bytes frame = Hollow("QZ21", width_, height_, kind);
        ASSERT_EQ(Decode(codecs_->zeta2, frame, kind == 1 || kind == 2), S_OK);
        Expect(kZeta2Core, kProbe, 11, {0, 0, 0, Word(frame.data())});
        Expect(kZeta2Core, kDecode, 11, {0, kAny, zeta2_, Word(frame.data()), 24});
        const Call call = LastCall(kZeta2Core, kDecode);
        EXPECT_EQ(Words(call.inner, call.inner + 3), (Words{first_, stride_, 0}));
        codes[kind] = call.words[2];
    }
    EXPECT_EQ(std::pair(codes[0], codes[1]), std::pair(codes[3], codes[2]));
    const LONG_PTR layers = hasAlpha_ ? 2 : 1;
    const LONG_PTR size = isV210_ ? row_ * h_ : w_ * h_ * 20 / 8 * layers * 30 / 100;
    Encode(codecs_->zeta2, hasAlpha_);
    Expect(kZeta2Core, kEncode, 12,
           {0, kAny, zeta2_, outAt_, size, w_ * h_ / bytes_ / 8, hasAlpha_ ? 2 : 0, w_, h_, 7, 11});
}

TEST_P(EngineRecords, OfTheLosslessEngineNameTheKindOfTheFrame) {
    const auto native = static_cast<BYTE>(GetParam() / 4);
    for (BYTE kind = native; native < 3 && kind <= (native == 2 ? 3 : native); ++kind) {
        Bytes frame = {'L', kind};
        frame.resize(100);  // readable beyond its end, so that it is decoded in place
        EXPECT_EQ(Decode(codecs_->lossless, frame, kind == 3), E_FAIL) << "as reported";
        Expect(kLlc, kDecode, 6, {kind, Word(frame.data()), first_, stride_, w_, h_});
        Encode(codecs_->lossless, kind == 3);
        Expect(kLlc, kEncode, 6, {kind, outAt_, first_, stride_, w_, h_});
    }
}

}  // namespace
}  // namespace nyx::test
