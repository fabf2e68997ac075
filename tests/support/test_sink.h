#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "tests/support/test_allocator.h"
#include "tests/support/test_pin.h"
#include "tests/support/test_sample.h"

namespace nyx::test {

/// What a sink has seen besides samples.
struct SinkEvents {
    int endOfStream = 0;
    int beginFlush = 0;
    int endFlush = 0;
    int newSegment = 0;
    Interval segment;
    double rate = 0;
};

/// The input pin of a TestSink. Its public members say how it behaves; set them before use.
class TestSinkPin : public TestPin<IMemInputPin, IPinConnection> {
  public:
    explicit TestSinkPin(TestFilter* filter) : TestPin(filter, PINDIR_INPUT) {}

    /// Answer to every proposed type.
    std::function<HRESULT(const MediaType&)> accept = [](const MediaType&) { return S_OK; };
    /// An allocator of its own, or null: then there is none to offer and what it is told is used.
    ComPtr<TestAllocator> ownAllocator;
    ALLOCATOR_PROPERTIES requirements{};
    HRESULT requirementsResult = E_NOTIMPL;
    HRESULT notifyAllocatorResult = S_OK;
    HRESULT receiveCanBlockResult = S_OK;
    HRESULT endOfStreamResult = S_OK;
    /// Whether IPinConnection is there, and what it says about a new type.
    bool offersPinConnection = false;
    HRESULT dynamicAcceptResult = S_OK;
    /// Called in Receive, after the sample was recorded, on the streaming thread.
    std::function<HRESULT(IMediaSample*)> onReceive;
    /// Called with every type asked through DynamicQueryAccept.
    std::function<void(const MediaType&)> onDynamicQueryAccept;
    /// Off for the long runs, which would otherwise hold every picture in memory.
    bool keepsSamples = true;

    std::vector<SampleProperties> samples() const { return Locked(samples_); }
    std::size_t sampleCount() const { return Locked(sampleCount_); }
    SinkEvents events() const { return Locked(events_); }
    /// Forgets samples and events.
    void Forget() {
        const std::lock_guard lock(mutex_);
        samples_.clear();
        sampleCount_ = 0;
        events_ = {};
    }
    IMemAllocator* allocator() const { return allocator_.get(); }
    bool allocatorIsReadOnly() const { return readOnly_; }
    int dynamicQueries() const { return dynamicQueries_; }

    HRESULT STDMETHODCALLTYPE Connect(IPin*, const AM_MEDIA_TYPE*) override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override {
        if (peer_) {
            return VFW_E_ALREADY_CONNECTED;
        }
        const MediaType copy(*type);
        if (accept(copy) != S_OK) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        type_ = copy;
        peer_ = peer;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Disconnect() override {
        allocator_.Reset();
        return TestPin::Disconnect();
    }
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override {
        return accept(MediaType(*type));
    }
    HRESULT STDMETHODCALLTYPE EndOfStream() override {
        Count(&events_.endOfStream);
        return endOfStreamResult;
    }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return Count(&events_.beginFlush); }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return Count(&events_.endFlush); }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop,
                                         double rate) override {
        const std::lock_guard lock(mutex_);
        ++events_.newSegment;
        events_.segment = {start, stop};
        events_.rate = rate;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override {
        *allocator = ownAllocator.get();
        if (!ownAllocator) {
            return VFW_E_NO_ALLOCATOR;
        }
        ownAllocator->AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override {
        if (SUCCEEDED(notifyAllocatorResult)) {
            allocator_ = allocator;
            readOnly_ = readOnly;
        }
        return notifyAllocatorResult;
    }
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) override {
        if (SUCCEEDED(requirementsResult)) {
            *properties = requirements;
        }
        return requirementsResult;
    }
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override {
        {
            const std::lock_guard lock(mutex_);
            ++sampleCount_;
            if (keepsSamples) {
                samples_.push_back(ReadSample(sample));
            }
        }
        return onReceive ? onReceive(sample) : S_OK;
    }
    HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample**, LONG, LONG*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override { return receiveCanBlockResult; }

    HRESULT STDMETHODCALLTYPE DynamicQueryAccept(const AM_MEDIA_TYPE* type) override {
        ++dynamicQueries_;
        if (onDynamicQueryAccept) {
            onDynamicQueryAccept(MediaType(*type));
        }
        return dynamicAcceptResult;
    }
    HRESULT STDMETHODCALLTYPE NotifyEndOfStream(HANDLE) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsEndPin() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE DynamicDisconnect() override { return E_NOTIMPL; }

  protected:
    void* Find(REFIID iid) override {
        return iid == IID_IPinConnection && !offersPinConnection ? nullptr : TestPin::Find(iid);
    }

  private:
    template <class T>
    T Locked(const T& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }
    HRESULT Count(int* event) {
        const std::lock_guard lock(mutex_);
        ++*event;
        return S_OK;
    }

    mutable std::mutex mutex_;
    std::vector<SampleProperties> samples_;
    std::size_t sampleCount_ = 0;
    SinkEvents events_;
    int dynamicQueries_ = 0;
    ComPtr<IMemAllocator> allocator_;
    bool readOnly_ = false;
};

/// A renderer that records what reaches it.
class TestSink : public TestFilter {
  public:
    TestSinkPin in{this};

    IPin* pin() override { return &in; }
};

}  // namespace nyx::test
