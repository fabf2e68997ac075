/// The 10-bit codec both ways, with headers, strides and frame lengths that need not fit each
/// other: only the described picture is written, and a refused frame leaves it untouched.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "codecs/ten_bit_codec.h"
#include "fuzz/byte_source.h"
#include "platform/fourcc.h"

namespace {

using nyx::fuzz::ByteSource;
using nyx::fuzz::Require;

constexpr std::int64_t kMostBytes = 1 << 20;  // a picture larger than that only costs time
constexpr BYTE kUntouched = 0xA5;

constexpr DWORD kPictures[] = {nyx::FourCC("YUY2"), BI_RGB, BI_RGB};

/// The input header of a stream whose size is close to that of the picture.
BITMAPINFOHEADER StreamHeader(ByteSource& source, const BITMAPINFOHEADER& picture, DWORD length) {
    const DWORD q210[] = {nyx::FourCC("Q210"), nyx::FourCC("Q210"), nyx::FourCC("Q210")};
    BITMAPINFOHEADER header = nyx::fuzz::AnyHeader(source, q210, 3);
    if (source.ConsumeProbability<float>() < 0.9f) {
        header.biSize = sizeof(header);
        header.biPlanes = 1;
        header.biBitCount = 20;
        header.biWidth = picture.biWidth - 2 * source.ConsumeIntegralInRange<LONG>(0, 3);
        header.biHeight = picture.biHeight < 0 ? -picture.biHeight : picture.biHeight;
    }
    header.biSizeImage = length;
    return header;
}

/// A small picture of a known layout.
BITMAPINFOHEADER PictureHeader(ByteSource& source) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biPlanes = 1;
    header.biWidth = source.ConsumeIntegralInRange<LONG>(0, 200);
    header.biHeight = source.ConsumeIntegralInRange<LONG>(-20, 20);
    const auto layout = source.ConsumeIntegralInRange<std::size_t>(0, 2);
    constexpr WORD kBits[] = {16, 24, 32};
    header.biBitCount = kBits[layout];
    header.biCompression = kPictures[layout];
    return header;
}

struct Room {
    std::vector<BYTE> bytes;
    BYTE* start;
    LONG stride;
};

/// Memory for exactly the described picture: rows `gap` bytes apart, 0 for the codec's own stride.
std::optional<Room> RoomFor(const BITMAPINFOHEADER& picture, LONG gap, bool bottomUp) {
    const std::int64_t rows =
        picture.biHeight < 0 ? -std::int64_t{picture.biHeight} : std::int64_t{picture.biHeight};
    const std::int64_t row = std::int64_t{picture.biWidth} * (picture.biBitCount / 8);
    if (row < 0 || rows == 0 || (row + gap) * rows > kMostBytes) {
        return std::nullopt;
    }
    const std::int64_t before = (row + gap) * (rows - 1);
    Room room = {std::vector<BYTE>(static_cast<std::size_t>(before + row), kUntouched), nullptr, 0};
    room.start = room.bytes.data();
    if (gap > 0) {
        room.stride = static_cast<LONG>(bottomUp ? -(row + gap) : row + gap);
        room.start += bottomUp ? before : 0;
    }
    return room;
}

bool IsUntouched(const std::vector<BYTE>& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](BYTE b) { return b == kUntouched; });
}

void Decode(ByteSource& source) {
    const BITMAPINFOHEADER picture = PictureHeader(source);
    const LONG gap = source.ConsumeBool() ? source.ConsumeIntegralInRange<LONG>(0, 40) : 0;
    std::optional<Room> room = RoomFor(picture, gap, source.ConsumeBool());
    const bool alpha = source.ConsumeProbability<float>() < 0.05f;
    BITMAPINFOHEADER stream = StreamHeader(source, picture, 0);
    const std::vector<BYTE> frame = source.ConsumeRemainingBytes<BYTE>();
    stream.biSizeImage = static_cast<DWORD>(frame.size());
    if (!room) {
        return;
    }
    nyx::CTenBitCodec codec;
    const HRESULT result = codec.Decompress(&stream, frame.empty() ? nullptr : frame.data(),
                                            &picture, alpha, room->start, room->stride, 0);
    Require(SUCCEEDED(result) || IsUntouched(room->bytes));
    Require(FAILED(result) || codec.DecompressQuery(&stream, &picture, alpha) == S_OK);
}

void Encode(ByteSource& source) {
    const BITMAPINFOHEADER picture = PictureHeader(source);
    BITMAPINFOHEADER stream = StreamHeader(source, picture, 0);
    std::optional<Room> room = RoomFor(picture, 0, false);
    if (!room) {
        return;
    }
    const std::vector<BYTE> pixels = source.ConsumeRemainingBytes<BYTE>();
    std::copy_n(pixels.begin(), std::min(pixels.size(), room->bytes.size()), room->bytes.begin());

    nyx::CTenBitCodec codec;
    const DWORD most = codec.GetMaxCompressedSize(&picture, false);
    std::vector<BYTE> coded(std::max<DWORD>(most, 1));
    const HRESULT result =
        codec.Compress(&picture, false, room->start, &stream, coded.data(), 0, 0, 0);
    if (FAILED(result)) {
        return;
    }
    // What was packed is a whole frame: it decodes to the size that it came from. The length counts
    // padding that a frame does not take, so what may be read is the room, not the length.
    stream.biSize = sizeof(stream);
    stream.biPlanes = 1;
    stream.biBitCount = 20;
    stream.biCompression = nyx::FourCC("Q210");
    stream.biWidth = picture.biWidth;
    stream.biHeight = picture.biHeight < 0 ? -picture.biHeight : picture.biHeight;
    stream.biSizeImage = most;
    Require(codec.Decompress(&stream, coded.data(), &picture, false, room->start, 0, 0) == S_OK);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource source(data, size);
    if (source.ConsumeProbability<float>() < 0.8f) {
        Decode(source);
    } else {
        Encode(source);
    }
    return 0;
}
