#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "codecs/ten_bit_codec.h"
#include "filters/decode_sample.h"
#include "platform/fourcc.h"
#include "tests/support/frames.h"

namespace nyx {
namespace {

using test::MakeHeader;

/// Write-combined output takes the road through a temporary buffer; the picture must not differ.
class BounceBuffer : public testing::TestWithParam<LONG> {
  protected:
    void SetUp() override {
        std::iota(frame_.begin(), frame_.end(), BYTE{3});
        input_ = MakeHeader(FourCC("Q210"), 20, 48, 4);
        input_.biSizeImage = static_cast<DWORD>(frame_.size());
        output_ = MakeHeader(BI_RGB, 32, GetParam(), 4);
    }

    HRESULT Decode(std::vector<BYTE>* picture, bool writeCombined) {
        picture->assign(static_cast<std::size_t>(GetParam() * 4 * 4), 0xA5);
        const DecodeCall call = {&input_,         frame_.data(),   &output_, false,
                                 picture->data(), picture->size(), false};
        return DecodePicture(codec_, call, writeCombined);
    }

    CTenBitCodec codec_;
    std::vector<BYTE> frame_ = std::vector<BYTE>(128 * 4);
    BITMAPINFOHEADER input_ = {};
    BITMAPINFOHEADER output_ = {};
};

INSTANTIATE_TEST_SUITE_P(OutputWidths, BounceBuffer, testing::Values(48, 60));

TEST_P(BounceBuffer, GivesTheSamePicture) {
    std::vector<BYTE> direct;
    std::vector<BYTE> bounced;
    ASSERT_EQ(Decode(&direct, false), S_OK);
    ASSERT_EQ(Decode(&bounced, true), S_OK);
    EXPECT_EQ(direct, bounced);
}

TEST_P(BounceBuffer, LeavesThePictureAloneOnFailure) {
    input_.biSizeImage -= 1;
    std::vector<BYTE> picture;
    EXPECT_EQ(Decode(&picture, true), E_FAIL);
    EXPECT_EQ(picture, std::vector<BYTE>(picture.size(), 0xA5));
}

}  // namespace
}  // namespace nyx
