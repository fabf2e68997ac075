// "rkllc.dll": exact frames of four kinds of pixels.

#include <algorithm>
#include <cstring>

#include "codecs/engine_records.h"
#include "engines/standin/call_log.h"
#include "engines/standin/coder.h"

namespace standin {
namespace {

constexpr LONG kKindBytes[] = {2, 3, 4, 4};
constexpr std::size_t kOverRead = 64;

/// In front of a frame. The kind is the second byte, where the module reads it.
struct Header {
    BYTE letter;
    BYTE kind;
    BYTE format[2];
    DWORD codedLength;
    LONG width;
    LONG height;
    DWORD packed;  ///< 1: differences, deflated; 0: the pixels, where they are no longer
};
static_assert(sizeof(Header) == 20);

bool IsPossible(LONG kind, LONG width, LONG height) {
    return kind >= 0 && kind <= nyx::kLosslessArgb32 && width > 0 && height > 0 && width <= 10000 &&
           height <= 10000;
}

LONG Decode(LONG kind, const BYTE* frame, BYTE* destination, LONG stride, LONG width, LONG height) {
    Header header;
    std::memcpy(&header, frame, sizeof(header));
    const BYTE tag[] = {'L', static_cast<BYTE>(kind), 'S', '1'};
    if (!IsPossible(kind, width, height) || std::memcmp(&header, tag, sizeof(tag)) != 0 ||
        header.width != width || header.height != height || header.codedLength < sizeof(header)) {
        return kBadFrame;
    }
    // The engine reads ahead of its bit position, within the over-read that callers must allow.
    static_cast<void>(
        *static_cast<const volatile BYTE*>(frame + header.codedLength + kOverRead - 1));

    const auto pixelBytes = static_cast<std::size_t>(kKindBytes[kind]);
    const std::size_t rowBytes = static_cast<std::size_t>(width) * pixelBytes;
    const std::size_t size = rowBytes * static_cast<std::size_t>(height);
    const BYTE* body = frame + sizeof(header);
    const std::size_t bodyBytes = header.codedLength - sizeof(header);
    std::optional<std::vector<BYTE>> rows;
    if (header.packed != 0) {
        rows = Inflate(body, bodyBytes, size);
        for (std::size_t i = pixelBytes; rows && i < size; ++i) {
            (*rows)[i] = static_cast<BYTE>((*rows)[i] + (*rows)[i - pixelBytes]);
        }
    } else if (bodyBytes == size) {
        rows.emplace(body, body + size);
    }
    for (LONG y = 0; rows && y < height; ++y) {
        std::memcpy(destination + std::ptrdiff_t{y} * stride,
                    rows->data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
    }
    return rows ? kDone : kBadFrame;
}

LONG Encode(LONG kind, BYTE* output, const BYTE* source, LONG stride, LONG width, LONG height,
            Action action) {
    if (!IsPossible(kind, width, height)) {
        return kBadRecord;
    }
    const auto pixelBytes = static_cast<std::size_t>(kKindBytes[kind]);
    const std::size_t rowBytes = static_cast<std::size_t>(width) * pixelBytes;
    std::vector<BYTE> rows;
    for (LONG y = 0; y < height; ++y) {
        const BYTE* row = source + std::ptrdiff_t{y} * stride;
        rows.insert(rows.end(), row, row + rowBytes);
    }
    std::vector<BYTE> differences = rows;
    for (std::size_t i = pixelBytes; i < rows.size(); ++i) {
        differences[i] = static_cast<BYTE>(rows[i] - rows[i - pixelBytes]);
    }
    const std::vector<BYTE> packed = Deflate(differences);
    const bool smaller = packed.size() < rows.size();
    const std::vector<BYTE>& body = smaller ? packed : rows;
    const Header header = {.letter = 'L',
                           .kind = static_cast<BYTE>(kind),
                           .format = {'S', '1'},
                           .codedLength = static_cast<DWORD>(sizeof(Header) + body.size()),
                           .width = width,
                           .height = height,
                           .packed = smaller ? 1u : 0u};
    std::memcpy(output, &header, sizeof(header));
    std::memcpy(output + sizeof(header), body.data(), body.size());
    // The caller's buffer has the picture's size and 2064 bytes.
    return action == Action::kLonger ? static_cast<LONG>(rows.size()) + 2065
                                     : static_cast<LONG>(header.codedLength);
}

}  // namespace
}  // namespace standin

extern "C" LONG __stdcall llc_decode(LONG kind, const void* frame, void* destination, LONG stride,
                                     LONG width, LONG height) {
    standin::LogArguments(standin::kDecode, {kind, standin::Word(frame), standin::Word(destination),
                                             stride, width, height});
    return standin::RunEntry(standin::kDecode, [&](standin::Action) {
        return standin::Decode(kind, static_cast<const BYTE*>(frame),
                               static_cast<BYTE*>(destination), stride, width, height);
    });
}

extern "C" LONG __stdcall llc_encode(LONG kind, void* output, const void* source, LONG stride,
                                     LONG width, LONG height) {
    standin::LogArguments(standin::kEncode, {kind, standin::Word(output), standin::Word(source),
                                             stride, width, height});
    return standin::RunEntry(standin::kEncode, [&](standin::Action action) {
        return standin::Encode(kind, static_cast<BYTE*>(output), static_cast<const BYTE*>(source),
                               stride, width, height, action);
    });
}
