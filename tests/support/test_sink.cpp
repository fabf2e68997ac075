#include "tests/support/test_sink.h"

namespace nyx::test {

TestSinkPin::TestSinkPin(TestFilter* filter) : TestPin(filter, PINDIR_INPUT) {}

void* TestSinkPin::Find(REFIID iid) {
    if (iid == IID_IPinConnection && !offersPinConnection) {
        return nullptr;
    }
    return TestPin::Find(iid);
}

std::vector<SampleProperties> TestSinkPin::samples() const {
    const std::lock_guard lock(mutex_);
    return samples_;
}

std::size_t TestSinkPin::sampleCount() const {
    const std::lock_guard lock(mutex_);
    return sampleCount_;
}

SinkEvents TestSinkPin::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

void TestSinkPin::Forget() {
    const std::lock_guard lock(mutex_);
    samples_.clear();
    sampleCount_ = 0;
    events_ = {};
}

HRESULT TestSinkPin::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) {
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

HRESULT TestSinkPin::Disconnect() {
    allocator_.Reset();
    return TestPin::Disconnect();
}

HRESULT TestSinkPin::QueryAccept(const AM_MEDIA_TYPE* type) {
    return accept(MediaType(*type));
}

HRESULT TestSinkPin::EndOfStream() {
    const std::lock_guard lock(mutex_);
    ++events_.endOfStream;
    return endOfStreamResult;
}

HRESULT TestSinkPin::BeginFlush() {
    const std::lock_guard lock(mutex_);
    ++events_.beginFlush;
    return S_OK;
}

HRESULT TestSinkPin::EndFlush() {
    const std::lock_guard lock(mutex_);
    ++events_.endFlush;
    return S_OK;
}

HRESULT TestSinkPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    const std::lock_guard lock(mutex_);
    ++events_.newSegment;
    events_.segment = {start, stop};
    events_.rate = rate;
    return S_OK;
}

HRESULT TestSinkPin::GetAllocator(IMemAllocator** allocator) {
    *allocator = ownAllocator.get();
    if (!ownAllocator) {
        return VFW_E_NO_ALLOCATOR;
    }
    ownAllocator->AddRef();
    return S_OK;
}

HRESULT TestSinkPin::NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) {
    if (SUCCEEDED(notifyAllocatorResult)) {
        allocator_ = allocator;
        readOnly_ = readOnly;
    }
    return notifyAllocatorResult;
}

HRESULT TestSinkPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) {
    if (SUCCEEDED(requirementsResult)) {
        *properties = requirements;
    }
    return requirementsResult;
}

HRESULT TestSinkPin::Receive(IMediaSample* sample) {
    {
        const std::lock_guard lock(mutex_);
        ++sampleCount_;
        if (keepsSamples) {
            samples_.push_back(ReadSample(sample));
        }
    }
    return onReceive ? onReceive(sample) : S_OK;
}

HRESULT TestSinkPin::ReceiveMultiple(IMediaSample** samples, LONG count, LONG* done) {
    for (*done = 0; *done < count; ++*done) {
        const HRESULT result = Receive(samples[*done]);
        if (result != S_OK) {
            return result;
        }
    }
    return S_OK;
}

HRESULT TestSinkPin::DynamicQueryAccept(const AM_MEDIA_TYPE* type) {
    ++dynamicQueries_;
    if (onDynamicQueryAccept) {
        onDynamicQueryAccept(MediaType(*type));
    }
    return dynamicAcceptResult;
}

}  // namespace nyx::test
