#include "tests/support/frames.h"

#include <algorithm>
#include <cstdlib>
#include <random>

namespace nyx::test {

Bytes SmoothPicture(const BITMAPINFOHEADER& header, int number) {
    const auto width = static_cast<std::size_t>(header.biWidth);
    const std::size_t bytes = (header.biBitCount + 7u) / 8;
    Bytes picture(width * static_cast<std::size_t>(std::abs(header.biHeight)) * bytes);
    const auto wave = [](std::size_t at) {  // between 0 and 90, rising and falling by one
        return at % 180 < 90 ? at % 180 : 180 - at % 180;
    };
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const std::size_t channel = i % bytes, x = i / bytes % width, y = i / bytes / width;
        constexpr BYTE kAlpha[] = {0, 128, 255};
        picture[i] = bytes == 4 && channel == 3
                         ? kAlpha[x * 3 / width]
                         : static_cast<BYTE>(40 + wave(2 * x + 50 * channel) +
                                             wave(y + 5 * static_cast<std::size_t>(number)));
    }
    return picture;
}

TenBitPicture RandomTenBitPicture(LONG width, LONG height, unsigned seed) {
    std::mt19937 random(seed);
    TenBitPicture picture = {width, height, {}};
    picture.samples.resize(static_cast<std::size_t>(2 * width * height));
    constexpr WORD kExtremes[] = {0, 1, 2, 509, 510, 1020, 1021, 1022, 1023};
    for (WORD& sample : picture.samples) {
        const auto value = static_cast<unsigned>(random());
        sample = value % 4 == 0 ? kExtremes[value / 4 % 9] : static_cast<WORD>(value / 4 % 1024);
    }
    return picture;
}

Bytes Q210Frame(const TenBitPicture& picture, BYTE filler) {
    const auto samplesPerRow = static_cast<std::size_t>(2 * picture.width);
    const std::size_t stride = (static_cast<std::size_t>(picture.width) + 47) / 48 * 128;
    Bytes frame(stride * static_cast<std::size_t>(picture.height), filler);
    for (std::size_t i = 0; i < picture.samples.size(); ++i) {
        const std::size_t inRow = i % samplesPerRow;
        BYTE* const at = &frame[i / samplesPerRow * stride + inRow / 3 * 4];
        DWORD word;
        std::memcpy(&word, at, 4);
        const std::size_t shift = inRow % 3 * 10;
        word = (word & ~(0x3FFu << shift)) | DWORD{picture.samples[i]} << shift;
        std::memcpy(at, &word, 4);
    }
    return frame;
}

Bytes ReferenceYuy2(const TenBitPicture& picture) {
    Bytes yuy2(picture.samples.size());
    for (std::size_t i = 0; i < yuy2.size(); ++i) {
        // Chroma and luma change places within each pair of bytes.
        yuy2[i ^ 1] = static_cast<BYTE>(std::min((picture.samples[i] + 2) >> 2, 255));
    }
    return yuy2;
}

}  // namespace nyx::test
