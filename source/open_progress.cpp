#include "source/open_progress.h"

#include <algorithm>
#include <new>

namespace nyx::source {

HRESULT STDMETHODCALLTYPE OpenProgress::QueryProgress(LONGLONG* total, LONGLONG* current) {
    CheckPointer(total, E_POINTER);
    CheckPointer(current, E_POINTER);
    CAutoLock lock(&lock_);
    *total = opening_ ? opening_->size() : std::max<LONGLONG>(size_, 0);
    *current = opening_ ? std::min<LONGLONG>(opening_->progress(), *total) : *total;
    return opening_ || size_ >= 0 ? S_OK : VFW_E_WRONG_STATE;
}

HRESULT STDMETHODCALLTYPE OpenProgress::AbortOperation() {
    CAutoLock lock(&lock_);
    if (!opening_) {
        return S_FALSE;
    }
    opening_->Cancel(true);
    ended_ = true;
    return S_OK;
}

HRESULT OpenProgress::Open(FootageFile* file, std::unique_ptr<ByteSource> bytes) noexcept {
    {
        CAutoLock lock(&lock_);
        opening_ = file;
        ended_ = false;
    }
    HRESULT result = E_OUTOFMEMORY;
    try {
        result = file->Open(std::move(bytes));
    } catch (const std::bad_alloc&) {
    }
    CAutoLock lock(&lock_);
    opening_ = nullptr;
    if (ended_) {  // also when the file was open by then
        result = E_ABORT;
    }
    size_ = SUCCEEDED(result) ? file->size() : -1;
    return result;
}

}  // namespace nyx::source
