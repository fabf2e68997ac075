#pragma once

#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// Raises `peaks`, one per channel, to the highest values in a sample of PCM, where 1 is full
/// scale. `type` has a WAVEFORMATEX block: integers or floating-point numbers of up to 4 bytes; any
/// others change nothing.
void MeasurePeaks(const MediaType& type, IMediaSample& sample, std::vector<double>* peaks);

}  // namespace nyx::host
