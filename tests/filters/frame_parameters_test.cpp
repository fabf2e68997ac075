#include "filters/frame_parameters.h"

#include <gtest/gtest.h>

#include <limits>

namespace nyx {
namespace {

TEST(PictureAspect, IsReducedAndNeverDividesByZero) {
    constexpr LONG kMin = std::numeric_limits<LONG>::min();
    constexpr LONG kMax = std::numeric_limits<LONG>::max();
    struct Case {
        LONG width, height, pixelX, pixelY;
        std::int64_t x, y;
    };
    const Case cases[] = {
        {720, 480, 648, 720, 27, 20},     {720, 576, 768, 720, 4, 3},
        {1000, 1000, 1, 1, 1, 1},         {1440, 1080, 1920, 1440, 16, 9},
        {720, 480, 0, 0, 0, 0},           {720, 480, 5, 0, 1, 0},
        {720, 480, 0, 7, 0, 1},           {0, 0, 4, 3, 0, 0},
        {720, 480, -1, -1, -3, -2},       {720, -480, 648, 720, 27, -20},
        {kMin, kMin, kMax, kMax, -1, -1},
    };
    for (const Case& c : cases) {
        const PictureAspect aspect = PictureAspectOf(c.width, c.height, c.pixelX, c.pixelY);
        EXPECT_EQ(aspect.x, c.x) << c.width << " " << c.pixelX;
        EXPECT_EQ(aspect.y, c.y) << c.height << " " << c.pixelY;
    }
}

}  // namespace
}  // namespace nyx
