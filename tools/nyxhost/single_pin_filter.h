#pragma once

#include <dshow.h>

#include <atomic>
#include <mutex>

#include "com.h"
#include "media_type.h"

namespace nyx::host {

class SinglePin;

/// A DirectShow filter with one pin that cannot change: what the tool's source and sink share. The
/// derived class is the filter, its member the pin; both live by one reference count, starting
/// at 1. Methods answer as DirectShow documents them.
class SinglePinFilter : public IBaseFilter {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetClassID(CLSID* clsid) override;

    STDMETHODIMP Stop() override;
    STDMETHODIMP Pause() override;
    STDMETHODIMP Run(REFERENCE_TIME start) override;
    STDMETHODIMP GetState(DWORD timeout, FILTER_STATE* state) override;
    STDMETHODIMP SetSyncSource(IReferenceClock* clock) override;
    STDMETHODIMP GetSyncSource(IReferenceClock** clock) override;

    STDMETHODIMP EnumPins(IEnumPins** pins) override;
    STDMETHODIMP FindPin(LPCWSTR id, IPin** pin) override;
    STDMETHODIMP QueryFilterInfo(FILTER_INFO* info) override;
    STDMETHODIMP JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    STDMETHODIMP QueryVendorInfo(LPWSTR* info) override;

    /// The current state; any thread.
    FILTER_STATE State() const { return state_; }
    bool IsStopped() const { return state_ == State_Stopped; }

    /// Tells the graph's owner something; nothing when the filter is in no graph.
    void NotifyGraph(long event, LONG_PTR first, LONG_PTR second);

  protected:
    virtual ~SinglePinFilter() = default;

    virtual SinglePin& Pin() = 0;

    /// A further interface of the filter, not yet counted; null when it has none.
    virtual IUnknown* OtherInterface(REFIID) { return nullptr; }

    /// Called at the state changes, in the application's thread. Entering pause from stop may fail;
    /// leaving for stop may not.
    virtual HRESULT OnStart() { return S_OK; }
    virtual void OnRun() {}
    virtual void OnStop() {}

  private:
    std::atomic<ULONG> references_{1};
    std::mutex stateLock_;
    std::atomic<FILTER_STATE> state_{State_Stopped};
    ComPtr<IReferenceClock> clock_;
    IFilterGraph* graph_ = nullptr;    // not counted: the graph owns its filters
    IMediaEventSink* sink_ = nullptr;  // the same
    wchar_t name_[MAX_FILTER_NAME] = L"";
};

/// The pin of a SinglePinFilter. A derived class decides what connects.
class SinglePin : public IPin {
  public:
    SinglePin(SinglePinFilter& filter, PIN_DIRECTION direction, const wchar_t* name)
        : filter_(filter), direction_(direction), name_(name) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return filter_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return filter_.Release(); }

    STDMETHODIMP Connect(IPin* receiver, const AM_MEDIA_TYPE* type) override;
    STDMETHODIMP ReceiveConnection(IPin* sender, const AM_MEDIA_TYPE* type) override;
    STDMETHODIMP Disconnect() override;
    STDMETHODIMP ConnectedTo(IPin** peer) override;
    STDMETHODIMP ConnectionMediaType(AM_MEDIA_TYPE* type) override;
    STDMETHODIMP QueryPinInfo(PIN_INFO* info) override;
    STDMETHODIMP QueryDirection(PIN_DIRECTION* direction) override;
    STDMETHODIMP QueryId(LPWSTR* id) override;
    STDMETHODIMP QueryAccept(const AM_MEDIA_TYPE* type) override;
    STDMETHODIMP EnumMediaTypes(IEnumMediaTypes** types) override;
    STDMETHODIMP QueryInternalConnections(IPin** pins, ULONG* count) override;
    STDMETHODIMP EndOfStream() override;
    STDMETHODIMP BeginFlush() override;
    STDMETHODIMP EndFlush() override;
    STDMETHODIMP NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

    const wchar_t* Name() const { return name_; }

  protected:
    virtual ~SinglePin() = default;

    /// A further interface of the pin, not yet counted; null when it has none.
    virtual IUnknown* OtherInterface(REFIID) { return nullptr; }

    /// The types that the pin proposes, best first.
    virtual std::vector<MediaType> Types() const { return {}; }

    /// Whether the pin can work with this type.
    virtual bool Accepts(const AM_MEDIA_TYPE& type) const = 0;

    /// Gives up what a connection brought beyond the peer.
    virtual void OnDisconnect() {}

    SinglePinFilter& filter_;
    ComPtr<IPin> peer_;
    MediaType type_;  ///< of the connection, while peer_ is set

  private:
    PIN_DIRECTION direction_;
    const wchar_t* name_;
};

}  // namespace nyx::host
