#include "codecs/frame_chunks.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>

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
    if (Le32At(frame, 0) != kInfoTag) {
        return 0;
    }
    return kChunkHeader + std::uint64_t{Le32At(frame, 4).value_or(0)};
}

/// Stores the first words of `bytes`; none when they are not all there.
bool ReadWords(ByteSpan bytes, std::initializer_list<LONG*> words) {
    if (!Holds(bytes, 0, 4 * words.size())) {
        return false;
    }
    std::size_t offset = 0;
    for (LONG* const word : words) {
        *word = static_cast<LONG>(*Le32At(bytes, offset));
        offset += 4;
    }
    return true;
}

/// The payload of the first chunk with this tag, cut to the bytes at hand; empty without one.
ByteSpan FindChunk(ByteSpan rest, DWORD tag) {
    for (;;) {
        const std::optional<DWORD> found = Le32At(rest, 0);
        const std::optional<DWORD> size = Le32At(rest, 4);
        if (!found || !size || *found == 0) {
            return {};
        }
        if (*found == tag) {
            return Slice(rest, kChunkHeader, *size);
        }
        rest = Slice(Slice(rest, kChunkHeader), *size);
    }
}

}  // namespace

bool ReadFrameChunks(ByteSpan frame, FrameInfo* info) {
    const std::uint64_t size = std::min<std::uint64_t>(InfoContainerSize(frame), frame.size());
    const ByteSpan container = Slice(Slice(frame, 0, static_cast<std::size_t>(size)), kChunkHeader);
    if (!ReadWords(container,
                   {&info->infoA, &info->infoB, &info->pixelAspectX, &info->pixelAspectY})) {
        return false;
    }
    const ByteSpan chunks = Slice(container, kInfoWordsSize);
    const std::optional<DWORD> fieldOrder = Le32At(FindChunk(chunks, kFieldTag), 0);
    if (fieldOrder && *fieldOrder <= kProgressive) {
        info->fieldOrder = static_cast<LONG>(*fieldOrder);
    }
    ReadWords(FindChunk(chunks, kRdrtTag), {&info->rdrtA, &info->rdrtB});
    return true;
}

ByteSpan SkipInfoChunk(ByteSpan frame) {
    const std::uint64_t size = InfoContainerSize(frame);
    return size < frame.size() ? Slice(frame, static_cast<std::size_t>(size)) : ByteSpan();
}

}  // namespace nyx
