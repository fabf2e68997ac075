#pragma once

#include "baseclasses/streams.h"
#include "source/footage_file.h"

namespace nyx::source {

/// How far the opening of a file is, and its end before its time. A part of the filter, which it
/// counts its references for; any thread.
class OpenProgress final : public CUnknown, public IAMOpenProgress {
  public:
    explicit OpenProgress(LPUNKNOWN filter) : CUnknown(NAME("Open progress"), filter) {}

    DECLARE_IUNKNOWN
    /// The bytes of the file and how many of them were passed; all of them once it is open.
    /// `VFW_E_WRONG_STATE` before that.
    HRESULT STDMETHODCALLTYPE QueryProgress(LONGLONG* total, LONGLONG* current) override;
    /// The Load that is under way fails soon with `E_ABORT`. `S_FALSE` when there is none.
    HRESULT STDMETHODCALLTYPE AbortOperation() override;

    /// Opens a file of footage, as its own Open.
    [[nodiscard]] HRESULT Open(FootageFile* file, std::unique_ptr<ByteSource> bytes);

  private:
    CCritSec lock_;
    FootageFile* opening_ = nullptr;
    bool ended_ = false;  ///< by AbortOperation
    LONGLONG size_ = -1;  ///< of what is open
};

}  // namespace nyx::source
