#pragma once

#include "baseclasses/streams.h"
#include "source/footage_file.h"

namespace nyx::source {

/// Reports how far the opening of a file is, and can abort it. A part of the filter, which counts
/// its references; any thread.
class OpenProgress final : public CUnknown, public IAMOpenProgress {
  public:
    explicit OpenProgress(LPUNKNOWN filter) : CUnknown(NAME("Open progress"), filter) {}

    DECLARE_IUNKNOWN
    /// The bytes of the file and how many of them were read; all of them once it is open.
    /// `VFW_E_WRONG_STATE` without a file.
    HRESULT STDMETHODCALLTYPE QueryProgress(LONGLONG* total, LONGLONG* current) override;
    /// Makes the running Load fail soon with `E_ABORT`. `S_FALSE` when there is none.
    HRESULT STDMETHODCALLTYPE AbortOperation() override;

    /// Calls the file's Open, and returns `E_OUTOFMEMORY` for std::bad_alloc.
    [[nodiscard]] HRESULT Open(FootageFile* file, std::unique_ptr<ByteSource> bytes) noexcept;

  private:
    CCritSec lock_;
    FootageFile* opening_ = nullptr;
    bool ended_ = false;  ///< by AbortOperation
    LONGLONG size_ = -1;  ///< of the open file, in bytes
};

}  // namespace nyx::source
