#include "tests/support/coded_frames.h"

#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>

#include "engines/standin/frame_coder.h"

namespace nyx::test {
namespace {

/// Luma and chroma, or a colour and alpha: grey in every layout, and opaque.
std::vector<BYTE> GreyPicture(WORD bits, LONG width, LONG height) {
    constexpr BYTE kGrey = 126;
    constexpr BYTE kChroma = 128;
    std::vector<BYTE> picture(static_cast<std::size_t>(width * bits / 8 * height), kGrey);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        if (bits == 16 && i % 2 == 1) {
            picture[i] = kChroma;
        } else if (bits == 32 && i % 4 == 3) {
            picture[i] = 255;
        }
    }
    return picture;
}

}  // namespace

std::vector<BYTE> GreyFrame(const char* name, LONG width, LONG height) {
    static std::mutex mutex;
    static std::map<std::tuple<std::string, LONG, LONG>, std::vector<BYTE>> frames;
    const std::lock_guard<std::mutex> hold(mutex);
    std::vector<BYTE>& frame = frames[{name, width, height}];
    if (frame.empty()) {
        const standin::Coding* coding = standin::FindCoding(name);
        if (!coding) {
            throw std::runtime_error(std::string("no such coding: ") + name);
        }
        frame = standin::FrameCoder(*coding).Code(
            GreyPicture(coding->sourceBits, width, height).data(), width, height, 1);
    }
    return frame;
}

std::vector<BYTE> PlainDvFrame(std::size_t size, bool fiftyFields, BYTE signalType, bool wide) {
    constexpr std::size_t kVideoSource = 448;  // VAUX block 5, pack 9
    constexpr std::size_t kVideoControl = 453;
    std::vector<BYTE> frame(size);
    frame[kVideoSource] = 0x60;
    frame[kVideoSource + 3] = static_cast<BYTE>((fiftyFields ? 0x20 : 0) | signalType);
    frame[kVideoControl] = 0x61;
    frame[kVideoControl + 2] = wide ? 2 : 0;
    return frame;
}

}  // namespace nyx::test
