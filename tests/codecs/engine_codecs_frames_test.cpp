// What all codecs on engines make of frames, arguments and engines that are of no use.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "tests/codecs/engine_codec_support.h"

namespace nyx {
namespace {

using test::NamedCodec;
using test::RgbHeader;
using test::Yuy2Header;
using Bytes = std::vector<BYTE>;

constexpr LONG kWidth = 160;
constexpr LONG kHeight = 120;
constexpr BYTE kGuard = 0x5A;

const BITMAPINFOHEADER kYuy2Picture = Yuy2Header(kWidth, kHeight);
const BITMAPINFOHEADER kRgb32Picture = RgbHeader(32, kWidth, kHeight);

/// A stream of one codec, opaque or with alpha, with a frame of it and the picture it was made of.
struct Stream {
    const NamedCodec& codec;
    bool alpha;
    const BITMAPINFOHEADER& picture;
    Bytes frame;
};

class EngineCodecFrames : public ::testing::Test {
  protected:
    test::EngineSearch search_;
    test::EngineCodecs codecs_;
    std::vector<Stream> streams_;

    void SetUp() override {
        for (const NamedCodec& codec : codecs_.all) {
            streams_.push_back({codec, false, kYuy2Picture, {}});
            if (codec.alpha) {
                streams_.push_back({codec, true, kRgb32Picture, {}});
            }
        }
        for (Stream& stream : streams_) {
            stream.frame =
                stream.codec.encodes ? Encode(stream) : test::MpegIntraFrame(kWidth, kHeight);
            ASSERT_FALSE(stream.frame.empty()) << stream.codec.name;
        }
    }

    static Bytes Encode(const Stream& stream) {
        return test::EncodePicture(*stream.codec.codec, stream.picture, stream.alpha,
                                   test::SmoothPicture(stream.picture), stream.alpha ? 32 : 24);
    }

    static HRESULT Decode(ICodec& codec, const Stream& stream, const Bytes& sample,
                          const BITMAPINFOHEADER& output, Bytes* picture) {
        const BITMAPINFOHEADER input = test::FrameHeaderFor(
            codec.GetFourCC(), stream.alpha ? 32 : 24, kWidth, kHeight, sample.size());
        picture->assign(kWidth * kHeight * 4 + 4096, kGuard);
        return codec.Decompress(&input, sample.data(), &output, stream.alpha, picture->data(), 0,
                                0);
    }
    static HRESULT Decode(const Stream& stream, const Bytes& sample, Bytes* picture) {
        return Decode(*stream.codec.codec, stream, sample, stream.picture, picture);
    }

