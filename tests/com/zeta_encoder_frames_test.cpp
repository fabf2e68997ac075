#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

#include "tests/com/zeta_encoder_fixture.h"

namespace nyx::test {
namespace {

constexpr Picture kPicture = {160, 120};

/// Smooth waves with some detail, alike in every channel of neighbouring pixels; `seed` moves them.
/// Where pixels have alpha, the left half is clear and the right half opaque.
std::vector<BYTE> Waves(const BITMAPINFOHEADER& header, int seed = 0) {
    const auto bytes = static_cast<std::size_t>(header.biBitCount / 8);
    const auto width = static_cast<std::size_t>(header.biWidth);
    std::vector<BYTE> picture(static_cast<std::size_t>(PictureBytes(header)));
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const auto x = static_cast<double>(i / bytes % width);
        const auto y = static_cast<double>(i / bytes / width);
        const double phase = static_cast<double>(i % bytes) + seed;
        picture[i] = static_cast<BYTE>(128 + 45 * (std::sin(x / 19 + phase) + std::cos(y / 13)));
        if (bytes == 4 && i % bytes == 3) {
            picture[i] = 2 * x < static_cast<double>(width) ? 0 : 255;
        }
    }
    return picture;
}

/// Root of the mean squared difference. Pixels without opacity are left out: what is under a clear
/// matte is not kept.
double Distance(const std::vector<BYTE>& a, const std::vector<BYTE>& b, WORD bitCount) {
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (bitCount == 32 && a[i | 3] == 0) {
            continue;
        }
        sum += (double{1} * a[i] - b[i]) * (double{1} * a[i] - b[i]);
        ++count;
    }
    return std::sqrt(sum / static_cast<double>(count));
}

class ZetaEncoderFrames : public ZetaEncoderTest {
  protected:
    /// An encoder that is ready for pictures of a kind.
    struct Running : FilterRig {
        explicit Running(const EncoderInput& kind, const Picture& size = kPicture)
            : FilterRig(ZetaEncoderRow()), type(kind.Type(size)) {
            sink->in.ownAllocator = MakeCom<TestAllocator>();
            EXPECT_EQ(ConnectInput(type), S_OK);
            EXPECT_EQ(ConnectOutput(), S_OK);
            EXPECT_EQ(filter->Pause(), S_OK);
        }
        HRESULT PushBytes(std::vector<BYTE> bytes) {
            SampleProperties sample;
            sample.bytes = std::move(bytes);
            return source->Push(sample);
        }
        HRESULT PushPicture(int seed = 0) { return PushBytes(Waves(type.Header(), seed)); }
        /// The one frame that a picture becomes.
        std::vector<BYTE> Encode(int seed = 0) {
            sink->in.Forget();
            EXPECT_EQ(PushPicture(seed), S_OK);
            const auto samples = sink->in.samples();
            EXPECT_EQ(samples.size(), 1u);
            return samples.empty() ? std::vector<BYTE>() : samples[0].bytes;
        }
        void Set(LONG quantScale, LONG maxStreamSize, LONG colorSpace = 0) {
            const EncodeParameterBlock block = {colorSpace, quantScale, maxStreamSize, 4};
            EXPECT_EQ(ParametersOf(filter)->SetParameter(&block, FALSE), S_OK);
        }
        MediaType type;
    };

    /// What the decoder makes of a frame, in the layout of the encoder's input.
    std::vector<BYTE> Decode(const Running& encoder, const EncoderInput& input,
                             const std::vector<BYTE>& frame) {
        FilterRig decoder(ZetaDecoderRow());
        EXPECT_EQ(decoder.ConnectInput(FilterRig::ConnectionType(encoder.output)), S_OK);
        EXPECT_EQ(decoder.ConnectOutput(input.Type(kPicture)), S_OK);
        EXPECT_EQ(decoder.filter->Pause(), S_OK);
        SampleProperties sample;
        sample.bytes = frame;
        EXPECT_EQ(decoder.source->Push(sample), S_OK);
        const auto pictures = decoder.sink->in.samples();
        return pictures.empty() ? std::vector<BYTE>() : pictures[0].bytes;
    }
};

TEST_F(ZetaEncoderFrames, APictureOfEveryKindComesBackFromTheDecoder) {
    for (const EncoderInput& input : kEncoderInputs) {
        SCOPED_TRACE(input.name);
        Running encoder(input);
        encoder.Set(4, 100);
        const std::vector<BYTE> picture = Waves(encoder.type.Header());
        const std::vector<BYTE> frame = encoder.Encode();
        ASSERT_GE(frame.size(), 4u);
        EXPECT_LT(frame.size(), picture.size() / 2);
        EXPECT_EQ(std::memcmp(frame.data(), input.tag, std::strlen(input.tag)), 0);
        EXPECT_EQ(encoder.sink->in.samples()[0].typeSpecificFlags, 0u) << "no field flags";
        const std::vector<BYTE> back = Decode(encoder, input, frame);
        ASSERT_EQ(back.size(), picture.size());
        // Half of the chroma of RGB is dropped and the matrix rounds; a flipped or shifted picture
        // would be off by tens.
        EXPECT_LT(Distance(back, picture, input.bitCount), 8.0);
    }
}

