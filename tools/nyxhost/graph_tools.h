#pragma once

#include <dshow.h>

#include <functional>
#include <string>
#include <vector>

#include "com.h"
#include "picture_format.h"

namespace nyx::host {

/// Whether the platform is Wine, some of whose own objects cannot be relied on.
bool IsWine();

/// The memory of a sample, as long as the sample. Failure kPlatform.
BYTE* DataOf(IMediaSample& sample);

/// The first pin of `filter` in that direction, or null.
ComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction);

/// A text of what a moniker stands for, such as "CLSID"; empty when it has none.
std::string MonikerText(IMoniker* moniker, const wchar_t* property);

/// The friendly name of what a moniker stands for.
std::string FriendlyName(IMoniker* moniker);

/// The filter that owns `pin`.
ComPtr<IBaseFilter> FilterOf(IPin* pin);

/// The name that `filter` has in its graph.
std::string FilterName(IBaseFilter* filter);

/// The names of the filters of a graph, as their classes are registered, from its end to its start.
std::vector<std::string> FilterNames(IGraphBuilder* graph);

/// Runs a graph until it has played to its end, its window is closed, or `goesOn`, which is asked
/// now and then in the calling thread, says no; then stops it. `onRefused` hears of each frame that
/// a codec refused. Failure kInterrupted, or kPlatform when the graph aborts.
void RunToEnd(
    const ComPtr<IGraphBuilder>& graph, const std::function<bool()>& goesOn,
    const std::function<void(HRESULT)>& onRefused = [](HRESULT) {});

/// Says why no connection from a clip of type `compressed` to `formatName` came about: kNoDecoder
/// when no registered filter names the subtype, else kRefused with each candidate's answer.
/// `result` is what the graph said.
[[noreturn]] void ExplainFailedConnection(const MediaType& compressed,
                                          const std::string& formatName, HRESULT result);

}  // namespace nyx::host
