#pragma once

#include <windows.h>

#include <memory>

#include "platform/byte_span.h"
#include "platform/thread.h"
#include "platform/unique_handle.h"

namespace nyx {

/// Whether a sample refers to a DV25 frame in a file: "REF ", the file offset of the frame's RIFF
/// chunk header, 8 unused bytes, then the file's path in the ANSI code page up to a NUL. False for
/// unreadable memory.
bool IsReferenceSample(ByteSpan sample);

/// The file of reference samples, kept open between samples. Callable on any thread.
class DvReferenceFile {
  public:
    /// Reads the frame that a reference sample refers to into a new buffer. The file is reopened
    /// only when the path differs (byte comparison). `E_FAIL` for a sample that ends too early or a
    /// chunk that is not as long as a DV25 frame; `E_OUTOFMEMORY`; the Win32 error of a failed
    /// open, seek or read as an HRESULT.
    [[nodiscard]] HRESULT ReadFrame(ByteSpan sample, std::unique_ptr<BYTE[]>* buffer,
                                    DWORD* length);

  private:
    [[nodiscard]] HRESULT Open(const char* path);
    [[nodiscard]] HRESULT ReadExactly(void* buffer, DWORD length);

    Mutex lock_;
    char path_[MAX_PATH] = {};
    UniqueHandle file_;
};

}  // namespace nyx
