#include "filters/picture_size.h"

#include <limits>
#include <numeric>

namespace nyx {

std::int64_t SignedPictureSize(WORD bitCount, std::int64_t height, LONG width) {
    std::int64_t size = 0;
    if (__builtin_mul_overflow((bitCount + 7) / 8 * height, std::int64_t{width}, &size)) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return size;
}

PictureAspect PictureAspectOf(LONG width, LONG height, LONG pixelAspectX, LONG pixelAspectY) {
    const std::int64_t x = std::int64_t{width} * pixelAspectX;
    const std::int64_t y = std::int64_t{height} * pixelAspectY;
    const std::int64_t divisor = std::gcd(x, y);
    return divisor == 0 ? PictureAspect{x, y} : PictureAspect{x / divisor, y / divisor};
}

HRESULT RequestOneBuffer(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties,
                         std::int64_t size) {
    if (size < std::numeric_limits<long>::min() || size > std::numeric_limits<long>::max()) {
        return E_FAIL;
    }
    properties->cBuffers = 1;
    properties->cbBuffer = static_cast<long>(size);
    ALLOCATOR_PROPERTIES granted = {};
    const HRESULT result = allocator->SetProperties(properties, &granted);
    if (FAILED(result)) {
        return result;
    }
    const bool enough =
        granted.cBuffers >= properties->cBuffers && granted.cbBuffer >= properties->cbBuffer;
    return enough ? S_OK : E_FAIL;
}

}  // namespace nyx
