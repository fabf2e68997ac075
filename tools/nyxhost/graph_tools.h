#pragma once

#include <dshow.h>

#include <string>

#include "com.h"
#include "picture_format.h"

namespace nyx::host {

/// Whether the platform is Wine, some of whose own objects cannot be relied on.
bool IsWine();

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

/// Says why no connection from a clip of type `compressed` to `formatName` came about: kNoDecoder
/// when no registered filter names the subtype, else kRefused with each candidate's answer.
/// `result` is what the graph said.
[[noreturn]] void ExplainFailedConnection(const MediaType& compressed,
                                          const std::string& formatName, HRESULT result);

}  // namespace nyx::host
