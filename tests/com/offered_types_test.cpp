#include "tests/com/streams.h"
#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class OfferedTypesTest : public FilterTest {};
NYX_FOR_EVERY_DECODER(OfferedTypesTest);

/// What position `index` of the list must be for the stream, built from the rules alone.
MediaType Expected(const FilterUnderTest& row, const Stream& stream, std::size_t index) {
    const std::size_t count = row.outputs.size();
    const bool longForm = index < count;
    Picture picture = stream.picture;
    picture.block = longForm ? Block::kVideoInfo2 : Block::kVideoInfo;
    MediaType type = row.OutputType(index % count, picture);
    // The product with the frame's duration, not the quotient, is what these filters offer.
    const DWORD bits = (row.outputs[index % count].bitCount + 7u) / 8u * 8u;
    const auto bitRate = static_cast<DWORD>(1.0 * bits * picture.width * picture.height *
                                            static_cast<double>(picture.frameDuration) * 1e-7);
    if (longForm) {
        type.Info2().dwBitRate = bitRate;
        type.Info2().dwInterlaceFlags = stream.interlaceFlags;
        type.Info2().dwPictAspectRatioX = stream.aspectX;
        type.Info2().dwPictAspectRatioY = stream.aspectY;
    } else {
        type.Info().dwBitRate = bitRate;
    }
    return type;
}

TEST_P(OfferedTypesTest, TheListComesInTheLongFormFirstAndInFullInBoth) {
    for (const Stream& stream : kStreams) {
        FilterRig rig(row(), stream.picture);
        if (!row().Takes(stream.picture.width, stream.picture.height)) {
            EXPECT_EQ(rig.ConnectInput(), VFW_E_TYPE_NOT_ACCEPTED) << stream.picture.width;
            continue;
        }
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        const auto offered = OfferedTypes(rig.output);
        ASSERT_EQ(offered.size(), 2 * row().outputs.size());
        for (std::size_t i = 0; i < offered.size(); ++i) {
            SCOPED_TRACE(::testing::Message() << stream.picture.width << "x"
                                              << stream.picture.height << " position " << i);
            MediaType expected = Expected(row(), stream, i);
            // The sample size is left to whoever reads the header.
            expected->lSampleSize = offered[i]->lSampleSize;
            EXPECT_EQ(offered[i], expected);
        }
    }
}

TEST_P(OfferedTypesTest, TheListAfterAnotherInputFollowsTheNewSize) {
    FilterRig rig(row(), row().narrow);
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    rig.Disconnect();
    ASSERT_EQ(rig.ConnectInput(row().InputType(row().wide)), S_OK);
    for (const MediaType& type : OfferedTypes(rig.output)) {
        EXPECT_EQ(type.Header().biWidth, row().wide.width);
        EXPECT_EQ(type.Header().biHeight, row().wide.height);
    }
}

}  // namespace
}  // namespace nyx::test
