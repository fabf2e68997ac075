#pragma once

#include <atomic>

#include "tests/support/media_type.h"
#include "tests/support/test_object.h"

namespace nyx::test {

/// A filter of the suite's own with exactly one pin, which the derived class supplies.
class TestFilter : public TestObject<IBaseFilter> {
  public:
    /// The one pin; it lives and dies with the filter and shares its reference count.
    virtual IPin* pin() = 0;

    FILTER_STATE state() const { return state_; }

    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override;
    HRESULT STDMETHODCALLTYPE Stop() override { return SetState(State_Stopped); }
    HRESULT STDMETHODCALLTYPE Pause() override { return SetState(State_Paused); }
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME) override { return SetState(State_Running); }
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeout, FILTER_STATE* state) override;
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* clock) override;
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** clock) override;
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** pins) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** pin) override;
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override;
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* vendor) override;

  protected:
    void* Find(REFIID iid) override;
    /// Called before the state is taken over.
    virtual void OnStateChange(FILTER_STATE) {}

  private:
    HRESULT SetState(FILTER_STATE state);

    std::atomic<FILTER_STATE> state_{State_Stopped};
    IFilterGraph* graph_ = nullptr;  // not referenced, as filters of a graph must not
    WCHAR name_[MAX_FILTER_NAME] = {};
};

}  // namespace nyx::test
