#include "codecs/ten_bit_rows.h"

#include "convert/cpu_info.h"

namespace nyx {

TenBitRowLayout TenBitRowLayoutFor(LONG width) {
    const auto pixels = static_cast<std::size_t>(width);
    const std::size_t stride = (pixels + 47) / 48 * 128;
    const std::size_t filled = (pixels + 5) / 6 * 16;
    return {stride, filled, stride - filled};
}

const TenBitRowKernels* SelectTenBitRowKernels() {
    if (!HasCpuFeature(kCpuSsse3)) {
        return nullptr;
    }
    return HasCpuFeature(kCpuSse41) ? &kTenBitRowsSse41 : &kTenBitRowsSsse3;
}

}  // namespace nyx
