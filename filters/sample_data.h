#pragma once

#include <cstddef>

#include "baseclasses/streams.h"

namespace nyx {

/// The data pointer of a sample; `E_UNEXPECTED` when it has none.
[[nodiscard]] HRESULT SampleData(IMediaSample* sample, BYTE** data);

/// The number of bytes that a sample reports as its data, at most the size of its buffer.
std::size_t SampleLength(IMediaSample* sample);

/// The size of a sample's buffer in bytes.
std::size_t SampleCapacity(IMediaSample* sample);

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
