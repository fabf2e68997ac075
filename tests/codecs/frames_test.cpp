/// Frames of every codec but those of DV: chunks, wider outputs, alpha, threads, failing engines,
/// cut frames and inaccessible memory. Then of one codec: the packed layouts of Zeta and Zeta2, the
/// kinds of the lossless codec and the memory behind its frames, the dropped lines of MPEG-2.

#include <atomic>
#include <latch>

#include "tests/codecs/engine_frames.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

/// One frame of each stream.
class EachFrame : public Frames, public testing::WithParamInterface<Stream> {
  protected:
    void SetUp() override { ASSERT_EQ(Decode(stream_, frame_, output_, &bare_), S_OK); }

    const Stream& stream_ = GetParam();
    ICodec& codec_ = *codecs_.all[stream_.codec];
    const BITMAPINFOHEADER output_ = PictureOf(stream_.pictureBits);
    const Bytes frame_ = FrameOf(stream_);
    const BITMAPINFOHEADER input_ =
        MakeHeader(codec_.GetFourCC(), stream_.bits, kWidth, kHeight, frame_.size());
    Bytes bare_, again_;  ///< the frame as a picture, and for another picture
};
INSTANTIATE_TEST_SUITE_P(Of, EachFrame, testing::ValuesIn(kStreams), [](const auto& stream) {
    std::string name = stream.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST_P(EachFrame, DecodesAlikeBehindEveryInfoChunk) {
    for (const Bytes& chunk : {InfoChunk(1, 2, 3, 4), Chunk("INFO", {}), Chunk("INFO", {7})}) {
        EXPECT_EQ(Decode(stream_, chunk + frame_, output_, &again_), S_OK);
        EXPECT_EQ(again_, bare_);
    }
}

TEST_P(EachFrame, LeavesTheRestOfAWiderOutputAlone) {
    const std::size_t row = kWidth * stream_.pictureBits / 8u, gap = 6 * stream_.pictureBits / 8u;
    again_.assign((row + gap) * kHeight, kGuard);
    const BITMAPINFOHEADER wider = PictureOf(stream_.pictureBits, kWidth + 6);
    ASSERT_EQ(Decompress(stream_, input_, frame_.data(), wider, again_.data()), S_OK);
    for (std::size_t y = 0; y < kHeight; ++y) {
        const BYTE* at = &again_[y * (row + gap)];
        ASSERT_EQ(std::memcmp(at, &bare_[y * row], row), 0);
        ASSERT_EQ(std::count(at + row, at + row + gap, kGuard), LONG(gap));
    }
}

TEST_P(EachFrame, WithAlphaIsBlackUnderTheMatteUnlessPremultiplied) {
    const Bytes source = SmoothPicture(output_);
    for (const BYTE black : {BYTE{0}, BYTE{0x10}}) {
        WriteCodecSetting(codec_.GetFourCC(), L"color_space", black);
        Codecs codecs;
        ICodec& codec = *codecs.all[stream_.codec];
        ASSERT_EQ(Decode(stream_, frame_, output_, &again_, 1, &codec), S_OK);
        ASSERT_EQ(Decode(stream_, frame_, output_, &bare_, black == 0 ? 0 : 2, &codec), S_OK);
        for (std::size_t i = 0; stream_.alpha && i < source.size(); i += 4) {
            ASSERT_EQ(again_[i + 3], source[i + 3]);
            const bool clear = source[i + 3] == 0 && stream_.codec != kLossless;
            ASSERT_EQ(bare_[i + 1], clear ? black : again_[i + 1]) << i;
        }
    }
}

TEST_P(EachFrame, IsRefusedForOtherSizesAndWithoutHeadersOrMemory) {
    Bytes picture(kWidth * (kHeight + 1) * 4, kGuard);
    for (const BITMAPINFOHEADER& output :
         {PictureHeader(16, kWidth - 2, kHeight), PictureHeader(16, kWidth, kHeight + 1),
          PictureHeader(16, kWidth, kHeight - 1), PictureHeader(8, kWidth, kHeight)}) {
        EXPECT_EQ(Decompress(stream_, input_, frame_.data(), output, picture.data()), E_FAIL);
        EXPECT_TRUE(Untouched(picture));
    }
    for (int missing = 0; missing < 4; ++missing) {
        BITMAPINFOHEADER header = input_;
        BITMAPINFOHEADER* const from = missing == 0 ? nullptr : &header;
        BITMAPINFOHEADER* const to = missing == 1 ? nullptr : &header;
        const BYTE* const data = missing == 2 ? nullptr : frame_.data();
        BYTE* const room = missing == 3 ? nullptr : bare_.data();
        EXPECT_EQ(codec_.Decompress(from, data, to, false, room, 0, 0), E_POINTER);
        EXPECT_EQ(codec_.Compress(from, false, data, to, room, 0, 0, 0),
                  stream_.codec == kMpeg ? E_NOTIMPL : E_POINTER);
    }
}

TEST_P(EachFrame, OfAFailingEngineFailsWithoutAnEffectOnTheNext) {
    const bool mpeg = stream_.codec == kMpeg;
    Bytes coded(codec_.GetMaxCompressedSize(&output_, stream_.alpha)), black;
    for (std::size_t i = 0; i < bare_.size(); ++i) {
        black.push_back(i % 2 == 0 ? 0x10 : 0x80);
    }
    // A length of 0 fits any buffer. Lossless frames have no probe, and the MPEG-2 engine's has no
    // length.
    for (const std::string what :
         {"probe:access", "probe:throw", "probe:longer", "probe:zero", "decode:access",
          "decode:divide", "decode:throw", "encode:access", "encode:longer", "encode:negative",
          "encode:full"}) {
        SCOPED_TRACE(what);
        const bool probes = what[0] == 'p', encodes = what[0] == 'e';
        const bool asked = stream_.codec != kTenBit && !(probes && stream_.codec == kLossless) &&
                           !(mpeg && (what == "probe:longer" || encodes));
        const bool fails = asked && !encodes && what != "probe:zero";
        {
            const Misbehaviour misbehave(what.c_str());
            EXPECT_EQ(Decode(stream_, frame_, output_, &again_), fails ? E_FAIL : S_OK);
            EXPECT_EQ(Untouched(again_), fails && (probes || !mpeg));
            EXPECT_EQ(again_ == black, fails && !probes && mpeg);
            auto output = MakeHeader(codec_.GetFourCC(), stream_.bits, kWidth, kHeight);
            const HRESULT result = codec_.Compress(&output_, stream_.alpha, bare_.data(), &output,
                                                   coded.data(), 0, 0, 0);
            const bool refused = asked && encodes && what != "encode:full";
            EXPECT_EQ(result, mpeg ? E_NOTIMPL : HRESULT{refused ? E_FAIL : S_OK});
            EXPECT_EQ(output.biSizeImage != 0, result == S_OK);
        }
        EXPECT_EQ(Decode(stream_, frame_, output_, &again_), S_OK);
        EXPECT_EQ(again_, bare_);
    }
}

TEST_P(EachFrame, ThatIsCutReachesAnEngineOrFailsWithoutAReadPastItsEnd) {
    const wchar_t* library = stream_.codec == kTenBit ? L"" : FindCoding(stream_.name)->library;
    const Bytes frame = InfoChunk(0, 0, 1, 1) + frame_;
    for (std::size_t size = 0; size < 100; ++size) {
        SCOPED_TRACE(size);
        Bytes cut = frame;
        cut.resize(size < 99 ? size : frame.size() - 1);
        const DWORD calls = LastCall(library, kDecode).count;
        const HRESULT result = Decode(stream_, cut, output_, &again_);
        const Call last = LastCall(library, kDecode);
        EXPECT_TRUE((stream_.codec != kTenBit && last.count != calls) ||
                    (result == E_FAIL && Untouched(again_)));
        EXPECT_TRUE(stream_.codec != kLossless || FAILED(result) || last.result == 0);
    }
}

TEST_F(Frames, OfTwoThreadsHaveSeparateMemoryAndALargeOneLeavesNoneBehind) {
    const auto decode = [&](const Stream& stream, LONG width, LONG height, int number) {
        const BITMAPINFOHEADER shown = PictureOf(24, width, height);
        return [=, this, frame = FrameOf(stream, width, height, number)](Bytes* picture) {
            EXPECT_EQ(Decode(stream, frame, shown, picture), S_OK);
        };
    };
    for (const Stream* stream : {&kLosslessStreams[0], &kTenBitStream}) {
        std::atomic<int> wrong{0};
        std::latch start(2);
        std::vector<std::jthread> threads;
        for (const int number : {1, 2}) {
            const auto work = decode(*stream, kWidth, kHeight, number);
            Bytes alone;
            work(&alone);
            threads.emplace_back([&, work, alone] {
                start.arrive_and_wait();
                Bytes result;
                for (int round = 0; round < 200; ++round) {
                    work(&result);
                    wrong += result == alone ? 0 : 1;
                }
            });
        }
        threads.clear();
        EXPECT_EQ(wrong, 0) << stream->name;
    }
    Bytes picture;
    const auto large = decode(kLosslessStreams[2], 2560, 1440, 0);
    picture.reserve(2560 * 1440 * 3);
    const std::size_t before = CountHeld().privateBytes;
    large(&picture);
    EXPECT_LT(CountHeld().privateBytes, before + picture.size() + 1920 * 1080 * 4);
}

TEST_F(Frames, InInaccessibleMemoryFailWithoutALeak) {
    const GuardedMemory nothing(0);  // no access at all
    const Stream& rgb24 = kLosslessStreams[1];
    const std::tuple<Stream, Bytes, WORD> cases[] = {
        {kStreams[1], Hollow("ZTA1", kWidth, kHeight, 1), 32},
        {rgb24, FrameOf(rgb24), 32},
        {kMpegStream, FrameOf(kMpegStream), 24},
        {kTenBitStream, FrameOf(kTenBitStream), 24}};
    Bytes room(kWidth * kHeight * 4);
    std::size_t before = 0;
    for (int round = 0; round < 50; ++round) {
        before = round == 10 ? HeapBlocks() : before;
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
    }
    EXPECT_LE(HeapBlocks(), before + 4) << "lost, or in the runtime's caches";
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
            auto header = MakeHeader(kFourCCs[stream.codec], stream.bits, kWidth, kHeight);
            to->assign(kWidth * kHeight * 5, 0);
            return codecs_.all[stream.codec]->Compress(&input, stream.alpha, packed.data(), &header,
                                                       to->data(), 0, 0, by);
        };
        ASSERT_EQ(encode(mode % 2 == 0, &other), S_OK);
        ASSERT_EQ(encode(mode, &coded), S_OK);
        EXPECT_EQ(coded != other, keepsAlpha);
        ASSERT_EQ(Decode(stream, coded, output, &back, 1), S_OK);
        for (std::size_t i = 0; i < source.size(); ++i) {
            if (stream.alpha && i % 4 == 3) {
                ASSERT_EQ(back[i], keepsAlpha ? source[i] : 255) << i;
            } else if (!stream.alpha || source[i | 3] == 255) {
                ASSERT_NEAR(back[i], source[i], stream.alpha ? 24 : 8) << i;
            }
        }
    }
}

