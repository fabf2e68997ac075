#pragma once

#include <dshow.h>

#include <cstddef>

namespace nyx::host {

/// Keeps a graph's intelligent connect from putting more than one filter between two pins: what
/// arrives is then what the decoder itself delivers, not what a colour converter behind it made of
/// it, and the search stays short. Must outlive the graph that it is applied to.
class OneFilterRule final : public IAMGraphBuilderCallback {
  public:
    /// Applies to `graph` from now on; the filters that it has now are the caller's own. A graph
    /// that cannot be restricted is left as it is.
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
