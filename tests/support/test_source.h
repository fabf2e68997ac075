#pragma once

#include <atomic>
#include <vector>

#include "tests/support/test_pin.h"
#include "tests/support/test_sample.h"

namespace nyx::test {

/// The output pin of a TestSource. Answers seeking itself and receives quality messages.
class TestSourcePin : public TestPin<IMediaSeeking, IMediaPosition, IQualityControl> {
  public:
    explicit TestSourcePin(TestFilter* filter);

    /// What the seeking interface reports, in 100-ns units.
    static constexpr LONGLONG kDuration = 1234567;

    std::atomic<int> qualityMessages{0};

    /// The downstream pin's transport, null while not connected.
    IMemInputPin* transport() const { return transport_.get(); }
    const ComPtr<IMemAllocator>& allocator() const { return allocator_; }

    HRESULT STDMETHODCALLTYPE Connect(IPin* peer, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override {
        return E_UNEXPECTED;
    }

    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override;
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CheckCapabilities(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsFormatSupported(const GUID*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE QueryPreferredFormat(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTimeFormat(GUID* format) override;
    HRESULT STDMETHODCALLTYPE IsUsingTimeFormat(const GUID*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetTimeFormat(const GUID*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetDuration(LONGLONG* duration) override;
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

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_Duration(REFTIME* seconds) override;
    HRESULT STDMETHODCALLTYPE put_CurrentPosition(REFTIME) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_CurrentPosition(REFTIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_StopTime(REFTIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_StopTime(REFTIME) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_PrerollTime(REFTIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_PrerollTime(REFTIME) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Rate(double) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Rate(double*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CanSeekForward(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CanSeekBackward(LONG*) override { return E_NOTIMPL; }

  private:
    HRESULT Negotiate();

    ComPtr<IMemInputPin> transport_;
    ComPtr<IMemAllocator> allocator_;
};

/// A source filter that pushes whatever a test hands it, on the caller's thread.
class TestSource : public TestFilter {
  public:
    TestSourcePin out{this};

    IPin* pin() override { return &out; }

    /// Delivers one sample downstream; what Receive returned.
    HRESULT Push(const SampleProperties& sample, SampleBehaviour behaviour = {});
};

}  // namespace nyx::test
