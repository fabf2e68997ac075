#include "tests/codecs/ten_bit_reference.h"

#include <algorithm>
#include <random>

namespace nyx::test {

TenBitPicture RandomTenBitPicture(LONG width, LONG height, unsigned seed) {
    std::mt19937 random(seed);
    TenBitPicture picture = {width, height, {}};
    picture.samples.resize(static_cast<std::size_t>(2 * width * height));
    constexpr WORD kExtremes[] = {0, 1, 2, 509, 510, 1020, 1021, 1022, 1023};
    for (WORD& sample : picture.samples) {
        const unsigned value = static_cast<unsigned>(random());
        sample = value % 4 == 0 ? kExtremes[value / 4 % 9] : static_cast<WORD>(value / 4 % 1024);
    }
    return picture;
}

std::vector<BYTE> EncodeTenBitFrame(const TenBitPicture& picture, BYTE filler) {
    const auto samplesPerRow = static_cast<std::size_t>(2 * picture.width);
    const std::size_t stride = (static_cast<std::size_t>(picture.width) + 47) / 48 * 128;
    std::vector<BYTE> frame(stride * static_cast<std::size_t>(picture.height), filler);
    for (std::size_t i = 0; i < picture.samples.size(); ++i) {
        const std::size_t inRow = i % samplesPerRow;
        BYTE* word = &frame[i / samplesPerRow * stride + inRow / 3 * 4];
        for (std::size_t bit = 0; bit < 10; ++bit) {
            const std::size_t at = inRow % 3 * 10 + bit;
            const auto mask = static_cast<BYTE>(1 << at % 8);
            const bool set = (picture.samples[i] >> bit & 1) != 0;
            word[at / 8] = static_cast<BYTE>(set ? word[at / 8] | mask : word[at / 8] & ~mask);
        }
    }
    return frame;
}

std::vector<BYTE> ReferenceYuy2(const TenBitPicture& picture) {
    std::vector<BYTE> yuy2(picture.samples.size());
    for (std::size_t i = 0; i < yuy2.size(); ++i) {
        // Chroma and luma change places within each pair of bytes.
        yuy2[i ^ 1] = static_cast<BYTE>(std::min((picture.samples[i] + 2) >> 2, 255));
    }
    return yuy2;
}

}  // namespace nyx::test
