#pragma once

#include <dshow.h>

#include <string>

#include "host/media_type.h"
#include "module_registry.h"

namespace nyx::host {

/// "rgb24", "Q210", or the GUID of a subtype that is no FourCC.
std::string SubtypeText(const GUID& subtype);

/// A type in words: "video, Q210, 1920x1080, 20 bits", "audio, 2 channels, 48000 Hz, 16 bits".
std::string DescribeType(const MediaType& type);

/// Lines of our filters that name the subtype, with their merits, when `winner` is a third-party
/// filter.
std::string BeatenText(const CLSID& winner, const GUID& subtype);

/// ", merit 0x00800000" of a registered DirectShow filter; empty when it is not registered.
std::string MeritText(const CLSID& clsid, int bits = kOwnBits);

/// "Rokka Q210 Decoder, merit 0x00800000": the name that a filter's class is registered with, else
/// its name in the graph, and the merit; "none" for null.
std::string FilterText(IBaseFilter* filter);

/// Prints the filters of a graph from its end to its start: the name and merit that each is
/// registered with, the types of its connections, and our filters that lost to a third-party one.
/// Failure kPlatform.
void PrintGraph(IGraphBuilder* graph);

/// Reports why a clip of type `compressed` cannot be connected to `formatName`, with each
/// candidate's answer: kNoDecoder when no registered filter names the subtype, kNoEngine when one
/// cannot be created and no other accepts the clip, else kRefused. `result` is the graph's.
[[noreturn]] void ExplainFailedConnection(const MediaType& compressed,
                                          const std::string& formatName, HRESULT result);

}  // namespace nyx::host
