#include "one_filter_rule.h"

#include <tuple>

#include <ocidl.h>

#include "com.h"

namespace nyx::host {
namespace {

std::size_t CountFilters(IGraphBuilder* graph) {
    ComPtr<IEnumFilters> filters;
    ComPtr<IBaseFilter> filter;
    std::size_t count = 0;
    if (SUCCEEDED(graph->EnumFilters(filters.GetAddressOf()))) {
        while (filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
            ++count;
        }
    }
    return count;
}

}  // namespace

void OneFilterRule::ApplyTo(IGraphBuilder* graph) {
    graph_ = graph;
    ownFilters_ = CountFilters(graph);
    if (const auto holder = As<IObjectWithSite>(graph)) {
        std::ignore = holder->SetSite(this);  // on failure the graph stays unrestricted
    }
}

STDMETHODIMP OneFilterRule::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = iid == IID_IUnknown || iid == IID_IAMGraphBuilderCallback ? this : nullptr;
    return *object == nullptr ? E_NOINTERFACE : S_OK;
}

STDMETHODIMP OneFilterRule::SelectedFilter(IMoniker*) {
    return CountFilters(graph_) > ownFilters_ ? E_FAIL : S_OK;
}

STDMETHODIMP OneFilterRule::CreatedFilter(IBaseFilter*) {
    return S_OK;
}

}  // namespace nyx::host
