#include "single_pin_filter.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <new>

namespace nyx::host {
namespace {

/// The counted identity that both enumerators share.
template <class Interface>
class Enumerator : public Interface {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = iid == IID_IUnknown || iid == __uuidof(Interface) ? this : nullptr;
        return *object == nullptr ? E_NOINTERFACE : (AddRef(), S_OK);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

  protected:
    virtual ~Enumerator() = default;

  private:
    std::atomic<ULONG> references_{1};
};

/// Hands out a new enumerator made by `make`, whose exceptions end here.
template <class Interface, class Make>
HRESULT HandOut(Interface** out, Make make) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    try {
        *out = make();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

/// Enumerates the one pin.
class PinEnumerator final : public Enumerator<IEnumPins> {
  public:
    PinEnumerator(IPin* pin, bool done) : pin_(pin), done_(done) {}

    STDMETHODIMP Next(ULONG count, IPin** pins, ULONG* fetched) override {
        if (pins == nullptr || (fetched == nullptr && count != 1)) {
            return E_POINTER;
        }
        const ULONG given = count > 0 && !done_ ? 1 : 0;
        if (given == 1) {
            pin_.CopyTo(pins);
            done_ = true;
        }
        if (fetched != nullptr) {
            *fetched = given;
        }
        return given == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const ULONG left = done_ ? 0 : 1;
        done_ = done_ || count > 0;
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        done_ = false;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumPins** clone) override {
        return HandOut(clone, [this] { return new PinEnumerator(pin_.Get(), done_); });
    }

  private:
    ComPtr<IPin> pin_;
    bool done_;
};

/// Enumerates a list of media types.
class TypeEnumerator final : public Enumerator<IEnumMediaTypes> {
  public:
    TypeEnumerator(std::vector<MediaType> types, std::size_t next)
        : types_(std::move(types)), next_(next) {}

    STDMETHODIMP Next(ULONG count, AM_MEDIA_TYPE** types, ULONG* fetched) override {
        if (types == nullptr || (fetched == nullptr && count != 1)) {
            return E_POINTER;
        }
        ULONG given = 0;
        while (given < count && next_ < types_.size()) {
            types[given] = NewCopy(types_[next_]);
            if (types[given] == nullptr) {
                break;
            }
            ++given;
            ++next_;
        }
        if (fetched != nullptr) {
            *fetched = given;
        }
        return given == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t step = std::min<std::size_t>(count, types_.size() - next_);
        next_ += step;
        return step == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        next_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumMediaTypes** clone) override {
        return HandOut(clone, [this] { return new TypeEnumerator(types_, next_); });
    }

  private:
    static AM_MEDIA_TYPE* NewCopy(const MediaType& type) {
        auto* copy = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
        if (copy != nullptr && FAILED(type.CopyTo(copy))) {
            CoTaskMemFree(copy);
            copy = nullptr;
        }
        return copy;
    }

    std::vector<MediaType> types_;
    std::size_t next_;
};

}  // namespace

STDMETHODIMP SinglePinFilter::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    if (iid == IID_IUnknown || iid == IID_IPersist || iid == IID_IMediaFilter ||
        iid == IID_IBaseFilter) {
        *object = static_cast<IBaseFilter*>(this);
    } else {
        *object = OtherInterface(iid);
    }
    return *object == nullptr ? E_NOINTERFACE : (AddRef(), S_OK);
}

STDMETHODIMP_(ULONG) SinglePinFilter::AddRef() {
    return ++references_;
}

STDMETHODIMP_(ULONG) SinglePinFilter::Release() {
    const ULONG left = --references_;
    if (left == 0) {
        delete this;
    }
    return left;
}

STDMETHODIMP SinglePinFilter::GetClassID(CLSID* clsid) {
    if (clsid == nullptr) {
        return E_POINTER;
    }
    *clsid = CLSID_NULL;  // private to this program
    return S_OK;
}

STDMETHODIMP SinglePinFilter::Stop() {
    const std::lock_guard<std::mutex> lock(stateLock_);
    if (state_ != State_Stopped) {
        state_ = State_Stopped;
        OnStop();
    }
    return S_OK;
}

STDMETHODIMP SinglePinFilter::Pause() {
    const std::lock_guard<std::mutex> lock(stateLock_);
    if (state_ == State_Stopped) {
        state_ = State_Paused;
        const HRESULT result = OnStart();
        if (FAILED(result)) {
            state_ = State_Stopped;
            return result;
        }
    }
    state_ = State_Paused;
    return S_OK;
}

STDMETHODIMP SinglePinFilter::Run(REFERENCE_TIME) {
    const HRESULT result = Pause();
    if (FAILED(result)) {
        return result;
    }
    const std::lock_guard<std::mutex> lock(stateLock_);
    state_ = State_Running;
    OnRun();
    return S_OK;
}

STDMETHODIMP SinglePinFilter::GetState(DWORD, FILTER_STATE* state) {
    if (state == nullptr) {
        return E_POINTER;
    }
    *state = state_;
    return S_OK;
}

STDMETHODIMP SinglePinFilter::SetSyncSource(IReferenceClock* clock) {
    const std::lock_guard<std::mutex> lock(stateLock_);
    clock_ = clock;
    return S_OK;
}

STDMETHODIMP SinglePinFilter::GetSyncSource(IReferenceClock** clock) {
    if (clock == nullptr) {
        return E_POINTER;
    }
    const std::lock_guard<std::mutex> lock(stateLock_);
    return clock_.CopyTo(clock);
}

STDMETHODIMP SinglePinFilter::EnumPins(IEnumPins** pins) {
    return HandOut(pins, [this] { return new PinEnumerator(&Pin(), false); });
}

STDMETHODIMP SinglePinFilter::FindPin(LPCWSTR id, IPin** pin) {
    if (id == nullptr || pin == nullptr) {
        return E_POINTER;
    }
    *pin = nullptr;
    if (std::wcscmp(id, Pin().Name()) != 0) {
        return VFW_E_NOT_FOUND;
    }
    *pin = &Pin();
    (*pin)->AddRef();
    return S_OK;
}

STDMETHODIMP SinglePinFilter::QueryFilterInfo(FILTER_INFO* info) {
    if (info == nullptr) {
        return E_POINTER;
    }
    std::copy(std::begin(name_), std::end(name_), info->achName);
    info->pGraph = graph_;
    if (graph_ != nullptr) {
        graph_->AddRef();
    }
    return S_OK;
}

STDMETHODIMP SinglePinFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    graph_ = graph;
    sink_ = nullptr;
    name_[0] = L'\0';
    if (graph != nullptr) {
        ComPtr<IMediaEventSink> sink;
        if (SUCCEEDED(graph->QueryInterface(IID_IMediaEventSink,
                                            reinterpret_cast<void**>(sink.GetAddressOf())))) {
            sink_ = sink.Get();
        }
        if (name != nullptr) {
            std::wcsncpy(name_, name, MAX_FILTER_NAME - 1);
        }
    }
    return S_OK;
}

