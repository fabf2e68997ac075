#include "tests/support/test_filter.h"

#include <cstring>
#include <cwchar>

#include "tests/support/list_enumerator.h"

namespace nyx::test {

void* TestFilter::Find(REFIID iid) {
    if (iid == IID_IPersist || iid == IID_IMediaFilter) {
        return static_cast<IBaseFilter*>(this);
    }
    return TestObject::Find(iid);
}

HRESULT TestFilter::SetState(FILTER_STATE state) {
    OnStateChange(state);
    state_ = state;
    return S_OK;
}

HRESULT TestFilter::GetClassID(CLSID* clsid) {
    *clsid = {};
    return S_OK;
}

HRESULT TestFilter::GetState(DWORD, FILTER_STATE* state) {
    *state = state_;
    return S_OK;
}

HRESULT TestFilter::SetSyncSource(IReferenceClock*) {
    return S_OK;
}

HRESULT TestFilter::GetSyncSource(IReferenceClock** clock) {
    *clock = nullptr;
    return S_OK;
}

HRESULT TestFilter::EnumPins(IEnumPins** pins) {
    *pins = new PinEnumerator({ComPtr<IPin>(pin())});
    return S_OK;
}

HRESULT TestFilter::FindPin(LPCWSTR, IPin** found) {
    *found = nullptr;
    return VFW_E_NOT_FOUND;
}

HRESULT TestFilter::QueryFilterInfo(FILTER_INFO* info) {
    std::memcpy(info->achName, name_, sizeof(name_));
    info->pGraph = graph_;
    if (graph_) {
        graph_->AddRef();
    }
    return S_OK;
}

HRESULT TestFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    graph_ = graph;
    std::wcsncpy(name_, name ? name : L"", MAX_FILTER_NAME - 1);
    return S_OK;
}

HRESULT TestFilter::QueryVendorInfo(LPWSTR*) {
    return E_NOTIMPL;
}

}  // namespace nyx::test
