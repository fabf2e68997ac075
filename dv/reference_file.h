#pragma once

#include <windows.h>

#include <memory>

#include "platform/byte_span.h"
#include "platform/thread.h"

namespace nyx {

/// A sample that stands for a DV25 frame in a file: "REF ", the file offset of the frame's RIFF
/// chunk header, 8 bytes of no meaning, then the file's path in the ANSI code page up to a NUL.
/// False for memory that cannot be read.
bool IsReferenceSample(ByteSpan sample);

/// The file that reference samples point into, kept open from sample to sample. Callable on any
/// thread.
class DvReferenceFile {
  public:
    DvReferenceFile() = default;
    ~DvReferenceFile() { Close(); }
    DvReferenceFile(const DvReferenceFile&) = delete;
    DvReferenceFile& operator=(const DvReferenceFile&) = delete;

    /// Reads the frame that a reference sample stands for into a new buffer. The file is opened
    /// anew only when the path, compared byte by byte, is another one. `E_FAIL` for a sample that
    /// ends too early or a chunk that is not as long as a DV25 frame; `E_OUTOFMEMORY`; the Win32
    /// error of a failed open, seek or read as an HRESULT.
    [[nodiscard]] HRESULT ReadFrame(ByteSpan sample, std::unique_ptr<BYTE[]>* buffer,
                                    DWORD* length);

  private:
    [[nodiscard]] HRESULT Open(const char* path);
    [[nodiscard]] HRESULT ReadExactly(void* buffer, DWORD length);
    void Close();

    Mutex lock_;
    char path_[MAX_PATH] = {};
    HANDLE file_ = INVALID_HANDLE_VALUE;
};

}  // namespace nyx
