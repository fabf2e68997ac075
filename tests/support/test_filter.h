#pragma once

#include <atomic>
#include <cstring>
#include <cwchar>

#include "tests/support/list_enumerator.h"
#include "tests/support/test_object.h"

namespace nyx::test {

/// A filter of the suite's own with exactly one pin, which the derived class supplies.
class TestFilter : public TestObject<IBaseFilter> {
  public:
    /// The one pin; it lives and dies with the filter and shares its reference count.
    virtual IPin* pin() = 0;

    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override {
        *clsid = {};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Stop() override { return SetState(State_Stopped); }
    HRESULT STDMETHODCALLTYPE Pause() override { return SetState(State_Paused); }
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME) override { return SetState(State_Running); }
    HRESULT STDMETHODCALLTYPE GetState(DWORD, FILTER_STATE* state) override {
        *state = state_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** clock) override {
        *clock = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** pins) override {
        *pins = new PinEnumerator({ComPtr<IPin>(pin())});
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR, IPin** found) override {
        *found = nullptr;
        return VFW_E_NOT_FOUND;
    }
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override {
        std::memcpy(info->achName, name_, sizeof(name_));
        info->pGraph = graph_;
        if (graph_) {
            graph_->AddRef();
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override {
        graph_ = graph;
        std::wcsncpy(name_, name ? name : L"", MAX_FILTER_NAME - 1);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

  protected:
    void* Find(REFIID iid) override {
        return FindInterface<IBaseFilter, IMediaFilter, IPersist>(this, iid);
    }

  private:
    HRESULT SetState(FILTER_STATE state) {
        state_ = state;
        return S_OK;
    }

    std::atomic<FILTER_STATE> state_{State_Stopped};
    IFilterGraph* graph_ = nullptr;  // not referenced, as filters of a graph must not
    WCHAR name_[MAX_FILTER_NAME] = {};
};

}  // namespace nyx::test
