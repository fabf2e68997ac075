#pragma once

#include <cstdint>

#include "baseclasses/streams.h"

namespace nyx {

/// Bytes of a picture as media types and buffer requests count them: whole bytes per pixel times
/// height times width, the height's sign kept. `height` is a 32-bit value or its absolute; the most
/// that 64 bits hold when the product does not fit them.
std::int64_t SignedPictureSize(WORD bitCount, std::int64_t height, LONG width);

/// Asks the allocator for exactly one buffer of `size` bytes, alignment and prefix as `properties`
/// has them. Returns the allocator's failure, `E_FAIL` when it grants less or when the size does
/// not fit its 32-bit field.
[[nodiscard]] HRESULT RequestOneBuffer(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties,
                                       std::int64_t size);

}  // namespace nyx
