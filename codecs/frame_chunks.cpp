#include "codecs/frame_chunks.h"

#include <cstdint>

#include "platform/fourcc.h"

namespace nyx {
namespace {

constexpr DWORD kInfoTag = FourCC("INFO");
constexpr DWORD kFieldTag = FourCC("FIEL");
constexpr DWORD kRdrtTag = FourCC("RDRT");

constexpr std::size_t kChunkHeader = 8;        // tag and payload size
constexpr std::size_t kInfoWordsSize = 4 * 4;  // infoA, infoB, aspect X and Y

/// Bytes of the container at the frame's start, header included; 0 without one. 64 bits, so that a
/// payload size near 2^32 does not wrap.
std::uint64_t InfoContainerSize(ByteSpan frame) {
    if (frame.Le32At(0) != kInfoTag) {
        return 0;
    }
    return kChunkHeader + std::uint64_t{frame.Le32At(4).value_or(0)};
}

std::optional<LONG> SignedAt(ByteSpan bytes, std::size_t offset) {
    const std::optional<DWORD> word = bytes.Le32At(offset);
    return word ? std::optional(static_cast<LONG>(*word)) : std::nullopt;
}

}  // namespace

FrameChunks::FrameChunks(ByteSpan frame) {
    const std::uint64_t size = InfoContainerSize(frame);
    container_ = size < frame.size() ? frame.Slice(0, static_cast<std::size_t>(size))
                                     : frame.Slice(0, size ? frame.size() : 0);
}

std::optional<InfoWords> FrameChunks::Info() const {
    const auto a = SignedAt(container_, kChunkHeader);
    const auto b = SignedAt(container_, kChunkHeader + 4);
    const auto x = SignedAt(container_, kChunkHeader + 8);
    const auto y = SignedAt(container_, kChunkHeader + 12);
    if (!a || !b || !x || !y) {
        return std::nullopt;
    }
    return InfoWords{.infoA = *a, .infoB = *b, .pixelAspectX = *x, .pixelAspectY = *y};
}

std::optional<DWORD> FrameChunks::FieldCode() const {
    return Find(kFieldTag).Le32At(0);
}

std::optional<RdrtWords> FrameChunks::Rdrt() const {
    const ByteSpan payload = Find(kRdrtTag);
    const auto a = SignedAt(payload, 0);
    const auto b = SignedAt(payload, 4);
    if (!a || !b) {
        return std::nullopt;
    }
    return RdrtWords{*a, *b};
}

ByteSpan FrameChunks::Find(DWORD tag) const {
    ByteSpan rest = container_.Slice(kChunkHeader + kInfoWordsSize);
    for (;;) {
        const std::optional<DWORD> found = rest.Le32At(0);
        const std::optional<DWORD> size = rest.Le32At(4);
        if (!found || !size || *found == 0) {
            return {};
        }
        const ByteSpan payload = rest.Slice(kChunkHeader, *size);
        if (*found == tag) {
            return payload;
        }
        rest = rest.Slice(kChunkHeader).Slice(*size);
    }
}

ByteSpan SkipInfoChunk(ByteSpan frame) {
    const std::uint64_t size = InfoContainerSize(frame);
    return size < frame.size() ? frame.Slice(static_cast<std::size_t>(size)) : ByteSpan();
}

}  // namespace nyx
