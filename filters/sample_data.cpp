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