TEST_F(ZetaEncoderFrames, ATopDownPictureBecomesTheSameFrame) {
    for (const EncoderInput& input : {kEncoderInputs[1], kArgbInput}) {
        Running upright(input);
        Running topDown(input, {kPicture.width, -kPicture.height});
        const std::vector<BYTE> rows = Waves(upright.type.Header());
        const std::size_t rowBytes = rows.size() / static_cast<std::size_t>(kPicture.height);
        std::vector<BYTE> flipped;
        for (std::size_t at = rows.size(); at > 0; at -= rowBytes) {
            const auto end = rows.begin() + static_cast<std::ptrdiff_t>(at);
            flipped.insert(flipped.end(), end - static_cast<std::ptrdiff_t>(rowBytes), end);
        }
        ASSERT_EQ(upright.PushBytes(rows), S_OK);
        ASSERT_EQ(topDown.PushBytes(flipped), S_OK);
        EXPECT_EQ(upright.sink->in.samples().at(0).bytes, topDown.sink->in.samples().at(0).bytes);
    }
}

TEST_F(ZetaEncoderFrames, TheNextFrameIsMadeByNewParameters) {
    Running encoder(kYuy2Input);
    encoder.Set(4, 100);
    const std::size_t fine = encoder.Encode().size();
    encoder.Set(19, 100);
    const std::size_t coarse = encoder.Encode().size();
    EXPECT_LT(coarse, fine);

    // The engine is told the budget, and a wrong one never exceeds the buffer of 46080 bytes.
    const LONG picture = 160 * 120 * 2;
    const struct {
        LONG maxStreamSize;
        DWORD budget;
    } cases[] = {{100, picture},
                 {30, picture * 30 / 100},
                 {4, picture * 4 / 100},
                 {0, 80 * 16},
                 {120, 46080},
                 {100000, 46080},
                 {-1, 46080}};
    for (const auto& c : cases) {
        encoder.Set(7, c.maxStreamSize);
        encoder.Encode();
        const standin::Call call = LastCall(L"rkzcore.dll", standin::kEncode);
        EXPECT_EQ(call.words[6], c.budget) << c.maxStreamSize;
        EXPECT_EQ(call.words[11], 7u);
    }
}

TEST_F(ZetaEncoderFrames, TheColourSpaceIsThatOfTheNextFrame) {
    Running encoder(kEncoderInputs[1]);
    encoder.Set(4, 100, 0);
    const std::vector<BYTE> full = encoder.Encode();
    encoder.Set(4, 100, 1);
    const std::vector<BYTE> studio = encoder.Encode();
    EXPECT_NE(full, studio);
    encoder.Set(4, 100, 0);
    EXPECT_EQ(encoder.Encode(), full);
}

TEST_F(ZetaEncoderFrames, AFrameThatFailsIsNotDeliveredAndTheNextOneIs) {
    for (const EncoderInput& input : kEncoderInputs) {
        Running encoder(input);
        std::vector<BYTE> cut = Waves(encoder.type.Header());
        cut.pop_back();
        EXPECT_EQ(encoder.PushBytes(cut), E_FAIL) << "one byte short of a picture";
        for (const char* fault : {"access", "divide", "throw", "longer"}) {
            const Misbehaviour engine((std::string("encode:") + fault).c_str());
            EXPECT_EQ(encoder.PushPicture(), E_FAIL) << fault;
        }
        EXPECT_EQ(encoder.sink->in.sampleCount(), 0u);
        EXPECT_EQ(encoder.PushPicture(), S_OK);
        EXPECT_EQ(encoder.sink->in.sampleCount(), 1u);
    }
}

TEST_F(ZetaEncoderFrames, ParametersChangeOnAnotherThreadWhileFramesAreEncoded) {
    Running encoder(kYuy2Input);
    encoder.sink->in.keepsSamples = false;
    std::atomic<bool> ending{false};
    std::atomic<int> changes{0};
    std::thread host([&] {
        const auto parameters = ParametersOf(encoder.filter);
        for (LONG i = 0; !ending; ++i) {
            const LONG sizes[] = {0, 4, 30, 100, 5000, LONG_MAX, -1};
            const EncodeParameterBlock block = {i % 2, i % 20, sizes[i % 7], i % 5};
            EncodeParameterBlock read{};
            parameters->SetParameter(&block, i % 64 == 0);
            parameters->GetParameter(&read, i % 64 == 1);
            ++changes;
        }
    });
    constexpr int kFrames = 200;
    for (int i = 0; i < kFrames; ++i) {
        EXPECT_EQ(encoder.PushPicture(i), S_OK) << i;
    }
    ending = true;
    host.join();
    EXPECT_EQ(encoder.sink->in.sampleCount(), static_cast<std::size_t>(kFrames));
    EXPECT_GT(changes, kFrames);

    // What was set last counts: the same frame as from an encoder that never knew anything else.
    encoder.sink->in.keepsSamples = true;
    encoder.Set(9, 50);
    Running fresh(kYuy2Input);
    fresh.Set(9, 50);
    EXPECT_EQ(encoder.Encode(), fresh.Encode());
}

}  // namespace
}  // namespace nyx::test
