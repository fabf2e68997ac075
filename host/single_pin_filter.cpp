#include "host/single_pin_filter.h"

#include <algorithm>
#include <cwchar>

#include "host/enumerator.h"

namespace nyx::host {

STDMETHODIMP SinglePin::QueryInterface(REFIID iid, void** object) {
    if (!object) {
        return E_POINTER;
    }
    const bool isInput = direction_ == PINDIR_INPUT;
    *object = iid == IID_IUnknown || iid == IID_IPin       ? static_cast<IPin*>(this)
              : isInput && iid == IID_IMemInputPin         ? static_cast<IMemInputPin*>(this)
              : onDynamicType && iid == IID_IPinConnection ? static_cast<IPinConnection*>(this)
                                                           : static_cast<void*>(nullptr);
    return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) SinglePin::AddRef() {
    return filter_->AddRef();
}

STDMETHODIMP_(ULONG) SinglePin::Release() {
    return filter_->Release();
}

HRESULT SinglePin::MayConnect() const {
    return peer                                ? VFW_E_ALREADY_CONNECTED
           : filter_->State() != State_Stopped ? VFW_E_NOT_STOPPED
                                               : S_OK;
}

STDMETHODIMP SinglePin::Connect(IPin* to, const AM_MEDIA_TYPE* wanted) {
    if (!to) {
        return E_POINTER;
    }
    if (const HRESULT ready = MayConnect()) {
        return ready;
    }
    const auto chosen =
        std::find_if(proposals.begin(), proposals.end(),
                     [wanted](const MediaType& own) { return !wanted || own.Fits(*wanted); });
    if (chosen == proposals.end()) {
        return wanted ? VFW_E_TYPE_NOT_ACCEPTED : VFW_E_NO_ACCEPTABLE_TYPES;
    }
    return Guarded([&] { return ConnectAs(to, *chosen); });
}

HRESULT SinglePin::ConnectAs(IPin* to, const MediaType& wanted) {
    // Set while the peer looks at them, and undone on failure.
    type = wanted;
    peer = to;
    HRESULT result = to->ReceiveConnection(this, &type);
    if (SUCCEEDED(result)) {
        transport = As<IMemInputPin>(to);
        result = transport ? chooseAllocator(transport.Get(), allocator.ReleaseAndGetAddressOf())
                           : VFW_E_NO_TRANSPORT;
        result = FAILED(result) ? result : transport->NotifyAllocator(allocator.Get(), FALSE);
        FAILED(result) ? to->Disconnect() : S_OK;
    }
    FAILED(result) ? Disconnect() : S_OK;
    return result;
}

STDMETHODIMP SinglePin::ReceiveConnection(IPin* from, const AM_MEDIA_TYPE* offered) {
    if (!from || !offered) {
        return E_POINTER;
    }
    if (const HRESULT ready = MayConnect()) {
        return ready;
    }
    return Guarded([&] {
        const MediaType copy(*offered);
        if (direction_ == PINDIR_OUTPUT || accept(copy) != S_OK) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        type = copy;
        peer = from;
        return S_OK;
    });
}

STDMETHODIMP SinglePin::Disconnect() {
    if (filter_->State() != State_Stopped) {
        return VFW_E_NOT_STOPPED;
    }
    type.Clear();
    transport.Reset();
    allocator.Reset();
    return std::exchange(peer, nullptr) ? S_OK : S_FALSE;
}

STDMETHODIMP SinglePin::ConnectedTo(IPin** to) {
    if (!to) {
        return E_POINTER;
    }
    return peer.CopyTo(to), peer ? S_OK : VFW_E_NOT_CONNECTED;
}

STDMETHODIMP SinglePin::ConnectionMediaType(AM_MEDIA_TYPE* copy) {
    if (!copy) {
        return E_POINTER;
    }
    *copy = {};
    return Guarded([&] {
        *copy = MediaType(type).Detach();
        return peer ? S_OK : VFW_E_NOT_CONNECTED;
    });
}

STDMETHODIMP SinglePin::QueryPinInfo(PIN_INFO* info) {
    if (!info) {
        return E_POINTER;
    }
    *info = {filter_, direction_, {}};
    std::wcscpy(info->achName, Name());
    return AddRef(), S_OK;
}

STDMETHODIMP SinglePin::QueryDirection(PIN_DIRECTION* direction) {
    return direction ? (*direction = direction_, S_OK) : E_POINTER;
}

STDMETHODIMP SinglePin::QueryId(LPWSTR* id) {
    if (!id) {
        return E_POINTER;
    }
    *id = static_cast<LPWSTR>(CoTaskMemAlloc((std::wcslen(Name()) + 1) * sizeof(wchar_t)));
    return *id ? (std::wcscpy(*id, Name()), S_OK) : E_OUTOFMEMORY;
}

STDMETHODIMP SinglePin::QueryAccept(const AM_MEDIA_TYPE* offered) {
    return offered ? Guarded([&] { return accept(*offered); }) : E_POINTER;
}

STDMETHODIMP SinglePin::EnumMediaTypes(IEnumMediaTypes** types) {
    return TypeEnumerator::HandOut(proposals, types);
}

STDMETHODIMP SinglePin::NotifyAllocator(IMemAllocator* told, BOOL) {
    return told ? (allocator = told, S_OK) : E_POINTER;
}

STDMETHODIMP SinglePin::Receive(IMediaSample* sample) {
    if (!sample) {
        return E_POINTER;
    }
    return onReceive ? onReceive(sample) : S_OK;
}

STDMETHODIMP SinglePin::ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) {
    if (!samples || !processed) {
        return E_POINTER;
    }
    HRESULT result = S_OK;
    for (*processed = 0; *processed < count && result == S_OK; ++*processed) {
        result = Receive(samples[*processed]);
    }
    return result;
}

