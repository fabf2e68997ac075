/// All 2^24 triples of Y, U and V through one kernel per matrix and range.

#include <gtest/gtest.h>

#include "convert/conversion_groups.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"
#include "tests/convert/reference.h"

namespace nyx::test {
namespace {

constexpr LONG kCodes = 256;

/// One row per V, every Y in the row, for one U.
void FillTriples(Picture& picture, int u) {
    for (LONG v = 0; v < kCodes; ++v) {
        BYTE* row = picture.Row(v);
        for (int y = 0; y < kCodes; ++y) {
            row[2 * y] = static_cast<BYTE>(y);
            row[2 * y + 1] = static_cast<BYTE>(y % 2 ? v : u);
        }
    }
}

void CheckAllTriples(LONG matrix, LONG range) {
    Picture source(RowBytes(kYuy2, kCodes), kCodes);
    Picture actual(RowBytes(kBgra, kCodes), kCodes);
    Picture expected(RowBytes(kBgra, kCodes), kCodes);
    YuvToRgbRequest request{source.plane(), nullptr, kYuy2,  kStraightAlpha, nullptr, kBgra,
                            kStraightAlpha, range,   matrix, kCodes,         kCodes};
    for (int u = 0; u < kCodes; ++u) {
        FillTriples(source, u);
        request.destination = expected.plane();
        reference::FromYuv(request);
        request.destination = actual.plane();
        ASSERT_EQ(RunYuvToRgb(GetCpuInfo(), request), S_OK);
        ASSERT_TRUE(SameRows(actual, expected)) << "U " << u;
    }
}

TEST(Exhaustive, EveryTripleEqualsTheReferenceInEveryMatrixAndRange) {
    for (LONG matrix : kMatrices) {
        for (LONG range : kRanges) {
            CheckAllTriples(matrix, range);
            ASSERT_FALSE(HasFatalFailure()) << "matrix " << matrix << " range " << range;
        }
    }
}

}  // namespace
}  // namespace nyx::test
