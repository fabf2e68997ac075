#pragma once

#include <dshow.h>

#include <string>

#include "host/media_type.h"

namespace nyx::host {

/// A type in words: "video, Q210, 1920x1080, 20 bits", "audio, 2 channels, 48000 Hz, 16 bits".
std::string DescribeType(const MediaType& type);

/// Prints the filters of a graph, as their classes are registered, from its end to its start: the
/// merit of each, the types that its pins are connected with, and the filters of ours that a
/// stranger's was chosen over. Failure kPlatform.
void PrintGraph(IGraphBuilder* graph);

}  // namespace nyx::host
