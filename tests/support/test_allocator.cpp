#include "tests/support/test_allocator.h"

#include <cstdlib>

namespace nyx::test {

HRESULT TestAllocator::SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) {
    requested_ = *request;
    if (FAILED(setPropertiesResult)) {
        return setPropertiesResult;
    }
    actual_ = *request;
    actual_.cbBuffer = std::abs(request->cbBuffer);
    if (granted) {
        actual_ = *granted;
    }
    *actual = actual_;
    return S_OK;
}

HRESULT TestAllocator::GetProperties(ALLOCATOR_PROPERTIES* properties) {
    *properties = actual_;
    return S_OK;
}

HRESULT TestAllocator::Commit() {
    committed_ = true;
    return S_OK;
}

HRESULT TestAllocator::Decommit() {
    committed_ = false;
    return S_OK;
}

HRESULT TestAllocator::GetBuffer(IMediaSample** buffer, REFERENCE_TIME*, REFERENCE_TIME*, DWORD) {
    *buffer = nullptr;
    if (!committed_) {
        return VFW_E_NOT_COMMITTED;
    }
    last_ = MakeCom<TestSample>(static_cast<std::size_t>(actual_.cbBuffer), kUnwritten,
                                sampleBehaviour);
    if (onBuffer) {
        onBuffer(*last_);
    }
    ++buffersHandedOut_;
    last_->AddRef();
    *buffer = last_.get();
    return S_OK;
}

HRESULT TestAllocator::ReleaseBuffer(IMediaSample*) {
    return S_OK;
}

}  // namespace nyx::test