    static bool Untouched(const Bytes& picture) { return picture == Bytes(picture.size(), kGuard); }
};

TEST_F(EngineCodecFrames, AreDecodedBehindAnInfoChunkLikeBareOnes) {
    for (const Stream& stream : streams_) {
        Bytes bare;
        ASSERT_EQ(Decode(stream, stream.frame, &bare), S_OK) << stream.codec.name;
        for (DWORD payload : {0u, 16u, 61u}) {
            Bytes chunked;
            ASSERT_EQ(Decode(stream, test::WithInfo(stream.frame, payload), &chunked), S_OK);
            EXPECT_EQ(chunked, bare) << stream.codec.name << " behind " << payload;
        }
    }
}

TEST_F(EngineCodecFrames, ThatAreNoneAreRefusedAndNothingIsWritten) {
    const auto claiming = [](const Bytes& frame, DWORD payload) {
        Bytes sample = test::WithInfo(frame, 16);
        std::memcpy(&sample[4], &payload, 4);
        return sample;
    };
    struct Case {
        const char* name;
        std::function<Bytes(const Bytes& frame)> sample;
    };
    const Case cases[] = {
        {"one byte", [](const Bytes& f) { return Bytes{f[0]}; }},
        {"INFO and nothing else", [](const Bytes&) { return test::WithInfo({}, 16); }},
        {"INFO and one byte", [](const Bytes& f) { return test::WithInfo({f[0]}, 16); }},
        {"INFO exactly to the end",
         [&](const Bytes& f) { return claiming(f, static_cast<DWORD>(f.size()) + 16); }},
        {"INFO longer than the sample",
         [&](const Bytes& f) { return claiming(f, static_cast<DWORD>(f.size()) + 17); }},
        {"INFO of all ones", [&](const Bytes& f) { return claiming(f, 0xFFFFFFFF); }},
        {"INFO wrapping round", [&](const Bytes& f) { return claiming(f, 0xFFFFFFF8); }},
    };
    for (const Stream& stream : streams_) {
        for (const Case& c : cases) {
            Bytes picture;
            EXPECT_EQ(Decode(stream, c.sample(stream.frame), &picture), E_FAIL)
                << stream.codec.name << ": " << c.name;
            EXPECT_TRUE(Untouched(picture)) << stream.codec.name << ": " << c.name;
        }
    }
}

TEST_F(EngineCodecFrames, AreNotDecodedIntoOutputsThatDoNotBelong) {
    for (const BITMAPINFOHEADER& output :
         {Yuy2Header(kWidth - 2, kHeight), Yuy2Header(kWidth, kHeight - 1),
          Yuy2Header(kWidth, kHeight + 1), Yuy2Header(kWidth, LONG_MIN),
          RgbHeader(16, kWidth, kHeight), RgbHeader(8, kWidth, kHeight),
          test::MakeHeader(FourCC("UYVY"), 16, kWidth, kHeight)}) {
        for (const Stream& stream : streams_) {
            Bytes picture;
            EXPECT_EQ(Decode(*stream.codec.codec, stream, stream.frame, output, &picture), E_FAIL)
                << stream.codec.name << " " << output.biWidth << " by " << output.biHeight;
            EXPECT_TRUE(Untouched(picture));
        }
    }
}

TEST_F(EngineCodecFrames, NeedEveryArgument) {
    BITMAPINFOHEADER stream = test::MakeHeader(0, 24, kWidth, kHeight);
    Bytes bytes(64);
    BYTE* const data = bytes.data();
    for (const NamedCodec& named : codecs_.all) {
        ICodec& codec = *named.codec;
        const BITMAPINFOHEADER& picture = kYuy2Picture;
        EXPECT_EQ(codec.Decompress(nullptr, data, &picture, false, data, 0, 0), E_POINTER);
        EXPECT_EQ(codec.Decompress(&stream, nullptr, &picture, false, data, 0, 0), E_POINTER);
        EXPECT_EQ(codec.Decompress(&stream, data, nullptr, false, data, 0, 0), E_POINTER);
        EXPECT_EQ(codec.Decompress(&stream, data, &picture, false, nullptr, 0, 0), E_POINTER);
        const HRESULT refused = named.encodes ? E_POINTER : E_NOTIMPL;
        EXPECT_EQ(codec.Compress(nullptr, false, data, &stream, data, 0, 0, 0), refused);
        EXPECT_EQ(codec.Compress(&picture, false, nullptr, &stream, data, 0, 0, 0), refused);
        EXPECT_EQ(codec.Compress(&picture, false, data, nullptr, data, 0, 0, 0), refused);
        EXPECT_EQ(codec.Compress(&picture, false, data, &stream, nullptr, 0, 0, 0), refused);
    }
}

TEST_F(EngineCodecFrames, FailWithTheirEngineAndTheNextOneIsDecoded) {
    for (const char* what : {"probe:access", "probe:divide", "probe:throw", "probe:longer",
                             "decode:access", "decode:divide", "decode:throw"}) {
        for (const Stream& stream : streams_) {
            SCOPED_TRACE(testing::Message() << stream.codec.name << " " << what);
            const bool probing = what[0] == 'p';
            const bool mpeg = stream.codec.codec == &codecs_.mpeg;
            const bool lossless = stream.codec.codec == &codecs_.lossless;
            // What no engine is asked for: lossless frames tell their kind by themselves, and the
            // MPEG-2 engine's first call tells no length.
            const bool notAsked = probing && (lossless || (mpeg && what[6] == 'l'));
            Bytes picture;
            {
                const test::Misbehaviour misbehave(what);
                EXPECT_EQ(Decode(stream, stream.frame, &picture), notAsked ? S_OK : E_FAIL);
            }
            EXPECT_EQ(Untouched(picture), !notAsked && (probing || !mpeg));
            EXPECT_EQ(Decode(stream, stream.frame, &picture), S_OK);
        }
    }
}

TEST_F(EngineCodecFrames, AreNotMadeByAFailingEngineButByTheNextCall) {
    for (const char* what : {"encode:access", "encode:divide", "encode:throw", "encode:longer"}) {
        for (const Stream& stream : streams_) {
            if (stream.codec.encodes) {
                {
                    const test::Misbehaviour misbehave(what);
                    EXPECT_TRUE(Encode(stream).empty()) << stream.codec.name << " " << what;
                }
                EXPECT_EQ(Encode(stream), stream.frame) << stream.codec.name << " " << what;
            }
        }
    }
}

TEST(EngineCodecsAlone, RefuseFramesWithoutTheirEngines) {
    const test::EngineSearch nowhere(L"none");
    test::EngineCodecs codecs;
    const char* const tags[] = {"ZCF1", "QZ21", "L\0\0\0", "\0\0\1\xB3"};
    for (std::size_t i = 0; i < std::size(tags); ++i) {
        ICodec& codec = *codecs.all[i].codec;
        Bytes frame(64);
        std::memcpy(frame.data(), tags[i], 4);
        const BITMAPINFOHEADER input =
            test::FrameHeaderFor(codec.GetFourCC(), 24, kWidth, kHeight, frame.size());
        Bytes picture(kWidth * kHeight * 2, kGuard);
        EXPECT_EQ(
            codec.Decompress(&input, frame.data(), &kYuy2Picture, false, picture.data(), 0, 0),
            E_FAIL)
            << codecs.all[i].name;
        EXPECT_EQ(picture, Bytes(picture.size(), kGuard));
        EXPECT_TRUE(test::EncodePicture(codec, kYuy2Picture, false, picture, 24).empty());
    }
}

}  // namespace
}  // namespace nyx