STDMETHODIMP SinglePin::DynamicQueryAccept(const AM_MEDIA_TYPE* offered) {
    return offered ? Guarded([&] { return onDynamicType(*offered); }) : E_POINTER;
}

void* SinglePinFilter::Find(REFIID iid) {
    return iid == IID_IPersist || iid == IID_IMediaFilter ? static_cast<IBaseFilter*>(this)
                                                          : Object::Find(iid);
}

STDMETHODIMP SinglePinFilter::GetClassID(CLSID* clsid) {
    return clsid ? (*clsid = CLSID_NULL, S_OK) : E_POINTER;  // private to this program
}

STDMETHODIMP SinglePinFilter::Stop() {
    const std::lock_guard lock(stateLock_);
    if (state_.exchange(State_Stopped) != State_Stopped) {
        OnStop();
    }
    return S_OK;
}

STDMETHODIMP SinglePinFilter::Pause() {
    const std::lock_guard lock(stateLock_);
    if (state_.exchange(State_Paused) == State_Stopped) {
        if (const HRESULT result = OnStart(); FAILED(result)) {
            state_ = State_Stopped;
            return result;
        }
    }
    return S_OK;
}

STDMETHODIMP SinglePinFilter::Run(REFERENCE_TIME) {
    if (const HRESULT result = Pause(); FAILED(result)) {
        return result;
    }
    const std::lock_guard lock(stateLock_);
    state_ = State_Running;
    OnRun();
    return S_OK;
}

STDMETHODIMP SinglePinFilter::GetState(DWORD, FILTER_STATE* state) {
    return state ? (*state = state_, S_OK) : E_POINTER;
}

STDMETHODIMP SinglePinFilter::SetSyncSource(IReferenceClock* clock) {
    const std::lock_guard lock(stateLock_);
    return clock_ = clock, S_OK;
}

STDMETHODIMP SinglePinFilter::GetSyncSource(IReferenceClock** clock) {
    const std::lock_guard lock(stateLock_);
    return clock ? clock_.CopyTo(clock) : E_POINTER;
}

STDMETHODIMP SinglePinFilter::EnumPins(IEnumPins** pins) {
    return Guarded([&] { return PinEnumerator::HandOut({&Pin()}, pins); });
}

STDMETHODIMP SinglePinFilter::FindPin(LPCWSTR id, IPin** found) {
    if (!id || !found) {
        return E_POINTER;
    }
    *found = std::wcscmp(id, Pin().Name()) == 0 ? &Pin() : nullptr;
    return *found ? (AddRef(), S_OK) : VFW_E_NOT_FOUND;
}

STDMETHODIMP SinglePinFilter::QueryFilterInfo(FILTER_INFO* info) {
    if (!info) {
        return E_POINTER;
    }
    std::wcscpy(info->achName, name_);
    info->pGraph = graph_;
    if (graph_) {
        graph_->AddRef();
    }
    return S_OK;
}

STDMETHODIMP SinglePinFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    graph_ = graph;
    sink_ = As<IMediaEventSink>(graph).Get();
    std::wcsncpy(name_, graph && name ? name : L"", MAX_FILTER_NAME - 1);
    return S_OK;
}

void SinglePinFilter::NotifyGraph(long event, LONG_PTR first, LONG_PTR second) {
    if (sink_) {
        sink_->Notify(event, first, second);
    }
}

}  // namespace nyx::host