TEST_F(Frames, WithoutAnIndexAreRefusedButSkippedByZeta2) {
    Bytes memory(kWidth * kHeight * 4);
    const BITMAPINFOHEADER uyvy = MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight);
    const BITMAPINFOHEADER v210 = MakeHeader(FourCC("v210"), 20, kWidth, kHeight);
    const std::tuple<int, BITMAPINFOHEADER, LONG, HRESULT> cases[] = {
        {kZeta, uyvy, 0, E_FAIL},
        {kZeta, MakeHeader(FourCC("b64a"), 64, 16, 16), 0, E_FAIL},
        {kLossless, v210, 512, E_FAIL},
        {kTenBit, v210, 0, E_FAIL},
        {kTenBit, PictureHeader(32, kWidth - 1, kHeight), 0, E_FAIL},
        {kZeta2, uyvy, 0, S_OK},
        {kZeta2, PictureHeader(24, -160, 120), 0, E_FAIL},
        {kZeta2, PictureHeader(32, 0x7FFFFFFE, 2), 0, E_FAIL},
        {kZeta2, v210, 431, E_FAIL},
        {kZeta2, v210, 432, S_OK},
    };
    const Bytes frame = Hollow("QZ21", kWidth, kHeight, 0);
    const BITMAPINFOHEADER input = MakeHeader(FourCC("QZT2"), 24, kWidth, kHeight, 24);
    for (const auto& [codec, picture, stride, result] : cases) {
        BITMAPINFOHEADER output = MakeHeader(kFourCCs[codec], 24, kWidth, kHeight);
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

TEST_F(Frames, OfEveryLosslessKindDecodeToEveryOutput) {
    for (DWORD code = 0; code < 4; ++code) {  // definition and range
        const LONG width = code < 2 ? 62 : 960, height = code < 2 ? 37 : 720;
        WriteCodecSetting(FourCC("QLLC"), L"color_space", code % 2 == 0 ? 5 : 0);
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

TEST_F(Frames, OfKnownLosslessKindsReachTheEngineCopiedOnlyBeforeUnreadableMemory) {
    const BITMAPINFOHEADER picture = PictureHeader(16, 16, 8);
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
        EXPECT_EQ(LastCall(kLlc, kDecode).words[1] == Word(memory.data()), behind == 64);
    }
    const DWORD calls = LastCall(kLlc, kDecode).count;
    for (const BYTE kind : {BYTE{4}, BYTE{255}}) {
        Bytes back;
        EXPECT_EQ(Decode(kLosslessStreams[0], {'L', kind, 'S', '1'}, picture, &back), E_FAIL);
    }
    EXPECT_EQ(LastCall(kLlc, kDecode).count, calls);
}

TEST_F(Frames, OfMpegLoseTheLinesAboveThePictureAndHaveThreeBytesPerPixelInEveryRgb) {
    constexpr LONG kPictures[][4] = {{720, 576, 608, 32}, {720, 480, 512, 32},
                                     {720, 486, 512, 26}, {720, 486, 486, 0},
                                     {704, 480, 512, 0},  {1920, 1080, 1088, 8}};
    for (const auto& [width, height, codedHeight, dropped] : kPictures) {
        SCOPED_TRACE(testing::Message() << width << 'x' << height << " of " << codedHeight);
        const Bytes source = SmoothPicture(PictureHeader(16, width, codedHeight));
        const Bytes frame = Coded("mpeg2", source, width, codedHeight);
        Bytes picture, rgb;
        ASSERT_EQ(Decode(kMpegStream, frame, PictureHeader(16, width, height), &picture), S_OK);
        EXPECT_TRUE(
            std::equal(picture.begin(), picture.end(), source.begin() + dropped * width * 2));
        const auto size = static_cast<LONG_PTR>(frame.size());
        Expect(kM2vi, kProbe, 14, {kAny, kAny, size});
        Expect(kM2vi, kDecode, 14,
               {kAny, kAny, size, kAny, 2 * width, 2, width, height, 0, 0, 0, 0, 0,
                dropped == 0 ? 0 : kAny});
        const Call call = LastCall(kM2vi, kDecode);
        EXPECT_EQ(call.inner[2], dropped);
        EXPECT_EQ(call.result, kDone) << "its state record was zeroed";

        const Bytes colours = Converted(picture, kYuy2, kBgr3, width, height, width >= 960 ? 3 : 1);
        for (const WORD bits : {WORD{24}, WORD{32}}) {
            ASSERT_EQ(Decode(kMpegStream, frame, PictureOf(bits, width, height), &rgb), S_OK);
            Bytes expected(rgb.size(), kGuard);
            for (LONG y = 0; y < height; ++y) {
                std::copy_n(colours.begin() + y * width * 3, width * 3,
                            expected.begin() + y * width * bits / 8);
            }
            EXPECT_TRUE(rgb == expected) << bits;
        }
    }
    // A frame that is cut shows no old memory in RGB.
    Bytes cut = FrameOf(kMpegStream), rgb;
    cut.pop_back();
    EXPECT_EQ(Decode(kMpegStream, cut, PictureOf(24), &rgb), S_OK);
    EXPECT_TRUE(std::equal(rgb.begin() + 3, rgb.end(), rgb.begin()));
}

}  // namespace
}  // namespace nyx::test
