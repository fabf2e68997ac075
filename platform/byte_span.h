#pragma once

#include <cstddef>
#include <optional>

#include "platform/win_types.h"

namespace nyx {

/// Bytes from outside: a pointer with the number of bytes that may be read from it. A read past the
/// end gives an empty answer. Owns nothing; a null pointer is an empty span.
class ByteSpan {
  public:
    constexpr ByteSpan() = default;
    constexpr ByteSpan(const void* data, std::size_t size)
        : data_(static_cast<const BYTE*>(data)), size_(data ? size : 0) {}

    constexpr const BYTE* data() const { return data_; }
    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }

    /// True when `count` bytes from `offset` on lie inside, without overflow for any two values.
    constexpr bool Holds(std::size_t offset, std::size_t count) const {
        return offset <= size_ && count <= size_ - offset;
    }

    /// The byte at `offset`, or nothing past the end.
    std::optional<BYTE> ByteAt(std::size_t offset) const {
        if (!Holds(offset, 1)) {
            return std::nullopt;
        }
        return data_[offset];
    }

    /// The little-endian 32-bit word at any `offset`, aligned or not, or nothing past the end.
    std::optional<DWORD> Le32At(std::size_t offset) const {
        if (!Holds(offset, 4)) {
            return std::nullopt;
        }
        const BYTE* at = data_ + offset;
        return at[0] | DWORD{at[1]} << 8 | DWORD{at[2]} << 16 | DWORD{at[3]} << 24;
    }

    /// `count` bytes from `offset` on, cut to what is there; empty when `offset` is past the end.
    ByteSpan Slice(std::size_t offset, std::size_t count = static_cast<std::size_t>(-1)) const {
        if (offset >= size_) {
            return {};
        }
        const std::size_t rest = size_ - offset;
        return {data_ + offset, count < rest ? count : rest};
    }

  private:
    const BYTE* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace nyx
