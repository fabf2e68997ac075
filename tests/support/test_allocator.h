#pragma once

#include <cstdlib>
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
    /// The buffer handed out last, kept alive here; null before the first.
    const ComPtr<TestSample>& last() const { return last_; }

    HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* request,
                                            ALLOCATOR_PROPERTIES* actual) override {
        requested_ = *request;
        if (FAILED(setPropertiesResult)) {
            return setPropertiesResult;
        }
        actual_ = *request;
        actual_.cbBuffer = std::abs(request->cbBuffer);
        *actual = actual_ = granted.value_or(actual_);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetProperties(ALLOCATOR_PROPERTIES* properties) override {
        *properties = actual_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Commit() override {
        committed_ = true;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Decommit() override {
        committed_ = false;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetBuffer(IMediaSample** buffer, REFERENCE_TIME*, REFERENCE_TIME*,
                                        DWORD) override {
        *buffer = nullptr;
        if (!committed_) {
            return VFW_E_NOT_COMMITTED;
        }
        last_ = MakeCom<TestSample>(static_cast<std::size_t>(actual_.cbBuffer), kUnwritten,
                                    sampleBehaviour);
        if (onBuffer) {
            onBuffer(*last_);
        }
        last_->AddRef();
        *buffer = last_.get();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(IMediaSample*) override { return S_OK; }

    /// Puts `type` on the next buffer only.
    void AttachToNextBuffer(const MediaType& type) {
        onBuffer = [this, type](TestSample& buffer) {
            buffer.properties().type = type;
            onBuffer = nullptr;
        };
    }

  private:
    ALLOCATOR_PROPERTIES requested_{};
    ALLOCATOR_PROPERTIES actual_{};
    bool committed_ = false;
    ComPtr<TestSample> last_;
};

}  // namespace nyx::test
