#pragma once

#include <cstddef>

#include "baseclasses/streams.h"

namespace nyx {

/// The data pointer of a sample; `E_UNEXPECTED` when it has none.
[[nodiscard]] HRESULT SampleData(IMediaSample* sample, BYTE** data);

/// The bytes that a sample says it holds, never more than its buffer.
std::size_t SampleLength(IMediaSample* sample);

/// The bytes that a sample has room for.
std::size_t SampleCapacity(IMediaSample* sample);

/// What the system knows of the memory behind a sample.
enum class MemoryKind {
    kOrdinary,
    kWriteCombined,  ///< by its allocation: slow to read, and to write out of order
    kUnwritable,     ///< a write would end the host
};

/// Asks the system about all of the bytes. Only memory that is known to be there and not to be
/// writable is unwritable: a system may know nothing of a renderer's mapped buffers.
MemoryKind QueryMemory(const BYTE* data, std::size_t size);

}  // namespace nyx
