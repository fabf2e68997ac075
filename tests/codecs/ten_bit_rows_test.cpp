#include "codecs/ten_bit_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "convert/cpu_info.h"
#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::TenBitPicture;

class TenBitRows : public testing::TestWithParam<const TenBitRowKernels*> {
  protected:
    void SetUp() override {
        if (GetParam() == &kTenBitRowsSse41 && !HasCpuFeature(kCpuSse41)) {
            GTEST_SKIP() << "this processor has no SSE4.1";
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Kernels, TenBitRows,
                         testing::Values(&kTenBitRowsSsse3, &kTenBitRowsSse41));

/// Exact-size heap rows, so that the sanitizer sees every byte read or written outside.
std::unique_ptr<BYTE[]> ExactCopy(const BYTE* data, std::size_t size) {
    std::unique_ptr<BYTE[]> copy(new BYTE[size]);
    std::copy(data, data + size, copy.get());
    return copy;
}

TEST_P(TenBitRows, UnpackEqualsThePlainRuleAtEveryWidth) {
    for (LONG width = 2; width <= 200; width += 2) {
        const TenBitPicture picture =
            test::RandomTenBitPicture(width, 1, static_cast<unsigned>(width));
        const std::vector<BYTE> expected = test::ReferenceYuy2(picture);
        for (const BYTE filler : {BYTE{0}, BYTE{0xFF}}) {
            const std::vector<BYTE> frame = test::Q210Frame(picture, filler);
            const auto groups = ExactCopy(frame.data(), TenBitRowLayoutFor(width).filled);
            const std::unique_ptr<BYTE[]> row(new BYTE[expected.size()]);
            GetParam()->unpack(groups.get(), row.get(), width);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), row.get())) << width;
        }
    }
}

TEST_P(TenBitRows, UnpackRoundsEverySampleValueInEveryPosition) {
    constexpr LONG kWidth = 48;
    for (unsigned value = 0; value < 1024; ++value) {
        TenBitPicture picture = {kWidth, 1,
                                 std::vector<WORD>(2 * kWidth, static_cast<WORD>(value))};
        for (std::size_t i = 0; i < picture.samples.size(); i += 2) {
            picture.samples[i] = static_cast<WORD>(1023 - value);
        }
        const std::vector<BYTE> frame = test::Q210Frame(picture, 0xFF);
        std::vector<BYTE> row(2 * kWidth);
        GetParam()->unpack(frame.data(), row.data(), kWidth);
        ASSERT_EQ(row, test::ReferenceYuy2(picture)) << value;
    }
}

TEST_P(TenBitRows, PackWritesTheWordLayoutAndZeroPastTheEnd) {
    for (LONG width = 2; width <= 200; width += 2) {
        TenBitPicture picture = test::RandomTenBitPicture(width, 1, static_cast<unsigned>(width));
        for (WORD& sample : picture.samples) {
            sample = static_cast<WORD>(sample & ~3);
        }
        const std::vector<BYTE> yuy2 = test::ReferenceYuy2(picture);
        const std::vector<BYTE> expected = test::Q210Frame(picture, 0);
        const std::size_t filled = TenBitRowLayoutFor(width).filled;
        const auto row = ExactCopy(yuy2.data(), yuy2.size());
        const std::unique_ptr<BYTE[]> groups(new BYTE[filled]);
        GetParam()->pack(row.get(), groups.get(), width);
        EXPECT_TRUE(std::equal(groups.get(), groups.get() + filled, expected.begin())) << width;
    }
}

}  // namespace
}  // namespace nyx
