#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

constexpr DWORD kTopFirst = 0xA5;  // interlaced, field 1 first, both fields regular, bob or weave
constexpr DWORD kBottomFirst = 0xA1;  // the same without field 1 first

/// An input stream and what its sizes and rate say about fields and picture aspect.
struct Stream {
    Picture picture;
    DWORD interlaceFlags;
    DWORD aspectX;
    DWORD aspectY;
};

const Stream kStreams[] = {
    {{1920, 1080, 400000, Block::kVideoInfo}, kTopFirst, 16, 9},
    {{1440, 1080, 333666, Block::kVideoInfo2}, kTopFirst, 16, 9},
    {{1280, 720, 333666, Block::kVideoInfo}, 0, 16, 9},
    {{720, 576, 400000, Block::kVideoInfo}, kBottomFirst, 4, 3},
    {{720, 576, 333667, Block::kVideoInfo2}, 0, 4, 3},
    {{720, 486, 333666, Block::kVideoInfo}, kTopFirst, 4, 3},
    {{720, 480, 333666, Block::kVideoInfo}, kBottomFirst, 27, 20},
    {{720, 480, 0, Block::kVideoInfo}, 0, 27, 20},
    {{1000, 1000, 400000, Block::kVideoInfo}, 0, 1, 1},
    {{96, 16, 400000, Block::kVideoInfo2}, 0, 6, 1},
};

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

TEST_P(OfferedTypesTest, TheBitRateIsTheProductWithTheDuration) {
    FilterRig rig(row(), {720, 576, 400000, Block::kVideoInfo});
    if (!row().Takes(720, 576)) {
        GTEST_SKIP() << "no size of this format";
    }
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType first = OfferedTypes(rig.output).at(0);
    if (row().outputs[0].bitCount == 16) {
        EXPECT_EQ(first.Info2().dwBitRate, 265420u);  // 16 * 720 * 576 * 0.04 = 265420.8
    }
}

TEST_P(OfferedTypesTest, TheListAfterAnotherInputFollowsTheNewSize) {
    FilterRig rig(row(), row().narrow);
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    ASSERT_EQ(rig.input->Disconnect(), S_OK);
    rig.source->out.Disconnect();
    ASSERT_EQ(rig.ConnectInput(row().InputType(row().wide)), S_OK);
    for (const MediaType& type : OfferedTypes(rig.output)) {
        EXPECT_EQ(type.Header().biWidth, row().wide.width);
        EXPECT_EQ(type.Header().biHeight, row().wide.height);
    }
}

}  // namespace
}  // namespace nyx::test
