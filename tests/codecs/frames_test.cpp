/// Frames of every codec but DV: chunks, wider outputs, alpha, threads, failing engines, cut frames
/// and inaccessible memory.

#include "tests/codecs/engine_frames.h"
#include "tests/support/leaks.h"
#include "tests/support/together.h"

namespace nyx::test {
namespace {

TEST_F(Frames, DecodeAlikeBehindEveryInfoChunk) {
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
        const Bytes frame = FrameOf(stream);
        Bytes bare, again;
        ASSERT_EQ(Decode(stream, frame, output, &bare), S_OK);
        for (const Bytes& chunk : {InfoChunk(1, 2, 3, 4), Chunk("INFO", {}), Chunk("INFO", {7})}) {
            EXPECT_EQ(Decode(stream, chunk + frame, output, &again), S_OK);
            EXPECT_EQ(again, bare);
        }
    }
}

TEST_F(Frames, LeaveTheRestOfAWiderOutputAlone) {
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        const Bytes frame = FrameOf(stream);
        Bytes bare, again;
        ASSERT_EQ(Decode(stream, frame, PictureOf(stream.pictureBits), &bare), S_OK);
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
    }
}

TEST_F(Frames, OfZetaAndZeta2HaveAlphaByTheFrameNotTheHeader) {
    for (const Stream& stream : kStreams) {
        if (stream.codec == kZeta || stream.codec == kZeta2) {
            const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
            const Bytes frame = FrameOf(stream);
            Bytes bare, again;
            ASSERT_EQ(Decode(stream, frame, output, &bare), S_OK);
            Stream other = stream;  // the tag or the probe decides, not the header
            other.bits = static_cast<WORD>(24 + 32 - stream.bits);
            EXPECT_EQ(Decode(other, frame, output, &again), S_OK);
            EXPECT_EQ(again, bare);
        }
    }
}

TEST_F(Frames, WithoutAlphaDecodeWithoutLoss) {
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
        Bytes bare;
        if (!stream.alpha) {
            ASSERT_EQ(Decode(stream, FrameOf(stream), output, &bare), S_OK);
            EXPECT_EQ(bare, stream.codec != kTenBit
                                ? SmoothPicture(output)
                                : ReferenceYuy2(RandomTenBitPicture(kWidth, kHeight, 3)));
        }
    }
}

TEST_F(Frames, WithAlphaAreBlackUnderTheMatteUnlessPremultiplied) {
    for (const Stream& stream : kStreams) {
        if (!stream.alpha) {
            continue;
        }
        SCOPED_TRACE(stream.name);
        const BITMAPINFOHEADER output = PictureOf(stream.pictureBits);
        const Bytes source = SmoothPicture(output), frame = FrameOf(stream);
        Bytes bare, again;
        for (const BYTE black : {BYTE{0}, BYTE{0x10}}) {
            registry_.Store(SettingsKey(stream.codec), L"color_space", black);
            Codecs codecs;
            ICodec& codec = *codecs.all[stream.codec];
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

TEST_F(Frames, AreRefusedForPicturesOfOtherSizes) {
    Bytes picture(kWidth * (kHeight + 1) * 4, kGuard);
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        const Bytes frame = FrameOf(stream);
        const auto input =
            MakeHeader(FourCCOf(stream.codec), stream.bits, kWidth, kHeight, frame.size());
        for (const BITMAPINFOHEADER& output :
             {Yuy2Header(kWidth - 2, kHeight), Yuy2Header(kWidth, kHeight + 1),
              Yuy2Header(kWidth, kHeight - 1), RgbHeader(8, kWidth, kHeight)}) {
            EXPECT_EQ(Decompress(stream, input, frame.data(), output, picture.data()), E_FAIL);
            EXPECT_TRUE(Untouched(picture));
        }
    }
}

TEST_F(Frames, AreRefusedWithoutHeadersOrMemory) {
    Bytes picture(kWidth * kHeight * 4);
    for (const Stream& stream : kStreams) {
        SCOPED_TRACE(stream.name);
        ICodec& codec = *codecs_.all[stream.codec];
        auto input = MakeHeader(codec.GetFourCC(), stream.bits, kWidth, kHeight, 100);
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

TEST_F(Frames, OfTwoThreadsHaveSeparateMemoryAndALargeOneLeavesNoneBehind) {
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

TEST_F(Frames, OfAFailingEngineFailWithoutAnEffectOnTheNext) {
    for (const Stream& stream : kStreams) {
        ICodec& codec = *codecs_.all[stream.codec];
        const Bytes frame = FrameOf(stream);
        const BITMAPINFOHEADER source = PictureOf(stream.pictureBits);
        const bool mpeg = stream.codec == kMpeg;
        Bytes picture, good, coded(codec.GetMaxCompressedSize(&source, stream.alpha));
        ASSERT_EQ(Decode(stream, frame, source, &good), S_OK);
        // A length of 0 is within any. Lossless frames have no probe, and the MPEG-2 engine's has
        // no length.
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
                const bool refused = asked && encodes && what != "encode:full";
                EXPECT_EQ(result, mpeg ? E_NOTIMPL : HRESULT{refused ? E_FAIL : S_OK});
                EXPECT_EQ(output.biSizeImage != 0, result == S_OK);
            }
            EXPECT_EQ(Decode(stream, frame, source, &picture), S_OK);
            EXPECT_EQ(picture, good);
        }
    }
}

TEST_F(Frames, ThatAreCutReachAnEngineOrFailWithoutAReadPastTheirEnd) {
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
