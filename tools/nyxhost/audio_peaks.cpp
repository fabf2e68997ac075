#include "audio_peaks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "graph_tools.h"

namespace nyx::host {

AudioPeaks::AudioPeaks(const MediaType& type) : isReal_(type.subtype == MEDIASUBTYPE_IEEE_FLOAT) {
    const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
    sampleBytes_ = wave.wBitsPerSample / 8u;
    peaks_.resize(wave.nChannels);
}

/// Little-endian integers move to the top of a word.
double AudioPeaks::ValueAt(const BYTE* sample) const {
    if (isReal_ && sampleBytes_ == sizeof(double)) {
        double value = 0;
        std::memcpy(&value, sample, sizeof(value));
        return value;
    }
    std::uint32_t word = 0;
    const std::size_t bytes = std::min(sampleBytes_, sizeof(word));
    std::memcpy(reinterpret_cast<BYTE*>(&word) + sizeof(word) - bytes, sample, bytes);
    if (isReal_) {
        float value = 0;
        std::memcpy(&value, &word, sizeof(value));
        return value;
    }
    return static_cast<std::int32_t>(word) / 2147483648.0;
}

void AudioPeaks::Measure(IMediaSample& sample) {
    const BYTE* data = DataOf(sample);
    const std::size_t frameBytes = sampleBytes_ * peaks_.size();
    const auto size = static_cast<std::size_t>(sample.GetActualDataLength());
    for (std::size_t at = 0; frameBytes != 0 && at + frameBytes <= size; at += frameBytes) {
        for (std::size_t channel = 0; channel < peaks_.size(); ++channel) {
            const double value = std::abs(ValueAt(data + at + channel * sampleBytes_));
            peaks_[channel] = std::max(peaks_[channel], value);
        }
    }
}

std::vector<double> AudioPeaks::Decibels() const {
    std::vector<double> decibels = peaks_;
    std::ranges::transform(decibels, decibels.begin(),
                           [](double peak) { return 20 * std::log10(peak); });
    return decibels;
}

}  // namespace nyx::host
