#include "settings/quality_presets.h"

#include <gtest/gtest.h>

namespace nyx {
namespace {

TEST(QualityPresets, ReplaceOrClampWhatIsStored) {
    struct Case {
        LONG preset, quant, size;
        LONG expectedPreset, expectedQuant, expectedSize;
    };
    const Case cases[] = {
        {0, 9, 9, 0, 3, 50},          {1, 9, 9, 1, 4, 40}, {2, 9, 9, 2, 5, 30},
        {3, 9, 9, 3, 19, 4},          {4, 9, 9, 4, 9, 9},  {4, 25, 0, 4, 19, 4},
        {4, 3, 101, 4, 4, 100},       {7, 9, 9, 2, 5, 30}, {-1, 9, 9, 2, 5, 30},
        {0x7FFFFFFF, 1, 1, 2, 5, 30},
    };
    for (const Case& c : cases) {
        const EncoderParameters ruled = ApplyPresetRules({3, c.quant, c.size, c.preset});
        EXPECT_EQ(ruled.color_space, 3);
        EXPECT_EQ(ruled.preset, c.expectedPreset) << c.preset;
        EXPECT_EQ(ruled.quant_scale, c.expectedQuant) << c.preset;
        EXPECT_EQ(ruled.max_stream_size, c.expectedSize) << c.preset;
    }
}

}  // namespace
}  // namespace nyx