STDMETHODIMP SinglePinFilter::QueryVendorInfo(LPWSTR*) {
    return E_NOTIMPL;
}

void SinglePinFilter::NotifyGraph(long event, LONG_PTR first, LONG_PTR second) {
    if (sink_ != nullptr) {
        sink_->Notify(event, first, second);
    }
}

STDMETHODIMP SinglePin::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    if (iid == IID_IUnknown || iid == IID_IPin) {
        *object = static_cast<IPin*>(this);
    } else {
        *object = OtherInterface(iid);
    }
    return *object == nullptr ? E_NOINTERFACE : (AddRef(), S_OK);
}

STDMETHODIMP SinglePin::Connect(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

STDMETHODIMP SinglePin::ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

STDMETHODIMP SinglePin::Disconnect() {
    if (!filter_.IsStopped()) {
        return VFW_E_NOT_STOPPED;
    }
    if (peer_ == nullptr) {
        return S_FALSE;
    }
    OnDisconnect();
    peer_.Reset();
    return S_OK;
}

STDMETHODIMP SinglePin::ConnectedTo(IPin** peer) {
    if (peer == nullptr) {
        return E_POINTER;
    }
    peer_.CopyTo(peer);
    return peer_ == nullptr ? VFW_E_NOT_CONNECTED : S_OK;
}

STDMETHODIMP SinglePin::ConnectionMediaType(AM_MEDIA_TYPE* type) {
    if (type == nullptr) {
        return E_POINTER;
    }
    if (peer_ == nullptr) {
        *type = {};
        return VFW_E_NOT_CONNECTED;
    }
    return type_.CopyTo(type);
}

STDMETHODIMP SinglePin::QueryPinInfo(PIN_INFO* info) {
    if (info == nullptr) {
        return E_POINTER;
    }
    info->dir = direction_;
    std::wcsncpy(info->achName, name_, MAX_PIN_NAME);
    info->pFilter = &filter_;
    filter_.AddRef();
    return S_OK;
}

STDMETHODIMP SinglePin::QueryDirection(PIN_DIRECTION* direction) {
    if (direction == nullptr) {
        return E_POINTER;
    }
    *direction = direction_;
    return S_OK;
}

STDMETHODIMP SinglePin::QueryId(LPWSTR* id) {
    if (id == nullptr) {
        return E_POINTER;
    }
    const std::size_t bytes = (std::wcslen(name_) + 1) * sizeof(wchar_t);
    *id = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    if (*id == nullptr) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(*id, name_, bytes);
    return S_OK;
}

STDMETHODIMP SinglePin::QueryAccept(const AM_MEDIA_TYPE* type) {
    if (type == nullptr) {
        return E_POINTER;
    }
    return Accepts(*type) ? S_OK : S_FALSE;
}

STDMETHODIMP SinglePin::EnumMediaTypes(IEnumMediaTypes** types) {
    return HandOut(types, [this] { return new TypeEnumerator(Types(), 0); });
}

STDMETHODIMP SinglePin::QueryInternalConnections(IPin**, ULONG*) {
    return E_NOTIMPL;
}

STDMETHODIMP SinglePin::EndOfStream() {
    return E_UNEXPECTED;
}

STDMETHODIMP SinglePin::BeginFlush() {
    return E_UNEXPECTED;
}

STDMETHODIMP SinglePin::EndFlush() {
    return E_UNEXPECTED;
}

STDMETHODIMP SinglePin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
    return S_OK;
}

}  // namespace nyx::host
