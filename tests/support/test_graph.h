#pragma once

#include <algorithm>
#include <mutex>
#include <vector>

#include "tests/support/media_type.h"
#include "tests/support/test_object.h"

namespace nyx::test {

/// A stand-in for the filter graph that only collects the events of the filters in it.
class TestGraph : public TestObject<IFilterGraph, IMediaEventSink> {
  public:
    struct Event {
        long code;
        LONG_PTR parameter1;
    };

    std::vector<Event> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    /// How many events of this code have come.
    int Count(long code) const {
        const auto all = events();
        return static_cast<int>(std::count_if(
            all.begin(), all.end(), [code](const Event& event) { return event.code == code; }));
    }

    HRESULT STDMETHODCALLTYPE AddFilter(IBaseFilter*, LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveFilter(IBaseFilter*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumFilters(IEnumFilters**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindFilterByName(LPCWSTR, IBaseFilter**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ConnectDirect(IPin*, IPin*, const AM_MEDIA_TYPE*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Reconnect(IPin*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Disconnect(IPin*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDefaultSyncSource() override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE Notify(LONG code, LONG_PTR parameter1, LONG_PTR) override {
        const std::lock_guard lock(mutex_);
        events_.push_back({code, parameter1});
        return S_OK;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Event> events_;
};

}  // namespace nyx::test
