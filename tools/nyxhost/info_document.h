#pragma once

#include <string>

#include "clip_graph.h"
#include "footage.h"
#include "json.h"

namespace nyx::host {

/// The parts of the document that docs/info-schema.json describes.

/// A file and its streams, without decoder, frames and peaks. `scan` and `aspect` are what the
/// source's type states.
Json DescribeClip(const std::string& path, const Footage& footage);

/// Raises `peaks`, one per channel, to the highest values in a sample of PCM, where 1 is full
/// scale. `type` has integers or floating-point numbers of up to 4 bytes; any others change
/// nothing.
void MeasurePeaks(const MediaType& type, IMediaSample& sample, std::vector<double>* peaks);

/// `peak_dbfs` of an audio stream: from such values.
Json DescribePeaks(const std::vector<double>& peaks);

/// An entry of `frames` from a compressed frame; with its data when that is DV.
Json DescribePacket(const ArrivedFrame& frame);

/// `picture` of an entry of `frames`.
Json DescribePicture(const ArrivedFrame& frame);

/// Turns `scan` and `aspect` of a clip into statements by frame, container and decoder. `first` is
/// an entry of `frames`, or null.
void StateScanAndAspect(Json* video, const Json& first);

}  // namespace nyx::host
