#pragma once

#include <cwchar>
#include <vector>

#include "tests/support/com_ptr.h"
#include "tests/support/list_enumerator.h"
#include "tests/support/test_filter.h"

namespace nyx::test {

/// What both pins of the suite's own have in common: identity, reference counting by the filter,
/// the peer and the connected type. `More` are the interfaces beside IPin.
template <class... More>
class TestPin : public IPin, public More... {
  public:
    TestPin(TestFilter* filter, PIN_DIRECTION direction) : filter_(filter), direction_(direction) {}
    TestPin(const TestPin&) = delete;
    TestPin& operator=(const TestPin&) = delete;

    /// Types that EnumMediaTypes proposes.
    std::vector<MediaType> proposals;

    IPin* peer() const { return peer_.get(); }
    const MediaType& type() const { return type_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = iid == IID_IUnknown ? static_cast<IPin*>(this) : Find(iid);
        if (!*object) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return filter_->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return filter_->Release(); }

    HRESULT STDMETHODCALLTYPE Disconnect() override {
        type_.Clear();
        const bool connected = static_cast<bool>(peer_);
        peer_.Reset();
        return connected ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** peer) override {
        *peer = peer_.get();
        if (!peer_) {
            return VFW_E_NOT_CONNECTED;
        }
        peer_->AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* type) override {
        MediaType copy(type_);
        *type = *copy.get();
        *copy.get() = {};
        return peer_ ? S_OK : VFW_E_NOT_CONNECTED;
    }
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* info) override {
        info->pFilter = filter_;
        filter_->AddRef();
        info->dir = direction_;
        std::wcscpy(info->achName, L"Test");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* direction) override {
        *direction = direction_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override {
        *id = static_cast<LPWSTR>(CoTaskMemAlloc(sizeof(L"Test")));
        std::wcscpy(*id, L"Test");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** types) override {
        *types = new TypeEnumerator(proposals);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin**, ULONG*) override {
        return E_NOTIMPL;
    }

  protected:
    ~TestPin() = default;

    virtual void* Find(REFIID iid) { return FindInterface<IPin, More...>(this, iid); }

    TestFilter* filter_;
    PIN_DIRECTION direction_;
    ComPtr<IPin> peer_;
    MediaType type_;
};

}  // namespace nyx::test
