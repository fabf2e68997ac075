#pragma once

#include <dshow.h>

#include <functional>
#include <string>

#include "com.h"

namespace nyx::host {

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

/// Runs a graph until it has played to its end, its window is closed, or `goesOn`, which is asked
/// now and then in the calling thread, says no; then stops it. `onRefused` hears of each frame that
/// a codec refused. Failure kInterrupted, or kPlatform when the graph aborts.
void RunToEnd(
    const ComPtr<IGraphBuilder>& graph, const std::function<bool()>& goesOn,
    const std::function<void(HRESULT)>& onRefused = [](HRESULT) {});

}  // namespace nyx::host
