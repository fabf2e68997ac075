#pragma once

/// @file
/// Bytes from outside, and reads of them that are checked: one past the end gives an empty answer.

#include <cstddef>
#include <optional>
#include <span>

#include "platform/win_types.h"

namespace nyx {

using ByteSpan = std::span<const BYTE>;

/// The bytes at an address from outside; none at a null pointer, whatever the size.
inline ByteSpan BytesAt(const void* data, std::size_t size) {
    return {static_cast<const BYTE*>(data), data ? size : 0};
}

/// True when `count` bytes from `offset` on lie inside, without overflow for any two values.
constexpr bool Holds(ByteSpan bytes, std::size_t offset, std::size_t count) {
    return offset <= bytes.size() && count <= bytes.size() - offset;
}

/// The little-endian 32-bit word at any `offset`, aligned or not, or nothing past the end.
inline std::optional<DWORD> Le32At(ByteSpan bytes, std::size_t offset) {
    if (!Holds(bytes, offset, 4)) {
        return std::nullopt;
    }
    const BYTE* at = bytes.data() + offset;
    return at[0] | DWORD{at[1]} << 8 | DWORD{at[2]} << 16 | DWORD{at[3]} << 24;
}

/// `count` bytes from `offset` on, cut to what is there; empty when `offset` is past the end.
constexpr ByteSpan Slice(ByteSpan bytes, std::size_t offset,
                         std::size_t count = std::dynamic_extent) {
    if (offset >= bytes.size()) {
        return {};
    }
    const ByteSpan rest = bytes.subspan(offset);
    return count < rest.size() ? rest.first(count) : rest;
}

}  // namespace nyx
