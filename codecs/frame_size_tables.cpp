#include "codecs/frame_size_tables.h"

#include <algorithm>
#include <span>

namespace nyx {
namespace {

constexpr REFERENCE_TIME kDuration2997 = 333666;  // 10^7 * 1001 / 30000, truncated
constexpr REFERENCE_TIME kDuration25 = 400000;

/// Field order of interlaced frames, and display width over stored width.
struct FrameSize {
    LONG width;
    LONG height;
    LONG fieldOrder;
    PixelAspect aspect;
};

constexpr LONG kTop = kTopFieldFirst, kBottom = kBottomFieldFirst;

// A wide-screen frame of a size that is usually 4:3 states its own aspect.
constexpr FrameSize kUsualSizes[] = {
    {1920, 1080, kTop, {1, 1}},
    {1440, 1080, kTop, {1920, 1440}},
    {1280, 1080, kTop, {1920, 1280}},
    {1280, 720, kProgressive, {1, 1}},
    {960, 720, kProgressive, {1280, 960}},
    {720, 576, kBottom, {768, 720}},
    {720, 486, kTop, {648, 720}},
    {720, 480, kBottom, {648, 720}},
    {704, 480, kProgressive, {648, 720}},
    {704, 576, kProgressive, {768, 720}},
    {640, 480, kProgressive, {648, 640}},
    {320, 240, kProgressive, {648, 640}},
    {160, 120, kProgressive, {648, 640}},
    {352, 480, kProgressive, {648, 352}},
    {352, 240, kProgressive, {648, 704}},
    {352, 288, kProgressive, {768, 720}},
    {176, 144, kProgressive, {768, 720}},
    {1280, 1024, kProgressive, {1, 1}},
    {1280, 960, kProgressive, {1, 1}},
    {1024, 768, kProgressive, {1, 1}},
    {800, 600, kProgressive, {1, 1}},
};

/// DV's wide-screen pictures in square pixels.
constexpr FrameSize kWideDvSizes[] = {{1024, 576, kBottom, {1, 1}}, {856, 480, kBottom, {1, 1}}};

const FrameSize* FindIn(std::span<const FrameSize> sizes, std::int64_t width, std::int64_t height) {
    const auto found = std::find_if(sizes.begin(), sizes.end(), [&](const FrameSize& size) {
        return size.width == width && size.height == height;
    });
    return found == sizes.end() ? nullptr : &*found;
}

const FrameSize* FindSize(LONG width, LONG height) {
    const FrameSize* usual = FindIn(kUsualSizes, width, height);
    return usual ? usual : FindIn(kWideDvSizes, width, height);
}

}  // namespace

LONG DefaultFieldOrder(LONG width, LONG height, REFERENCE_TIME averageFrameDuration) {
    if (averageFrameDuration != kDuration2997 && averageFrameDuration != kDuration25) {
        return kProgressive;
    }
    const FrameSize* size = FindSize(width, height);
    return size ? size->fieldOrder : LONG{kProgressive};
}

PixelAspect DefaultPixelAspect(LONG width, LONG height) {
    const FrameSize* size = FindSize(width, height);
    return size ? size->aspect : PixelAspect{1, 1};
}

bool IsUsualSize(std::int64_t width, std::int64_t height) {
    return FindIn(kUsualSizes, width, height) != nullptr;
}

}  // namespace nyx
