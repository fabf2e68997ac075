#pragma once

#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// Measures the highest sample of each channel of a stream of PCM. For one thread at a time.
class AudioPeaks {
  public:
    /// `type` has a WAVEFORMATEX block: 16, 24 or 32-bit integers, or floating-point numbers.
    explicit AudioPeaks(const MediaType& type);

    /// Takes the whole samples of all channels in `sample` into account.
    void Measure(IMediaSample& sample);

    /// One per channel in dB below full scale; minus infinity for silence.
    std::vector<double> Decibels() const;

  private:
    double ValueAt(const BYTE* sample) const;

    std::size_t sampleBytes_;
    bool isReal_;
    std::vector<double> peaks_;  ///< 1 is full scale
};

}  // namespace nyx::host
