#include "engines/standin/coder.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "engines/standin/standin.h"

namespace standin {
namespace {

constexpr LONG kMaxPixels = 1 << 27;
constexpr int kMiddle = 512;
constexpr int kMax = 1023;
constexpr LONG kCoarsest = 2048;  // all levels become 0

std::uint16_t Level(std::uint16_t sample, LONG step) {
    const int offset = sample - kMiddle;
    return static_cast<std::uint16_t>((offset + (offset < 0 ? -step : step) / 2) / step);
}

std::uint16_t Sample(std::uint16_t level, LONG step) {
    return static_cast<std::uint16_t>(
        std::clamp<int>(static_cast<std::int16_t>(level) * step + kMiddle, 0, kMax));
}

/// The distance in a row of Y Cb Y Cr, or of alpha, to the left neighbour of the same kind.
std::size_t Distance(std::size_t at, bool alpha) {
    if (alpha) {
        return 1;
    }
    return at % 2 == 0 ? 2 : 4;
}

/// The words' distances to their neighbours with the signs folded into the lowest bit, low bytes
/// first, then high bytes.
void Append(const std::vector<std::uint16_t>& words, bool alpha, std::vector<BYTE>* bytes) {
    const std::size_t first = bytes->size();
    bytes->resize(first + 2 * words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t distance = Distance(i, alpha);
        const auto difference =
            static_cast<std::int16_t>(words[i] - (i < distance ? 0 : words[i - distance]));
        const auto folded = static_cast<std::uint16_t>(difference * 2 ^ difference >> 15);
        (*bytes)[first + i] = static_cast<BYTE>(folded);
        (*bytes)[first + words.size() + i] = static_cast<BYTE>(folded >> 8);
    }
}

/// The inverse of Append.
void Restore(const BYTE* bytes, bool alpha, std::vector<std::uint16_t>* words) {
    for (std::size_t i = 0; i < words->size(); ++i) {
        const std::size_t distance = Distance(i, alpha);
        const int folded = bytes[i] | bytes[words->size() + i] << 8;
        const int difference = folded >> 1 ^ -(folded & 1);
        (*words)[i] =
            static_cast<std::uint16_t>(difference + (i < distance ? 0 : (*words)[i - distance]));
    }
}

}  // namespace

std::vector<BYTE> Deflate(const std::vector<BYTE>& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<BYTE> packed(size);
    if (compress2(packed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()),
                  Z_BEST_SPEED) != Z_OK) {
        throw std::bad_alloc();
    }
    packed.resize(size);
    return packed;
}

std::optional<std::vector<BYTE>> Inflate(const BYTE* bytes, std::size_t count, std::size_t size) {
    std::vector<BYTE> out(size);
    auto got = static_cast<uLongf>(size);
    if (uncompress(out.data(), &got, bytes, static_cast<uLong>(count)) != Z_OK || got != size) {
        return std::nullopt;
    }
    return out;
}

std::optional<FrameHeader> ReadHeader(const void* frame, std::string_view tag) {
    FrameHeader header;
    std::memcpy(&header, frame, sizeof(header));
    const bool valid = std::memcmp(header.tag, tag.data(), tag.size()) == 0 && header.width > 0 &&
                       header.height > 0 && header.width % 2 == 0 &&
                       header.height <= kMaxPixels / header.width && header.step > 0 &&
                       header.step <= kCoarsest && header.alpha >= 0 && header.alpha <= 3 &&
                       header.codedLength >= sizeof(header);
    return valid ? std::optional<FrameHeader>(header) : std::nullopt;
}

LONG EncodeFrame(std::string_view tag, const Picture& picture, LONG step, void* output,
                 std::size_t capacity) {
    FrameHeader header = {.tag = {},
                          .codedLength = 0,
                          .width = picture.width,
                          .height = picture.height,
                          .step = std::max(step, LONG{1}),
                          .alpha = !picture.alpha.empty()};
    std::memcpy(header.tag, tag.data(), std::min(tag.size(), sizeof(header.tag)));
    std::vector<std::uint16_t> levels(picture.samples.size());
    for (;; header.step = std::min(header.step + header.step / 4 + 1, kCoarsest)) {
        std::transform(picture.samples.begin(), picture.samples.end(), levels.begin(),
                       [&](std::uint16_t sample) { return Level(sample, header.step); });
        std::vector<BYTE> bytes;
        Append(levels, false, &bytes);
        Append(picture.alpha, true, &bytes);
        const std::vector<BYTE> body = Deflate(bytes);
        header.codedLength = static_cast<DWORD>(sizeof(header) + body.size());
        if (header.codedLength <= capacity) {
            std::memcpy(output, &header, sizeof(header));
            std::memcpy(static_cast<BYTE*>(output) + sizeof(header), body.data(), body.size());
            return static_cast<LONG>(header.codedLength);
        }
        if (header.step >= kCoarsest) {
            return kNoRoom;
        }
    }
}

std::optional<Picture> DecodeFrame(const void* frame, const FrameHeader& header) {
    Picture picture(header.width, header.height, header.alpha != 0);
    const auto bytes = Inflate(static_cast<const BYTE*>(frame) + sizeof(header),
                               header.codedLength - sizeof(header),
                               2 * (picture.samples.size() + picture.alpha.size()));
    if (!bytes) {
        return std::nullopt;
    }
    Restore(bytes->data(), false, &picture.samples);
    Restore(bytes->data() + 2 * picture.samples.size(), true, &picture.alpha);
    for (std::uint16_t& sample : picture.samples) {
        sample = Sample(sample, header.step);
    }
    return picture;
}

}  // namespace standin
