#include "shell/stream_bytes.h"

#include <algorithm>
#include <utility>

namespace nyx::shell {

StreamBytes::StreamBytes(ComPtr<IStream> stream) : stream_(std::move(stream)) {
    STATSTG status{};
    if (SUCCEEDED(stream_->Stat(&status, STATFLAG_NONAME))) {
        size_ = static_cast<std::int64_t>(status.cbSize.QuadPart);
    }
}

int StreamBytes::ReadAt(std::int64_t position, std::span<BYTE> to) noexcept {
    LARGE_INTEGER place{};
    place.QuadPart = position;
    ULONG got = 0;
    HRESULT result = stream_->Seek(place, STREAM_SEEK_SET, nullptr);
    if (SUCCEEDED(result)) {
        result = stream_->Read(to.data(), static_cast<ULONG>(to.size()), &got);
    }
    if (FAILED(result)) {
        failure_ = result;
        return -1;
    }
    return static_cast<int>(std::min<std::size_t>(got, to.size()));
}

}  // namespace nyx::shell
