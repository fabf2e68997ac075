#include "engines/open/chroma_siting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/support/guarded_memory.h"

namespace nyx::open {
namespace {

using nyx::test::GuardedMemory;

std::vector<BYTE> Noise(std::size_t count) {
    std::mt19937 random(5);
    std::vector<BYTE> noise(count);
    for (BYTE& byte : noise) {
        byte = static_cast<BYTE>(random());
    }
    return noise;
}

// Every width, so that vectors and their tails are both met; the output ends at a guard page.
TEST(ChromaSiting, DoublesSamplesByMeans) {
    for (int count = 1; count <= 200; ++count) {
        const std::vector<BYTE> source = Noise(static_cast<std::size_t>((count + 1) / 2));
        GuardedMemory samples(source.size());
        std::copy(source.begin(), source.end(), samples.data());
        GuardedMemory out(static_cast<std::size_t>(count));
        DoubleSamples(samples.data(), count, out.data());
        for (std::size_t x = 0; x < out.size(); ++x) {
            const std::size_t right = std::min(x / 2 + x % 2, source.size() - 1);
            ASSERT_EQ(out.data()[x], (source[x / 2] + source[right] + 1) / 2) << count << ' ' << x;
        }
    }
}

TEST(ChromaSiting, InterleavesLines) {
    for (int width = 2; width <= 200; width += 2) {
        const auto pairs = static_cast<std::size_t>(width / 2);
        const std::vector<BYTE> noise = Noise(4 * pairs);
        GuardedMemory luma(2 * pairs), cb(pairs), cr(pairs), out(4 * pairs);
        std::copy_n(noise.begin(), 2 * pairs, luma.data());
        std::copy_n(noise.begin() + static_cast<std::ptrdiff_t>(2 * pairs), pairs, cb.data());
        std::copy_n(noise.begin() + static_cast<std::ptrdiff_t>(3 * pairs), pairs, cr.data());
        Interleave(luma.data(), cb.data(), cr.data(), width, out.data());
        for (std::size_t i = 0; i < pairs; ++i) {
            const BYTE expected[] = {luma.data()[2 * i], cb.data()[i], luma.data()[2 * i + 1],
                                     cr.data()[i]};
            ASSERT_TRUE(std::equal(expected, expected + 4, out.data() + 4 * i)) << width;
        }
    }
}

/// The formula in real numbers: line `y` of a picture whose chroma of field f lies `offset` field
/// lines below that field's first line, one sample for two lines.
double Expected(const ChromaPlane& plane, int fields, double offset, int y, int x) {
    const int field = y % fields;
    const int rows = (plane.height - field + fields - 1) / fields;
    const double place = (y / fields - offset) / 2;
    const double above = std::floor(place);
    const auto sample = [&](double row) {
        const int index = static_cast<int>(std::min(std::max(row, 0.0), rows - 1.0));
        return plane.Row(index * fields + field)[x];
    };
    const double share = place - above;
    return sample(above) * (1 - share) + sample(above + 1) * share;
}

TEST(ChromaSiting, InterpolatesRowsWithinTheirField) {
    const struct {
        const ChromaSiting& siting;
        double cb[2];
        double cr[2];
    } kinds[] = {
        {kDvSiting, {1, 1}, {0, 0}},
        {kMpegProgressiveSiting, {0.5, 0.5}, {0.5, 0.5}},
        {kMpegInterlacedSiting, {0.25, 0.75}, {0.25, 0.75}},
    };
    constexpr int kWidth = 37;
    for (const int height : {1, 2, 7, 16}) {
        const std::vector<BYTE> noise = Noise(static_cast<std::size_t>(kWidth * height));
        const ChromaPlane plane = {noise.data(), kWidth, kWidth, height};
        for (const auto& kind : kinds) {
            // A plane of one row has no second field.
            for (int y = 0; height >= kind.siting.fields && y < 2 * height; ++y) {
                const int field = y % kind.siting.fields;
                GuardedMemory cb(kWidth), cr(kWidth);
                InterpolateRow(plane, kind.siting.fields, kind.siting.cb, y, cb.data());
                InterpolateRow(plane, kind.siting.fields, kind.siting.cr, y, cr.data());
                for (int x = 0; x < kWidth; ++x) {
                    ASSERT_NEAR(cb.data()[x],
                                Expected(plane, kind.siting.fields, kind.cb[field], y, x), 0.5);
                    ASSERT_NEAR(cr.data()[x],
                                Expected(plane, kind.siting.fields, kind.cr[field], y, x), 0.5);
                }
            }
        }
    }
}

}  // namespace
}  // namespace nyx::open
