#pragma once

#include <functional>
#include <optional>

#include "tests/support/com_ptr.h"
#include "tests/support/test_sample.h"

namespace nyx::test {

/// An allocator of the suite's own: hands out TestSamples filled with kUnwritten, remembers what it
/// was asked for, and grants what a test tells it to. Single-threaded use but for GetBuffer.
class TestAllocator : public TestObject<IMemAllocator> {
  public:
    static constexpr BYTE kUnwritten = 0xA5;

    /// What is granted instead of the request; by default the request with a positive size.
    std::optional<ALLOCATOR_PROPERTIES> granted;
    HRESULT setPropertiesResult = S_OK;
    SampleBehaviour sampleBehaviour;
    /// Called with every buffer before it is handed out, e.g. to attach a type.
    std::function<void(TestSample&)> onBuffer;

    /// The properties of the last SetProperties.
    const ALLOCATOR_PROPERTIES& requested() const { return requested_; }
    bool committed() const { return committed_; }
    /// The buffer handed out last, kept alive here; null before the first.
    const ComPtr<TestSample>& last() const { return last_; }
    int buffersHandedOut() const { return buffersHandedOut_; }

    HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* request,
                                            ALLOCATOR_PROPERTIES* actual) override;
    HRESULT STDMETHODCALLTYPE GetProperties(ALLOCATOR_PROPERTIES* properties) override;
    HRESULT STDMETHODCALLTYPE Commit() override;
    HRESULT STDMETHODCALLTYPE Decommit() override;
    HRESULT STDMETHODCALLTYPE GetBuffer(IMediaSample** buffer, REFERENCE_TIME* start,
                                        REFERENCE_TIME* stop, DWORD flags) override;
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(IMediaSample* buffer) override;

  private:
    ALLOCATOR_PROPERTIES requested_{};
    ALLOCATOR_PROPERTIES actual_{};
    bool committed_ = false;
    int buffersHandedOut_ = 0;
    ComPtr<TestSample> last_;
};

}  // namespace nyx::test
