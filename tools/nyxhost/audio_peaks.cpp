#include "audio_peaks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "graph_tools.h"

namespace nyx::host {

void MeasurePeaks(const MediaType& type, IMediaSample& sample, std::vector<double>* peaks) {
    const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
    const std::size_t bytes = wave.wBitsPerSample / 8u;
    const auto size = static_cast<std::size_t>(sample.GetActualDataLength());
    peaks->resize(wave.nChannels);
    if (peaks->empty() || bytes == 0 || bytes > sizeof(std::uint32_t)) {
        return;
    }
    const BYTE* data = DataOf(sample);
    for (std::size_t i = 0; (i + 1) * bytes <= size; ++i) {
        std::uint32_t word = 0;  // a little-endian integer moves to its top
        std::memcpy(reinterpret_cast<BYTE*>(&word) + sizeof(word) - bytes, data + i * bytes, bytes);
        const double value = type.subtype == MEDIASUBTYPE_IEEE_FLOAT
                                 ? std::bit_cast<float>(word)
                                 : static_cast<std::int32_t>(word) / 2147483648.0;
        double& peak = (*peaks)[i % peaks->size()];
        peak = std::max(peak, std::abs(value));
    }
}

}  // namespace nyx::host
