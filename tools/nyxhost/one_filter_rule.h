#pragma once

#include <dshow.h>

#include <cstddef>

namespace nyx::host {

/// Limits a graph's intelligent connect to one filter between two pins, so that pictures come from
/// the decoder itself and not from a colour converter behind it, and the search stays short. Must
/// outlive the graph that it is applied to.
class OneFilterRule final : public IAMGraphBuilderCallback {
  public:
    /// Applies to `graph` from now on and ignores the filters that it has already. A graph without
    /// IObjectWithSite stays unrestricted.
    void ApplyTo(IGraphBuilder* graph);

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }  // lives by scope, not by count
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP SelectedFilter(IMoniker* moniker) override;
    STDMETHODIMP CreatedFilter(IBaseFilter* filter) override;

  private:
    IGraphBuilder* graph_ = nullptr;
    std::size_t ownFilters_ = 0;
};

}  // namespace nyx::host
