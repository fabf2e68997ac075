#include "filters/sample_data.h"

#include <algorithm>

namespace nyx {
namespace {

std::size_t NotNegative(long size) {
    return size > 0 ? static_cast<std::size_t>(size) : 0;
}

}  // namespace

HRESULT GetSampleBuffers(IMediaSample* input, IMediaSample* output, SampleBuffers* buffers) {
    *buffers = {};
    if (FAILED(input->GetPointer(&buffers->input)) || !buffers->input ||
        FAILED(output->GetPointer(&buffers->output)) || !buffers->output) {
        return E_UNEXPECTED;
    }
    buffers->inputLength = NotNegative(std::min(input->GetActualDataLength(), input->GetSize()));
    buffers->outputRoom = NotNegative(output->GetSize());
    return S_OK;
}

MemoryKind QueryMemory(const BYTE* data, std::size_t size) {
    constexpr DWORD kWritable =
        PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MemoryKind kind = MemoryKind::kOrdinary;
    MEMORY_BASIC_INFORMATION region = {};
    while (size != 0 && VirtualQuery(data, &region, sizeof(region)) != 0) {
        if (region.State == MEM_COMMIT &&
            ((region.Protect & kWritable) == 0 || (region.Protect & PAGE_GUARD) != 0)) {
            return MemoryKind::kUnwritable;
        }
        if ((region.AllocationProtect & PAGE_WRITECOMBINE) != 0) {
            kind = MemoryKind::kWriteCombined;
        }
        const auto offset =
            static_cast<std::size_t>(data - static_cast<const BYTE*>(region.BaseAddress));
        const std::size_t inside = std::min<std::size_t>(size, region.RegionSize - offset);
        data += inside;
        size -= inside;
    }
    return kind;
}

}  // namespace nyx
