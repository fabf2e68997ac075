#pragma once

#include <cstddef>

#include "baseclasses/streams.h"

namespace nyx {

/// The data pointer of a sample; `E_UNEXPECTED` when it has none.
HRESULT SampleData(IMediaSample* sample, BYTE** data);

/// The bytes that a sample says it holds, never more than its buffer.
std::size_t SampleLength(IMediaSample* sample);

/// The bytes that a sample has room for.
std::size_t SampleCapacity(IMediaSample* sample);

/// Whether the process may write all the bytes. A host may hand out memory that it has protected,
/// and a write to that would end the host.
bool IsWritable(const BYTE* data, std::size_t size);

}  // namespace nyx
