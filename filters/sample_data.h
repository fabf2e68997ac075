#pragma once

#include <cstddef>

#include "baseclasses/streams.h"

namespace nyx {

/// The memory of an input sample and of the output sample that is made from it.
struct SampleBuffers {
    BYTE* input = nullptr;
    std::size_t inputLength = 0;  ///< bytes of data, at most the size of the buffer
    BYTE* output = nullptr;
    std::size_t outputRoom = 0;  ///< the size of the buffer in bytes
};

/// Asks both samples for their buffers; `E_UNEXPECTED` when one has none.
[[nodiscard]] HRESULT GetSampleBuffers(IMediaSample* input, IMediaSample* output,
                                       SampleBuffers* buffers);

/// The memory of a sample, as the system describes it.
enum class MemoryKind {
    kOrdinary,
    kWriteCombined,  ///< by its allocation; slow to read, and to write out of order
    kUnwritable,     ///< a write would end the host
};

/// Asks the system about all of the bytes. Memory counts as unwritable only if the system lists it
/// as committed and not writable: it may know nothing of a renderer's mapped buffers.
MemoryKind QueryMemory(const BYTE* data, std::size_t size);

}  // namespace nyx
