#include "graph_tools.h"

#include <tuple>

#include "console.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Warns of a stream that the footage source leaves out (`where` is its number in the file) or ends
/// early (`where` is the time in milliseconds) while the graph goes on. False for other reasons.
bool WarnOfStream(HRESULT reason, LONG_PTR where) {
    switch (reason) {
        case VFW_E_TYPE_NOT_ACCEPTED:
            PrintWarning(Format("the pictures end after %.3f s, where their format changes",
                                static_cast<double>(where) / 1000));
            return true;
        case VFW_E_UNSUPPORTED_STREAM:
        case VFW_E_UNSUPPORTED_VIDEO:
        case VFW_E_UNSUPPORTED_AUDIO:
            PrintWarning(Format("stream %d of the file is skipped: ", static_cast<int>(where)) +
                         ResultText(reason));
            return true;
        default:
            return false;
    }
}

}  // namespace

ComPtr<IGraphBuilder> CreateGraph() {
    return CreateObject<IGraphBuilder>(CLSID_FilterGraph, "cannot create a filter graph");
}

BYTE* DataOf(IMediaSample& sample) {
    BYTE* data = nullptr;
    Check(sample.GetPointer(&data), "cannot access a sample's memory");
    return data;
}

std::vector<ComPtr<IPin>> PinsOf(IBaseFilter* filter) {
    ComPtr<IEnumPins> pins;
    Check(filter->EnumPins(pins.GetAddressOf()), "cannot list a filter's pins");
    return ItemsOf<IPin>(pins);
}

ComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction) {
    for (const ComPtr<IPin>& pin : PinsOf(filter)) {
        PIN_DIRECTION found = PINDIR_INPUT;
        if (SUCCEEDED(pin->QueryDirection(&found)) && found == direction) {
            return pin;
        }
    }
    return nullptr;
}

std::vector<ComPtr<IBaseFilter>> FiltersOf(IGraphBuilder* graph) {
    ComPtr<IEnumFilters> filters;
    Check(graph->EnumFilters(filters.GetAddressOf()), "cannot list the graph's filters");
    return ItemsOf<IBaseFilter>(filters);
}

ComPtr<IBaseFilter> FilterOf(IPin* pin) {
    PIN_INFO info{};
    std::ignore = pin->QueryPinInfo(&info);  // a failure leaves null
    return Adopt(info.pFilter);
}

CLSID ClassOf(IBaseFilter* filter) {
    CLSID clsid{};
    return filter != nullptr && SUCCEEDED(filter->GetClassID(&clsid)) ? clsid : CLSID{};
}

std::string FilterName(IBaseFilter* filter) {
    FILTER_INFO info{};
    if (filter == nullptr || FAILED(filter->QueryFilterInfo(&info))) {
        return "a filter without a name";
    }
    const ComPtr<IFilterGraph> graph = Adopt(info.pGraph);
    return Utf8(info.achName);
}

void RemoveClock(const ComPtr<IGraphBuilder>& graph) {
    Check(Query<IMediaFilter>(graph, "the graph lacks IMediaFilter")->SetSyncSource(nullptr),
          "cannot remove the graph's clock");
}

bool TakeEvent(IMediaEvent* events, long waitMs, const std::function<void(HRESULT)>& onRefused) {
    if (Interrupted()) {
        throw Failure(ExitCode::kInterrupted, "interrupted");
    }
    long code = 0;
    LONG_PTR first = 0;
    LONG_PTR second = 0;
    if (FAILED(events->GetEvent(&code, &first, &second, waitMs))) {
        return false;
    }
    std::ignore = events->FreeEventParams(code, first, second);  // nothing to free, or freed
    if (code == EC_STREAM_ERROR_STILLPLAYING) {
        onRefused(static_cast<HRESULT>(first));
    }
    if (code == EC_ERRORABORT ||
        (code == EC_STREAM_ERROR_STOPPED && !WarnOfStream(static_cast<HRESULT>(first), second))) {
        Check(static_cast<HRESULT>(first), "the graph aborted");
        throw Failure(ExitCode::kPlatform, "the graph aborted");
    }
    return code == EC_COMPLETE || code == EC_USERABORT;
}

void RunToEnd(const ComPtr<IGraphBuilder>& graph, const std::function<bool()>& goesOn,
              const std::function<void(HRESULT)>& onRefused) {
    const auto control = Query<IMediaControl>(graph, "the graph lacks IMediaControl");
    const auto events = Query<IMediaEvent>(graph, "the graph lacks IMediaEvent", IID_IMediaEvent);
    constexpr long kPollMs = 100;
    const HRESULT run = control->Run();
    try {
        Check(run, "cannot run the graph");
        while (goesOn() && !TakeEvent(events.Get(), kPollMs, onRefused)) {
        }
        goesOn();
    } catch (...) {
        control->Stop();
        throw;
    }
    control->Stop();
}

}  // namespace nyx::host
