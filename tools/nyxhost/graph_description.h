#pragma once

#include <dshow.h>

#include <string>

#include "host/media_type.h"
#include "registry.h"

namespace nyx::host {

/// A type in words: "video, Q210, 1920x1080, 20 bits", "audio, 2 channels, 48000 Hz, 16 bits".
std::string DescribeType(const MediaType& type);

/// Lines of our filters that name the subtype, with their merits, when `winner` is a third-party
/// filter.
std::string BeatenText(const CLSID& winner, const GUID& subtype);

/// ", merit 0x00800000" of a registered DirectShow filter; empty when it is not registered.
std::string MeritText(const CLSID& clsid, int bits = kOwnBits);

/// The name that a filter's class is registered with, else its name in the graph.
std::string ClassName(IBaseFilter* filter, const CLSID& clsid);

/// Prints the filters of a graph from its end to its start: the name and merit that each is
/// registered with, the types of its connections, and our filters that lost to a third-party one.
/// Failure kPlatform.
void PrintGraph(IGraphBuilder* graph);

}  // namespace nyx::host
