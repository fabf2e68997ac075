#include <algorithm>
#include <cstdlib>

#include "tests/com/zeta_encoder_fixture.h"
#include "tests/support/open_handles.h"
#include "tests/support/private_bytes.h"

namespace nyx::test {
namespace {

/// NYX_FRAMES=N has N frames of 1920x1080 instead of a few small ones.
constexpr char kFrames[] = "NYX_FRAMES";

/// Diagonal stripes that move, so that no frame is like the one before.
std::vector<BYTE> Stripes(const BITMAPINFOHEADER& header, int frame) {
    std::vector<BYTE> picture(static_cast<std::size_t>(PictureBytes(header)));
    const auto rowBytes = picture.size() / static_cast<std::size_t>(header.biHeight);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const std::size_t place =
            i % rowBytes + 3 * (i / rowBytes) + static_cast<std::size_t>(frame);
        picture[i] = static_cast<BYTE>(i % 2 ? 128 : 40 + place % 160);
    }
    return picture;
}

class ZetaEndurance : public ZetaEncoderTest {};

TEST_F(ZetaEndurance, EncodingAndDecodingTakeNoMoreMemoryOrHandlesInTheLongRun) {
    const char* asked = std::getenv(kFrames);
    const int frames = asked ? std::max(std::atoi(asked), 20) : 60;
    const Picture picture = asked ? Picture{1920, 1080} : Picture{320, 240};

    FilterRig encoder(ZetaEncoderRow());
    ASSERT_EQ(encoder.ConnectInput(kYuy2Input.Type(picture)), S_OK);
    ASSERT_EQ(encoder.ConnectOutput(), S_OK);
    ASSERT_EQ(encoder.filter->Pause(), S_OK);
    FilterRig decoder(ZetaDecoderRow());
    ASSERT_EQ(decoder.ConnectInput(FilterRig::ConnectionType(encoder.output)), S_OK);
    ASSERT_EQ(decoder.ConnectOutput(kYuy2Input.Type(picture)), S_OK);
    ASSERT_EQ(decoder.filter->Pause(), S_OK);
    decoder.sink->in.keepsSamples = false;

    const MediaType type = kYuy2Input.Type(picture);
    constexpr int kWarmUp = 10;
    std::size_t bytesBefore = 0;
    ULONG handlesBefore = 0;
    for (int i = 0; i < frames; ++i) {
        if (i == kWarmUp) {
            bytesBefore = PrivateBytes();
            handlesBefore = OpenHandles();
            ASSERT_GT(bytesBefore, 0u) << "memory is not counted";
            ASSERT_GT(handlesBefore, 0u) << "handles are not counted";
        }
        SampleProperties sample;
        sample.bytes = Stripes(type.Header(), i);
        ASSERT_EQ(encoder.source->Push(sample), S_OK) << i;
        sample.bytes = encoder.sink->in.samples().at(0).bytes;
        encoder.sink->in.Forget();
        ASSERT_EQ(decoder.source->Push(sample), S_OK) << i;
    }
    EXPECT_EQ(decoder.sink->in.sampleCount(), static_cast<std::size_t>(frames));

    const auto growth =
        static_cast<long long>(PrivateBytes()) - static_cast<long long>(bytesBefore);
    std::printf("%d frames of %ldx%ld: %lld bytes and %ld handles more than after %d\n", frames,
                picture.width, picture.height, growth,
                static_cast<long>(OpenHandles()) - static_cast<long>(handlesBefore), kWarmUp);
    // What the heap keeps for itself varies by a picture or so; a leak of one picture in ten frames
    // would be far more.
    EXPECT_LT(growth, (frames - kWarmUp) / 10LL * PictureBytes(type.Header()) + (1 << 20));
    EXPECT_EQ(OpenHandles(), handlesBefore);
}

}  // namespace
}  // namespace nyx::test
