#include "host/single_pin_filter.h"

#include <algorithm>
#include <cwchar>
#include <tuple>

namespace nyx::host {
namespace {

/// Hands a copy of an item to an enumerator's caller.
void HandOver(ComPtr<IPin> pin, IPin** out) {
    *out = pin.Detach();
}
void HandOver(MediaType type, AM_MEDIA_TYPE** out) {
    type.DetachTo(out);
}

/// Enumerates a list: IEnumPins over pins, IEnumMediaTypes over media types.
template <class Interface, class Item, class Output>
class Enumerator final : public Object<Interface> {
  public:
    explicit Enumerator(const std::vector<Item>& items, std::size_t at = 0)
        : items_(items), at_(at) {}

    /// Creates an enumerator of `items` that starts with number `at`. E_POINTER, E_OUTOFMEMORY.
    [[nodiscard]] static HRESULT Create(const std::vector<Item>& items, Interface** out,
                                        std::size_t at = 0) {
        if (!out) {
            return E_POINTER;
        }
        return Guarded([&] {
            *out = new Enumerator(items, at);
            return S_OK;
        });
    }

    STDMETHODIMP Next(ULONG count, Output** out, ULONG* fetched) override {
        if (!out || (!fetched && count != 1)) {
            return E_POINTER;
        }
        ULONG written = 0;
        const HRESULT result = Guarded([&] {
            for (; written < count && at_ < items_.size(); ++written, ++at_) {
                HandOver(items_[at_], &out[written]);
            }
            return written == count ? S_OK : S_FALSE;
        });
        if (fetched) {
            *fetched = written;
        }
        return result;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t step = std::min<std::size_t>(count, items_.size() - at_);
        at_ += step;
        return step == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        at_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** clone) override { return Create(items_, clone, at_); }

  private:
    const std::vector<Item> items_;
    std::size_t at_;
};

using PinEnumerator = Enumerator<IEnumPins, ComPtr<IPin>, IPin>;
using TypeEnumerator = Enumerator<IEnumMediaTypes, MediaType, AM_MEDIA_TYPE>;

}  // namespace

STDMETHODIMP SinglePin::QueryInterface(REFIID iid, void** object) {
    return HandOut(Find(iid), static_cast<IPin*>(this), object);
}

void* SinglePin::Find(REFIID iid) {
    if (iid == IID_IMemInputPin) {
        return direction_ == PINDIR_INPUT ? static_cast<IMemInputPin*>(this) : nullptr;
    }
    if (iid == IID_IPinConnection) {
        return onDynamicType ? static_cast<IPinConnection*>(this) : nullptr;
    }
    return iid == IID_IUnknown || iid == IID_IPin ? static_cast<IPin*>(this) : nullptr;
}

STDMETHODIMP_(ULONG) SinglePin::AddRef() {
    return filter_->AddRef();
}

STDMETHODIMP_(ULONG) SinglePin::Release() {
    return filter_->Release();
}

HRESULT SinglePin::MayConnect() const {
    if (peer) {
        return VFW_E_ALREADY_CONNECTED;
    }
    return filter_->State() == State_Stopped ? S_OK : VFW_E_NOT_STOPPED;
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
    // The peer may query both from here on; a failure resets them.
    type = wanted;
    peer = to;
    HRESULT result = to->ReceiveConnection(this, &type);
    if (SUCCEEDED(result)) {
        transport = As<IMemInputPin>(to);
        result = transport ? chooseAllocator(transport.Get(), allocator.ReleaseAndGetAddressOf())
                           : VFW_E_NO_TRANSPORT;
        if (SUCCEEDED(result)) {
            result = transport->NotifyAllocator(allocator.Get(), FALSE);
        }
        if (FAILED(result)) {
            std::ignore = to->Disconnect();  // the first failure is reported
        }
    }
    if (FAILED(result)) {
        std::ignore = Disconnect();  // stopped, so that it cannot fail
    }
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
    *to = ComPtr<IPin>(peer).Detach();
    return *to ? S_OK : VFW_E_NOT_CONNECTED;
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
    *info = {.pFilter = filter_, .dir = direction_, .achName = {}};
    std::wcscpy(info->achName, Name());
    AddRef();
    return S_OK;
}

STDMETHODIMP SinglePin::QueryDirection(PIN_DIRECTION* direction) {
    return StoreOut(direction, direction_);
}

STDMETHODIMP SinglePin::QueryId(LPWSTR* id) {
    if (!id) {
        return E_POINTER;
    }
    *id = static_cast<LPWSTR>(CoTaskMemAlloc((std::wcslen(Name()) + 1) * sizeof(wchar_t)));
    if (!*id) {
        return E_OUTOFMEMORY;
    }
    std::wcscpy(*id, Name());
    return S_OK;
}

STDMETHODIMP SinglePin::QueryAccept(const AM_MEDIA_TYPE* offered) {
    return offered ? Guarded([&] { return accept(*offered); }) : E_POINTER;
}

STDMETHODIMP SinglePin::EnumMediaTypes(IEnumMediaTypes** types) {
    return TypeEnumerator::Create(proposals, types);
}

STDMETHODIMP SinglePin::NotifyAllocator(IMemAllocator* chosen, BOOL) {
    if (!chosen) {
        return E_POINTER;
    }
    allocator = chosen;
    return S_OK;
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
    return StoreOut(clsid, CLSID_NULL);  // private to this program
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
    return StoreOut(state, state_.load());
}

STDMETHODIMP SinglePinFilter::SetSyncSource(IReferenceClock* clock) {
    const std::lock_guard lock(stateLock_);
    clock_ = clock;
    return S_OK;
}

STDMETHODIMP SinglePinFilter::GetSyncSource(IReferenceClock** clock) {
    const std::lock_guard lock(stateLock_);
    return clock ? clock_.CopyTo(clock) : E_POINTER;
}

STDMETHODIMP SinglePinFilter::EnumPins(IEnumPins** pins) {
    return Guarded([&] { return PinEnumerator::Create({&Pin()}, pins); });
}

STDMETHODIMP SinglePinFilter::FindPin(LPCWSTR id, IPin** found) {
    if (!id || !found) {
        return E_POINTER;
    }
    *found = std::wcscmp(id, Pin().Name()) == 0 ? &Pin() : nullptr;
    if (!*found) {
        return VFW_E_NOT_FOUND;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP SinglePinFilter::QueryFilterInfo(FILTER_INFO* info) {
    if (!info) {
        return E_POINTER;
    }
    std::wcscpy(info->achName, name_);
    info->pGraph = ComPtr<IFilterGraph>(graph_).Detach();
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
        std::ignore = sink_->Notify(event, first, second);  // the graph may ignore events
    }
}

}  // namespace nyx::host
