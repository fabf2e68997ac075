#pragma once

#include <functional>
#include <vector>

#include "host/media_type.h"
#include "platform/thread.h"

namespace nyx::host {

class SinglePinFilter;

/// The pin of a SinglePinFilter: an output that connects, or an input. It is a member of the filter
/// and shares its reference count. Methods behave as DirectShow documents them.
class SinglePin : public IPin, public IMemInputPin, public IPinConnection {
  public:
    SinglePin(SinglePinFilter* filter, PIN_DIRECTION direction)
        : filter_(filter), direction_(direction) {}
    virtual ~SinglePin() = default;

    // Behaviour, set before use.
    std::vector<MediaType> proposals;  ///< best first; an output connects with one of these
    /// S_OK for a type that the pin accepts.
    std::function<HRESULT(const MediaType&)> accept = [](const MediaType&) { return S_OK; };
    /// Chooses an output's allocator before the input is notified; by default the input's own.
    std::function<HRESULT(IMemInputPin*, IMemAllocator**)> chooseAllocator =
        [](IMemInputPin* to, IMemAllocator** chosen) { return to->GetAllocator(chosen); };
    /// Called with each sample and at the end of the stream, on the streaming thread.
    std::function<HRESULT(IMediaSample*)> onReceive;
    std::function<HRESULT()> onEndOfStream;
    /// Called by DynamicQueryAccept; the pin has IPinConnection when this is set.
    std::function<HRESULT(const MediaType&)> onDynamicType;

    // Set by a connection; read only.
    ComPtr<IPin> peer;
    MediaType type;
    ComPtr<IMemInputPin> transport;  ///< the peer's, on an output
    ComPtr<IMemAllocator> allocator;

    const wchar_t* Name() const { return direction_ == PINDIR_INPUT ? L"Input" : L"Output"; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP Connect(IPin* to, const AM_MEDIA_TYPE* wanted) override;
    STDMETHODIMP ReceiveConnection(IPin* from, const AM_MEDIA_TYPE* offered) override;
    STDMETHODIMP Disconnect() override;
    STDMETHODIMP ConnectedTo(IPin** to) override;
    STDMETHODIMP ConnectionMediaType(AM_MEDIA_TYPE* copy) override;
    STDMETHODIMP QueryPinInfo(PIN_INFO* info) override;
    STDMETHODIMP QueryDirection(PIN_DIRECTION* direction) override;
    STDMETHODIMP QueryId(LPWSTR* id) override;
    STDMETHODIMP QueryAccept(const AM_MEDIA_TYPE* offered) override;
    STDMETHODIMP EnumMediaTypes(IEnumMediaTypes** types) override;
    STDMETHODIMP QueryInternalConnections(IPin**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndOfStream() override { return onEndOfStream ? onEndOfStream() : S_OK; }
    STDMETHODIMP BeginFlush() override { return S_OK; }
    STDMETHODIMP EndFlush() override { return S_OK; }
    STDMETHODIMP NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override { return S_OK; }

    STDMETHODIMP GetAllocator(IMemAllocator**) override { return VFW_E_NO_ALLOCATOR; }
    STDMETHODIMP NotifyAllocator(IMemAllocator* chosen, BOOL readOnly) override;
    STDMETHODIMP GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) override { return E_NOTIMPL; }
    STDMETHODIMP Receive(IMediaSample* sample) override;
    STDMETHODIMP ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) override;
    STDMETHODIMP ReceiveCanBlock() override { return S_FALSE; }

    STDMETHODIMP DynamicQueryAccept(const AM_MEDIA_TYPE* offered) override;
    STDMETHODIMP NotifyEndOfStream(HANDLE) override { return E_NOTIMPL; }
    STDMETHODIMP IsEndPin() override { return S_OK; }
    STDMETHODIMP DynamicDisconnect() override { return E_NOTIMPL; }

  protected:
    /// Connects with the type `wanted` and agrees on an allocator. A failure leaves no connection.
    [[nodiscard]] HRESULT ConnectAs(IPin* to, const MediaType& wanted);

  private:
    /// S_OK, VFW_E_ALREADY_CONNECTED or VFW_E_NOT_STOPPED.
    [[nodiscard]] HRESULT MayConnect() const;
    /// The pin as interface `iid`, without a new reference, or null.
    void* Find(REFIID iid);

    SinglePinFilter* const filter_;
    const PIN_DIRECTION direction_;
};

/// A DirectShow filter with one fixed pin, a member of the derived class.
class SinglePinFilter : public Object<IBaseFilter, IAMFilterMiscFlags> {
  public:
    /// The current state; any thread.
    FILTER_STATE State() const { return state_; }
    /// Sends an event to the graph; does nothing when the filter is in no graph.
    void NotifyGraph(long event, LONG_PTR first, LONG_PTR second);

    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP Stop() override;
    STDMETHODIMP Pause() override;
    STDMETHODIMP Run(REFERENCE_TIME start) override;
    STDMETHODIMP GetState(DWORD timeout, FILTER_STATE* state) override;
    STDMETHODIMP SetSyncSource(IReferenceClock* clock) override;
    STDMETHODIMP GetSyncSource(IReferenceClock** clock) override;
    STDMETHODIMP EnumPins(IEnumPins** pins) override;
    STDMETHODIMP FindPin(LPCWSTR id, IPin** found) override;
    STDMETHODIMP QueryFilterInfo(FILTER_INFO* info) override;
    STDMETHODIMP JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    STDMETHODIMP QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP_(ULONG) GetMiscFlags() override { return 0; }

  protected:
    virtual SinglePin& Pin() = 0;

    /// Called at state changes, in the application's thread. OnStart enters pause from stop and may
    /// fail.
    [[nodiscard]] virtual HRESULT OnStart() { return S_OK; }
    virtual void OnRun() {}
    virtual void OnStop() {}

    void* Find(REFIID iid) override;

  private:
    Mutex stateLock_;
    std::atomic<FILTER_STATE> state_{State_Stopped};
    ComPtr<IReferenceClock> clock_;
    IFilterGraph* graph_ = nullptr;    // without a reference: the graph owns its filters
    IMediaEventSink* sink_ = nullptr;  // the graph's, without a reference
    wchar_t name_[MAX_FILTER_NAME] = L"";
};

}  // namespace nyx::host
