#include "tests/support/test_source.h"

namespace nyx::test {

TestSourcePin::TestSourcePin(TestFilter* filter) : TestPin(filter, PINDIR_OUTPUT) {}

HRESULT TestSourcePin::Connect(IPin* peer, const AM_MEDIA_TYPE* type) {
    if (!type && proposals.empty()) {
        return VFW_E_NO_ACCEPTABLE_TYPES;
    }
    // As a real pin: the fields are set while the peer looks at them, and undone on failure.
    type_ = type ? MediaType(*type) : proposals.front();
    peer_ = peer;
    HRESULT result = peer->ReceiveConnection(this, type_.get());
    if (SUCCEEDED(result)) {
        result = Negotiate();
        if (FAILED(result)) {
            peer->Disconnect();
        }
    }
    if (FAILED(result)) {
        Disconnect();
    }
    return result;
}

HRESULT TestSourcePin::Negotiate() {
    transport_ = peer_.As<IMemInputPin>();
    if (!transport_) {
        return E_NOINTERFACE;
    }
    HRESULT result = transport_->GetAllocator(allocator_.Put());
    if (FAILED(result)) {
        return result;
    }
    ALLOCATOR_PROPERTIES request = {1, 65536, 1, 0};
    ALLOCATOR_PROPERTIES actual{};
    result = allocator_->SetProperties(&request, &actual);
    return FAILED(result) ? result : transport_->NotifyAllocator(allocator_.get(), FALSE);
}

HRESULT TestSourcePin::ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

HRESULT TestSourcePin::Disconnect() {
    transport_.Reset();
    allocator_.Reset();
    return TestPin::Disconnect();
}

HRESULT TestSourcePin::Notify(IBaseFilter*, Quality) {
    ++qualityMessages;
    return S_OK;
}

HRESULT TestSourcePin::GetTimeFormat(GUID* format) {
    *format = TIME_FORMAT_MEDIA_TIME;
    return S_OK;
}

HRESULT TestSourcePin::GetDuration(LONGLONG* duration) {
    *duration = kDuration;
    return S_OK;
}

HRESULT TestSourcePin::get_Duration(REFTIME* seconds) {
    *seconds = kDuration / 1e7;
    return S_OK;
}

HRESULT TestSource::Push(const SampleProperties& sample, SampleBehaviour behaviour) {
    const auto object = MakeCom<TestSample>(sample, behaviour);
    return out.transport() ? out.transport()->Receive(object.get()) : VFW_E_NOT_CONNECTED;
}

}  // namespace nyx::test
