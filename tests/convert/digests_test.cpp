#include <gtest/gtest.h>

#include <cstdint>

#include "convert/convert.h"
#include "tests/convert/pairs.h"
#include "tests/convert/picture.h"

namespace nyx::test {
namespace {

/// Digests of what a fixed picture becomes with the four colour codes, in both directions.
struct Stored {
    DWORD yuv, rgb;
    std::uint64_t fromYuv, toYuv;
};

constexpr Stored kStored[] = {
    {kYuy2, kBgr3, 0xb4e61bdc0bc3dda3, 0x34e735f0ab9149d2},
    {kYuy2, kRgb3, 0xe6332b5616e391a7, 0x2b94c02174d7525b},
    {kYuy2, kBgra, 0xf4d061e3e0e9d4f3, 0x238934dc10539434},
    {kYuy2, kRgba, 0x55bc279702581627, 0xbba2adf8dc732477},
    {kYuy2, kArgb, 0xd9966d495b2e225, 0x225c5969994ed471},
    {kYuy2, k48rl, 0x5d05a910755f9ab2, 0xab719e2318b55e9f},
    {kYuy2, k64al, 0xccde7a470b2a6dfa, 0x9c6f69dae8806b2f},
    {kYuy2, kA46l, 0x66e44160013d7666, 0x29dd142bcdee0446},
    {kYuy2, kL64a, 0xb731a80b5739b872, 0xc0509c4f74bc8ca6},
    {kYuy2, k30rl, 0xf93b62c1aacfdc60, 0x2192fb9e3702c5fe},
    {kYuy2, k40al, 0x2cdbdf96f90926d0, 0x19bbb668e14b917e},
    {kYuy2, kA04l, 0xc6b4763fabfe8730, 0x190606113c3031b3},
    {kYuy2, kL40a, 0xf816f60e431f35c, 0xba2a2012e99f610},
    {kW210, kBgr3, 0xb2bdfba3d7a80db0, 0x14637d6cc9f15c0e},
    {kW210, kRgb3, 0x9609a8d0288a5f40, 0xe87c07e14b54fc7c},
    {kW210, kBgra, 0x6daed2afe471b590, 0x1a25b41b4076ce10},
    {kW210, kRgba, 0xdeeb5d42d73bd540, 0x63b3f4965366b682},
    {kW210, kArgb, 0x3d083606ff329d4, 0x29fe67b8b5ceed50},
    {kW210, k48rl, 0xc1f9bb0fc3bc1bc9, 0x85a618a534581857},
    {kW210, k64al, 0x999ebd94a9d63e8d, 0x666ebf17097dfd10},
    {kW210, kA46l, 0xc03720fbf58dbe95, 0xf91b8218cee7731c},
    {kW210, kL64a, 0xcc8090df634bb701, 0xb96de8a505cbe090},
    {kW210, k30rl, 0xfcd5dd140389bb0f, 0x117da2997bb790ff},
    {kW210, k40al, 0xd6f35464b431353, 0x6380bb6d1d68b4e5},
    {kW210, kA04l, 0x48e7eae2b1ce6a53, 0x7d7b44129ae34cf7},
    {kW210, kL40a, 0x977d1696c32e3740, 0x1b8e5e476020aea2},
};

/// Digests of a fixed picture through every pair: kernels and reference cannot drift together.
TEST(Digests, OutputsHaveTheStoredDigests) {
    constexpr LONG kWidth = 126;
    constexpr LONG kHeight = 9;
    ASSERT_EQ(std::size(kStored), std::size(kYuvFormats) * std::size(kRgbFormats));
    for (const Stored& stored : kStored) {
        Picture yuv(RowBytes(stored.yuv, kWidth), kHeight);
        Picture rgb(RowBytes(stored.rgb, kWidth), kHeight);
        stored.yuv == kW210 ? FillTenBitContent(yuv, Content::kRandom, 1)
                            : FillContent(yuv, Content::kRandom, 1);
        std::uint64_t fromYuv = 0;
        std::uint64_t toYuv = 0;
        for (DWORD code = 0; code < 4; ++code) {
            ASSERT_EQ(ConvertFromYuv(yuv.plane(), nullptr, stored.yuv, code & 2, 0, rgb.plane(),
                                     stored.rgb, code & 1, 0, kWidth, kHeight),
                      S_OK);
            fromYuv = fromYuv * 31 + Digest(rgb);
        }
        FillContent(rgb, Content::kRandom, 2);
        for (DWORD code = 0; code < 4; ++code) {
            ASSERT_EQ(ConvertToYuv(rgb.plane(), stored.rgb, code & 1, nullptr, yuv.plane(), nullptr,
                                   stored.yuv, code & 2, 0, kWidth, kHeight),
                      S_OK);
            toYuv = toYuv * 31 + Digest(yuv);
        }
        EXPECT_TRUE(fromYuv == stored.fromYuv && toYuv == stored.toYuv)
            << "{k" << Name(stored.yuv) << ", k" << Name(stored.rgb) << ", 0x" << std::hex
            << fromYuv << ", 0x" << toYuv << "},";
    }
}

}  // namespace
}  // namespace nyx::test
