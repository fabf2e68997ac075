#pragma once

#include <dshow.h>

#include <functional>
#include <string>
#include <vector>

#include "com.h"

namespace nyx::host {

/// An empty filter graph. Failure kPlatform.
ComPtr<IGraphBuilder> CreateGraph();

/// The memory of a sample, valid as long as the sample. Failure kPlatform.
BYTE* DataOf(IMediaSample& sample);

/// The pins of a filter. Failure kPlatform.
std::vector<ComPtr<IPin>> PinsOf(IBaseFilter* filter);

/// The filters of a graph, from its end to its start. Failure kPlatform.
std::vector<ComPtr<IBaseFilter>> FiltersOf(IGraphBuilder* graph);

/// The first pin of `filter` in that direction, or null. Failure kPlatform.
ComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction);

/// The filter that owns `pin`.
ComPtr<IBaseFilter> FilterOf(IPin* pin);

/// The class of `filter`; empty for null and for a filter without one.
CLSID ClassOf(IBaseFilter* filter);

/// The name that `filter` has in its graph.
std::string FilterName(IBaseFilter* filter);

/// Lets a graph run without a clock: every filter runs as fast as it can and no frame is late.
/// Failure kPlatform.
void RemoveClock(const ComPtr<IGraphBuilder>& graph);

/// Takes one event of a running graph, or none within `waitMs`. Calls `onRefused` for a frame that
/// a codec refused. True once the graph has played to its end or its window is closed. Failure
/// kInterrupted, or kPlatform when the graph aborts.
bool TakeEvent(IMediaEvent* events, long waitMs, const std::function<void(HRESULT)>& onRefused);

/// Runs a graph until it has played to its end, its window is closed, or `goesOn`, called
/// periodically in the calling thread, returns false; then stops it. Calls `onRefused` for each
/// frame that a codec refused. Failure kInterrupted, or kPlatform when the graph aborts.
void RunToEnd(
    const ComPtr<IGraphBuilder>& graph, const std::function<bool()>& goesOn,
    const std::function<void(HRESULT)>& onRefused = [](HRESULT) {});

}  // namespace nyx::host
