#include "codecs/ten_bit_rows.h"

#include "convert/cpu_info.h"

namespace nyx {

TenBitRowLayout TenBitRowLayoutFor(LONG width) noexcept {
    const auto stride = static_cast<std::size_t>(V210Stride(width));
    const auto filled = static_cast<std::size_t>(V210RowBytes(width));
    return {stride, filled, stride - filled};
}

const TenBitRowKernels* SelectTenBitRowKernels() {
    if (!HasCpuFeature(kCpuSsse3)) {
        return nullptr;
    }
    return HasCpuFeature(kCpuSse41) ? &kTenBitRowsSse41 : &kTenBitRowsSsse3;
}

}  // namespace nyx
