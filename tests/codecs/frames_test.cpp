/// Frames of every codec but those of DV: chunks, wider outputs, alpha, threads, failing engines,
/// cut frames and inaccessible memory.

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

}  // namespace
}  // namespace nyx::test
