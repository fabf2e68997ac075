#include "frame_sink.h"

namespace nyx::host {

bool AcceptsPictures(const AM_MEDIA_TYPE& type) {
    return type.majortype == MEDIATYPE_Video && FindPictureFormat(type.subtype) != nullptr &&
           ReadVideoFormat(type).has_value();
}

IUnknown* FrameSink::OtherInterface(REFIID iid) {
    return iid == IID_IAMFilterMiscFlags ? &flag_ : nullptr;
}

HRESULT FrameSink::OnStart() {
    const std::lock_guard<std::mutex> lock(endLock_);
    endReached_ = endReported_ = false;
    return S_OK;
}

void FrameSink::OnRun() {
    ReportEndIfDue();
}

// The end may come while the graph is still paused; it counts from the start of running.
void FrameSink::ReportEndIfDue() {
    {
        const std::lock_guard<std::mutex> lock(endLock_);
        if (!endReached_ || endReported_ || State() != State_Running) {
            return;
        }
        endReported_ = true;
    }
    NotifyGraph(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this)));
}

STDMETHODIMP FrameSink::InputPin::ReceiveConnection(IPin* sender, const AM_MEDIA_TYPE* type) {
    if (sender == nullptr || type == nullptr) {
        return E_POINTER;
    }
    if (peer_ != nullptr) {
        return VFW_E_ALREADY_CONNECTED;
    }
    if (!filter_.IsStopped()) {
        return VFW_E_NOT_STOPPED;
    }
    if (!Accepts(*type)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    type_ = MediaType(*type);
    peer_ = sender;
    return S_OK;
}

STDMETHODIMP FrameSink::InputPin::EndOfStream() {
    {
        const std::lock_guard<std::mutex> lock(sink_.endLock_);
        sink_.endReached_ = true;
    }
    sink_.ReportEndIfDue();
    return S_OK;
}

STDMETHODIMP FrameSink::InputPin::GetAllocator(IMemAllocator** allocator) {
    return CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, IID_IMemAllocator,
                            reinterpret_cast<void**>(allocator));
}

STDMETHODIMP FrameSink::InputPin::NotifyAllocator(IMemAllocator* allocator, WINBOOL) {
    return allocator == nullptr ? E_POINTER : S_OK;
}

STDMETHODIMP FrameSink::InputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) {
    return E_NOTIMPL;
}

STDMETHODIMP FrameSink::InputPin::Receive(IMediaSample* sample) {
    if (sample == nullptr) {
        return E_POINTER;
    }
    if (filter_.IsStopped()) {
        return VFW_E_WRONG_STATE;
    }
    sink_.onFrame_(*sample);
    return S_OK;
}

STDMETHODIMP FrameSink::InputPin::ReceiveMultiple(IMediaSample** samples, long count,
                                                  long* processed) {
    if (samples == nullptr || processed == nullptr) {
        return E_POINTER;
    }
    HRESULT result = S_OK;
    for (*processed = 0; *processed < count && result == S_OK; ++*processed) {
        result = Receive(samples[*processed]);
    }
    return result;
}

STDMETHODIMP FrameSink::InputPin::DynamicQueryAccept(const AM_MEDIA_TYPE* type) {
    return QueryAccept(type);
}

STDMETHODIMP FrameSink::InputPin::NotifyEndOfStream(HANDLE) {
    return E_NOTIMPL;
}

IUnknown* FrameSink::InputPin::OtherInterface(REFIID iid) {
    if (iid == IID_IMemInputPin) {
        return static_cast<IMemInputPin*>(this);
    }
    if (iid == IID_IPinConnection) {
        return static_cast<IPinConnection*>(this);
    }
    return nullptr;
}

}  // namespace nyx::host
