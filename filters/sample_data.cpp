#include "filters/sample_data.h"

#include <algorithm>

namespace nyx {
namespace {

std::size_t NotNegative(long size) {
    return size > 0 ? static_cast<std::size_t>(size) : 0;
}

}  // namespace

HRESULT SampleData(IMediaSample* sample, BYTE** data) {
    *data = nullptr;
    return FAILED(sample->GetPointer(data)) || !*data ? E_UNEXPECTED : S_OK;
}

std::size_t SampleLength(IMediaSample* sample) {
    return NotNegative(std::min(sample->GetActualDataLength(), sample->GetSize()));
}

std::size_t SampleCapacity(IMediaSample* sample) {
    return NotNegative(sample->GetSize());
}

}  // namespace nyx
