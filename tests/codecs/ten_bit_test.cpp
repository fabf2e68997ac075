/// Q210: the row kernels against the v210 layout, and the codec in both directions against a plain
/// unpacking or packing of the whole picture and its conversion.

#include <gtest/gtest.h>

#include "codecs/pixel_format_index.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/ten_bit_rows.h"
#include "convert/cpu_info.h"
#include "tests/codecs/converted.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

constexpr BYTE kGuard = 0xA5;

/// 8-bit "YUY2" widened to ten bits.
TenBitPicture Widened(LONG width, LONG height, const Bytes& yuy2) {
    TenBitPicture picture = {width, height, {}};
    for (std::size_t i = 0; i < yuy2.size(); ++i) {
        picture.samples.push_back(static_cast<WORD>(yuy2[i ^ 1] << 2));
    }
    return picture;
}

Bytes Copy(const GuardedMemory& memory) {
    return Bytes(memory.data(), memory.data() + memory.size());
}

class TenBitRows : public testing::TestWithParam<const TenBitRowKernels*> {};
INSTANTIATE_TEST_SUITE_P(Kernels, TenBitRows,
                         testing::Values(&kTenBitRowsSsse3, &kTenBitRowsSse41));

TEST_P(TenBitRows, EqualThePlainRuleAtEveryWidthAndForEveryValueInEveryPlace) {
    if (GetParam() == &kTenBitRowsSse41 && !HasCpuFeature(kCpuSse41)) {
        GTEST_SKIP() << "this processor has no SSE4.1";
    }
    for (LONG i = 1; i < 1024; ++i) {
        const LONG width = i <= 100 ? 2 * i : 48;
        TenBitPicture picture = {width, 1, {}};
        for (LONG k = 0; k < 2 * width; ++k) {
            picture.samples.push_back(static_cast<WORD>((i + 85 * k) % 1024));
        }
        Bytes groups = Q210Frame(picture, i % 2 == 0 ? 0 : 0xFF);
        const TenBitRowLayout layout = TenBitRowLayoutFor(width);
        ASSERT_EQ(layout.stride, groups.size());
        ASSERT_EQ(layout.stride - layout.gap, layout.filled);
        groups.resize(static_cast<std::size_t>((width + 5) / 6 * 16));
        const GuardedMemory from(groups), yuy2(static_cast<std::size_t>(2 * width), kGuard);
        const GuardedMemory packed(layout.filled, kGuard);
        GetParam()->unpack(from.data(), yuy2.data(), width);
        ASSERT_EQ(Copy(yuy2), ReferenceYuy2(picture)) << width;
        GetParam()->pack(yuy2.data(), packed.data(), width);
        Bytes expected = Q210Frame(Widened(width, 1, Copy(yuy2)), 0);
        expected.resize(layout.filled);
        ASSERT_EQ(Copy(packed), expected) << width;
    }
}

/// One size through one uncompressed layout, both ways; `rowBytes` and `reported` of its frames.
void CheckCodec(LONG width, LONG height, DWORD rowBytes, DWORD reported, LONG bytes, bool topDown,
                LONG wider) {
    SCOPED_TRACE(testing::Message() << width << "x" << height << " of " << bytes << "+" << wider);
    CTenBitCodec codec;
    const TenBitPicture picture = RandomTenBitPicture(width, height, 5);
    const DWORD code = width >= 960 && height >= 720 ? 3 : 1, rgb = bytes == 3 ? kBgr3 : kBgra;
    Bytes yuy2 = ReferenceYuy2(picture);
    const Bytes rows = bytes == 2 ? yuy2 : Converted(yuy2, kYuy2, rgb, width, height, code);
    const BITMAPINFOHEADER header =
        MakeHeader(bytes == 2 ? kYuy2 : DWORD{BI_RGB}, static_cast<WORD>(8 * bytes), width + wider,
                   topDown ? -height : height);
    const LONG pitch = bytes * (width + wider);
    Bytes expected(static_cast<std::size_t>(pitch * height), kGuard);
    for (LONG y = 0; y < height; ++y) {
        const LONG to = bytes == 2 || topDown ? y : height - 1 - y;
        std::copy_n(rows.begin() + y * bytes * width, bytes * width, expected.begin() + to * pitch);
    }
    for (const Bytes& frame : {Q210Frame(picture), InfoChunk(1, 2, 3, 4) + Q210Frame(picture)}) {
        const GuardedMemory coded(frame), output(expected.size(), kGuard);
        const BITMAPINFOHEADER stream = MakeHeader(FourCC("Q210"), 20, width, height, frame.size());
        ASSERT_EQ(codec.Decompress(&stream, coded.data(), &header, false, output.data(), 0, 0),
                  S_OK);
        ASSERT_TRUE(Copy(output) == expected);
    }
    if (wider == 0) {
        yuy2 = bytes == 2 ? yuy2 : Converted(rows, rgb, kYuy2, width, height, code);
        const auto size = static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height);
        const GuardedMemory input(expected), coded(size, 0);
        BITMAPINFOHEADER stream = MakeHeader(FourCC("Q210"), 20, width, height);
        ASSERT_EQ(codec.Compress(&header, bytes == 4, input.data(), &stream, coded.data(), 0, 0, 0),
                  S_OK);
        ASSERT_TRUE(Copy(coded) == Q210Frame(Widened(width, height, yuy2), 0));
        EXPECT_EQ(stream.biSizeImage, reported * static_cast<DWORD>(height));
        EXPECT_EQ(codec.GetMaxCompressedSize(&header, false), size + 1064);
    }
}

TEST(TenBitCodec, UnpacksAndPacksThePictureAndNothingElse) {
    constexpr struct {
        LONG width, height;
        DWORD rowBytes, reported;
    } kSizes[] = {{2, 1, 128, 240},      {46, 5, 128, 128},      {50, 16, 256, 368},
                  {720, 17, 1920, 1920}, {1280, 33, 3456, 3488}, {960, 720, 2560, 2560},
                  {952, 720, 2560, 2576}};  // to high definition where the output is wider
    for (const auto& size : kSizes) {
        for (LONG i = 0; i < 12; ++i) {
            CheckCodec(size.width, size.height, size.rowBytes, size.reported, 2 + i / 4, i % 2 != 0,
                       i / 2 % 2 * 10);
        }
    }
}

}  // namespace
}  // namespace nyx::test
