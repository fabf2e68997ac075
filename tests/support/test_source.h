#pragma once

#include <atomic>
#include <vector>

#include "tests/support/test_pin.h"
#include "tests/support/test_sample.h"

namespace nyx::test {

/// The output pin of a TestSource. Answers seeking itself and receives quality messages.
class TestSourcePin : public TestPin<IMediaSeeking, IQualityControl> {
  public:
    explicit TestSourcePin(TestFilter* filter) : TestPin(filter, PINDIR_OUTPUT) {}

    /// What the seeking interface reports, in 100-ns units.
    static constexpr LONGLONG kDuration = 1234567;

    std::atomic<int> qualityMessages{0};
    /// How often this pin was asked for IMediaPosition, which it has not.
    std::atomic<int> positionQueries{0};

    /// The downstream pin's transport, null while not connected.
    IMemInputPin* transport() const { return transport_.get(); }

    HRESULT STDMETHODCALLTYPE Connect(IPin* peer, const AM_MEDIA_TYPE* type) override {
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
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) override {
        return E_UNEXPECTED;
    }
    HRESULT STDMETHODCALLTYPE Disconnect() override {
        transport_.Reset();
        return TestPin::Disconnect();
    }
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override {
        return E_UNEXPECTED;
    }

    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override {
        ++qualityMessages;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CheckCapabilities(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsFormatSupported(const GUID*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE QueryPreferredFormat(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTimeFormat(GUID* format) override {
        *format = TIME_FORMAT_MEDIA_TIME;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsUsingTimeFormat(const GUID*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetTimeFormat(const GUID*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetDuration(LONGLONG* duration) override {
        *duration = kDuration;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetStopPosition(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCurrentPosition(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConvertTimeFormat(LONGLONG*, const GUID*, LONGLONG,
                                                const GUID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetPositions(LONGLONG*, DWORD, LONGLONG*, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetPositions(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAvailable(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetRate(double) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetRate(double*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPreroll(LONGLONG*) override { return E_NOTIMPL; }

  protected:
    void* Find(REFIID iid) override {
        positionQueries += iid == IID_IMediaPosition ? 1 : 0;
        return TestPin::Find(iid);
    }

  private:
    HRESULT Negotiate() {
        transport_ = peer_.As<IMemInputPin>();
        ComPtr<IMemAllocator> allocator;
        HRESULT result = transport_ ? transport_->GetAllocator(allocator.Put()) : E_NOINTERFACE;
        if (FAILED(result)) {
            return result;
        }
        ALLOCATOR_PROPERTIES request = {1, 65536, 1, 0};
        ALLOCATOR_PROPERTIES actual{};
        result = allocator->SetProperties(&request, &actual);
        return FAILED(result) ? result : transport_->NotifyAllocator(allocator.get(), FALSE);
    }

    ComPtr<IMemInputPin> transport_;
};

/// A source filter that pushes whatever a test hands it, on the caller's thread.
class TestSource : public TestFilter {
  public:
    TestSourcePin out{this};

    IPin* pin() override { return &out; }

    /// Delivers one sample downstream; what Receive returned.
    HRESULT Push(const SampleProperties& sample, SampleBehaviour behaviour = {}) {
        const auto object = MakeCom<TestSample>(sample, behaviour);
        return out.transport() ? out.transport()->Receive(object.get()) : VFW_E_NOT_CONNECTED;
    }
};

}  // namespace nyx::test
