#include <stdexcept>

#include "engines/standin/frame_coder.h"
#include "platform/fourcc.h"
#include "tests/soak/stream.h"
#include "tests/support/module_classes.h"
#include "tests/support/q210_frames.h"

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

/// A decoder's row of the tests' catalogue, by its name there.
StreamPlan DecoderPlan(const FilterUnderTest& row) {
    StreamPlan plan = {row, row.picture, {}};
    for (int number = 0; number < kPictures; ++number) {
        std::vector<BYTE> frame;
        switch (row.inputFourCC) {
            case FourCC("QZTA"):
                frame = CodedFrame(row.inputBitCount == 32 ? "zeta-alpha" : "zeta", row.picture,
                                   number);
                break;
            case FourCC("QZT2"):
                frame = CodedFrame("zeta2", row.picture, number);
                break;
            case FourCC("QLLC"):
                frame = CodedFrame("lossless-yuy2", row.picture, number);
                break;
            case FourCC("QMIC"):
                frame = CodedFrame("mpeg2", row.picture, number);
                break;
            case FourCC("Q210"):
                frame =
                    test::Q210Frame(row.picture.width, row.picture.height,
                                    [&](LONG x, LONG y) -> test::TenBitPixel {
                                        const auto at = static_cast<unsigned>(x + y);
                                        return {64 + (at + 50u * unsigned(number)) % 800, 512, 400};
                                    });
                break;
            default:  // DV, whose stand-in makes a picture of all of the frame's bytes
                frame = row.sample(row.picture);
                frame.back() = static_cast<BYTE>(number);
        }
        plan.frames.push_back(std::move(frame));
    }
    return plan;
}

StreamPlan EncoderPlan() {
    StreamPlan plan = {};
    plan.row.name = "ZetaEncoder";
    plan.row.role = test::Role::kEncoder;
    for (const test::ModuleClass& entry : test::ModuleClasses()) {
        plan.row.clsid = entry.isCompressor ? entry.clsid : plan.row.clsid;
    }
    plan.row.inputFourCC = FourCC("YUY2");
    plan.row.inputBitCount = 16;
    plan.picture.width = 160;
    plan.picture.height = 120;
    for (int number = 0; number < kPictures; ++number) {
        plan.frames.push_back(RampPicture(16, plan.picture.width, plan.picture.height, number));
    }
    return plan;
}

}  // namespace

std::vector<StreamPlan> AllPlans() {
    std::vector<StreamPlan> plans;
    for (const FilterUnderTest& row : test::DecodersUnderTest()) {
        plans.push_back(DecoderPlan(row));
    }
    plans.push_back(EncoderPlan());
    return plans;
}

}  // namespace nyx::soak
