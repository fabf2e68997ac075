#include "codecs/matte.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace nyx {
namespace {

using Bytes = std::vector<BYTE>;

Bytes Floats(std::initializer_list<float> values) {
    Bytes bytes(values.size() * 4);
    std::memcpy(bytes.data(), values.begin(), bytes.size());
    return bytes;
}

/// One pixel and what it becomes.
struct Case {
    int index;
    Bytes pixel;
    Bytes cleaned;
};

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kTiny = std::numeric_limits<float>::min();
const Bytes kFloatBlack = {0, 0, 0, 0, 0, 0, 0, 0, 0x81, 0x80, 0, 0x3F, 0x81, 0x80, 0, 0x3F};

const Case kCases[] = {
    {5, {1, 2, 3, 0}, {0, 0, 0, 0}},
    {6, {1, 2, 3, 0}, {0x10, 0x10, 0x10, 0}},
    {7, {1, 2, 3, 0}, {0, 0, 0, 0}},
    {8, {1, 2, 3, 0}, {0x10, 0x10, 0x10, 0}},
    {9, {255, 255, 255, 0}, {0, 0, 0, 0}},
    {10, {255, 255, 255, 0}, {0x10, 0x10, 0x10, 0}},
    {11, {0, 0, 0, 0}, {0, 0, 0, 0}},
    {12, {0, 0, 0, 0}, {0x10, 0x10, 0x10, 0}},
    {9, {1, 2, 3, 1}, {1, 2, 3, 1}},
    {12, {1, 2, 3, 255}, {1, 2, 3, 255}},
    {14, {9, 9, 9, 16}, {0x80, 0x10, 0x80, 0x10}},
    {15, {9, 9, 9, 0}, {0x80, 0x10, 0x80, 0x10}},
    {15, {9, 9, 9, 17}, {9, 9, 9, 17}},
    {16, {0, 9, 9, 9}, {0, 0, 0x80, 0x80}},
    {17, {1, 9, 9, 9}, {1, 9, 9, 9}},
    {18, {0, 0, 1, 2, 3, 4, 5, 6}, {0, 0, 0, 0, 0, 0, 0, 0}},
    {21, {0, 0, 1, 2, 3, 4, 5, 6}, {0, 0, 0, 0, 0, 0, 0, 0}},
    {20, {0, 1, 1, 2, 3, 4, 5, 6}, {0, 1, 1, 2, 3, 4, 5, 6}},
    {19, {1, 0, 1, 2, 3, 4, 5, 6}, {1, 0, 1, 2, 3, 4, 5, 6}},
    {22, Floats({0.0f, 1, 1, 1}), kFloatBlack},
    {23, Floats({-0.0f, 1, 1, 1}), kFloatBlack},
    {23, Floats({-1.0f, 1, 1, 1}), kFloatBlack},
    {23, Floats({kNan, 1, 1, 1}), kFloatBlack},
    {23, Floats({kTiny, 1, 1, 1}), Floats({kTiny, 1, 1, 1})},
    {0, {1, 0}, {1, 0}},
    {1, {1, 2, 0}, {1, 2, 0}},
    {13, {1, 0}, {1, 0}},
    {24, {0, 0}, {0, 0}},
    {25, {0, 0}, {0, 0}},
};

TEST(Matte, KnowsWhatIsTransparentAndWhatIsBlackInEachLayout) {
    for (const Case& c : kCases) {
        for (LONG width = 1; width <= 9; ++width) {  // whole vectors and tails
            Bytes picture;
            Bytes expected;
            for (LONG x = 0; x < width; ++x) {
                picture.insert(picture.end(), c.pixel.begin(), c.pixel.end());
                expected.insert(expected.end(), c.cleaned.begin(), c.cleaned.end());
            }
            const auto bytes = static_cast<LONG>(c.pixel.size());
            CleanMatte({c.index, bytes, picture.data(), bytes * width, width, 1});
            EXPECT_EQ(picture, expected) << "index " << c.index << " width " << width;
        }
    }
}

TEST(Matte, WalksTheRowsByTheirStrideAndLeavesTheGapsAlone) {
    constexpr LONG kWidth = 7;
    constexpr LONG kHeight = 5;
    constexpr LONG kStride = 40;
    std::mt19937 random(5);
    for (bool bottomUp : {false, true}) {
        Bytes picture(kStride * kHeight);
        for (BYTE& byte : picture) {
            byte = static_cast<BYTE>(random() % 3);  // alpha 0 often
        }
        Bytes expected = picture;
        for (LONG y = 0; y < kHeight; ++y) {
            for (LONG x = 0; x < kWidth; ++x) {
                BYTE* pixel = &expected[static_cast<std::size_t>(y * kStride + x * 4)];
                if (pixel[3] == 0) {
                    pixel[0] = pixel[1] = pixel[2] = 0x10;
                }
            }
        }
        BYTE* first = picture.data() + (bottomUp ? (kHeight - 1) * kStride : 0);
        CleanMatte({kIndexArgb32 + 1, 4, first, bottomUp ? -kStride : kStride, kWidth, kHeight});
        EXPECT_EQ(picture, expected);
    }
}

}  // namespace
}  // namespace nyx
