#include <stdexcept>

#include "engines/standin/frame_coder.h"
#include "platform/fourcc.h"
#include "tests/soak/stream.h"
#include "tests/support/frames.h"

namespace nyx::soak {
namespace {

using test::FilterUnderTest;
using test::Picture;

/// So many different pictures go round in each stream: a picture that is delivered twice, or one
/// too late, has the wrong checksum.
constexpr int kPictures = 5;
constexpr LONG kQuantScale = 4;

/// A picture of its own for each number, in any packed layout: ramps that move, and opaque.
std::vector<BYTE> RampPicture(WORD bits, LONG width, LONG height, int number) {
    const LONG pixelBytes = bits / 8;
    std::vector<BYTE> picture(static_cast<std::size_t>(width * pixelBytes * height));
    for (LONG y = 0; y < height; ++y) {
        for (LONG x = 0; x < width * pixelBytes; ++x) {
            const bool alpha = bits == 32 && x % 4 == 3;
            picture[static_cast<std::size_t>(y * width * pixelBytes + x)] =
                static_cast<BYTE>(alpha ? 255 : 40 + (x / 4 + y + 31 * number) % 160);
        }
    }
    return picture;
}

std::vector<BYTE> CodedFrame(const char* codingName, const Picture& picture, int number) {
    const standin::Coding* coding = standin::FindCoding(codingName);
    if (!coding) {
        throw std::runtime_error(std::string("no such coding: ") + codingName);
    }
    return standin::FrameCoder(*coding).Code(
        RampPicture(coding->sourceBits, picture.width, picture.height, number).data(),
        picture.width, picture.height, kQuantScale);
}

/// A frame of the row's format whose picture is its own for each number.
std::vector<BYTE> Frame(const FilterUnderTest& row, int number) {
    const Picture& picture = row.picture;
    switch (row.inputFourCC) {
        case FourCC("QZTA"):
            return CodedFrame(row.inputBitCount == 32 ? "zeta-alpha" : "zeta", picture, number);
        case FourCC("QZT2"):
            return CodedFrame("zeta2", picture, number);
        case FourCC("QLLC"):
            return CodedFrame("lossless-yuy2", picture, number);
        case FourCC("QMIC"):
            return CodedFrame("mpeg2", picture, number);
        case FourCC("Q210"):
            return test::Q210Frame(picture.width, picture.height, [&](LONG x, LONG y) {
                const auto at = static_cast<unsigned>(x + y);
                return test::TenBitPixel{64 + (at + 50u * unsigned(number)) % 800, 512, 400};
            });
        case FourCC("YUY2"):
            return RampPicture(16, picture.width, picture.height, number);
        default:  // DV, whose stand-in makes a picture of all of the frame's bytes
            std::vector<BYTE> frame = row.sample(picture);
            frame.back() = static_cast<BYTE>(number);
            return frame;
    }
}

}  // namespace

std::vector<StreamPlan> AllPlans() {
    std::vector<StreamPlan> plans;
    for (const FilterUnderTest& row : test::CatalogueUnderTest()) {
        StreamPlan plan = {row, {}};
        for (int number = 0; number < kPictures; ++number) {
            plan.frames.push_back(Frame(row, number));
        }
        plans.push_back(std::move(plan));
    }
    return plans;
}

}  // namespace nyx::soak
