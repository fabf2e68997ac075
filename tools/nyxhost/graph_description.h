#pragma once

#include <dshow.h>

#include <string>

#include "host/media_type.h"

namespace nyx::host {

/// A type in words: "video, Q210, 1920x1080, 20 bits", "audio, 2 channels, 48000 Hz, 16 bits".
std::string DescribeType(const MediaType& type);

/// Prints the filters of a graph from its end to its start: the name and merit that each is
/// registered with, the types of its connections, and our filters that lost to a third-party one.
/// Failure kPlatform.
void PrintGraph(IGraphBuilder* graph);

}  // namespace nyx::host
