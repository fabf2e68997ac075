#include "source/container_input.h"

#include <algorithm>
#include <cerrno>

#include "source/failures.h"
#include "source/sample_clock.h"

namespace nyx::source {
namespace {

constexpr int kInputBytes = 1 << 16;
constexpr int kMinDeferred = 2 * kInputBytes;

}  // namespace

void ContainerInput::Start(std::unique_ptr<ByteSource> bytes) {
    bytes_ = std::move(bytes);
    size_ = bytes_->Size();
    budget_.Start(size_, bytes_->Milliseconds());
}

HRESULT ContainerInput::Rewind() {
    position_ = 0;
    readFailed_ = false;
    defers_ = false;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kInputBytes));
    const auto read = [](void* self, std::uint8_t* to, int count) noexcept {
        return static_cast<ContainerInput*>(self)->ReadNext({to, static_cast<std::size_t>(count)});
    };
    const auto seek = [](void* self, std::int64_t offset, int whence) noexcept {
        return static_cast<ContainerInput*>(self)->SeekNext(offset, whence);
    };
    context_.reset(buffer ? avio_alloc_context(buffer, kInputBytes, 0, this, read, nullptr, seek)
                          : nullptr);
    if (!context_) {
        av_free(buffer);
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void ContainerInput::ClearFailure() {
    readFailed_ = false;
    // A cancelled read looks like the file's end to the library's next short seek forward.
    context_->eof_reached = 0;
    context_->error = 0;
}

int ContainerInput::ReadNext(std::span<BYTE> to) noexcept {
    if (!MayContinue()) {
        return AVERROR_EXIT;
    }
    const int count = static_cast<int>(to.size());
    if (defers_ && count >= kMinDeferred && count <= Difference(bytes_->Size(), position_)) {
        deferred_ = {to.data() + count, count, position_};
        position_ += count;
        return count;
    }
    const int got = bytes_->ReadAt(position_, to);
    readFailed_ = got < 0;
    position_ += std::max(got, 0);
    furthest_ = std::max<std::int64_t>(furthest_, position_);
    budget_.Spend(std::max(got, 0), bytes_->Milliseconds());
    if (readFailed_) {
        return AVERROR(EIO);
    }
    return got > 0 ? got : AVERROR_EOF;
}

std::int64_t ContainerInput::SeekNext(std::int64_t offset, int whence) noexcept {
    if (whence == AVSEEK_SIZE) {
        return bytes_->Size();
    }
    const std::int64_t to = av_sat_add64(whence == SEEK_CUR ? position_ : 0, offset);
    return to < 0 ? AVERROR(EINVAL) : position_ = to;
}

/// What it means when the library gets no memory: a damaged table may claim any number of rows. The
/// file is damaged as long as there is memory for all that a file of this size can hold.
HRESULT ContainerInput::OutOfMemoryResult() const {
    constexpr std::int64_t kMaxRowBytes = 32;  // for a byte of the file
    constexpr std::int64_t kMaxMemory = 256 << 20;
    const std::int64_t all =
        std::clamp<std::int64_t>(size_, 1, kMaxMemory / kMaxRowBytes) * kMaxRowBytes;
    void* const memory = av_malloc(static_cast<std::size_t>(all));
    av_free(memory);
    return memory ? kInvalidFileFormat : E_OUTOFMEMORY;
}

HRESULT ContainerInput::ResultOf(int error) const {
    if (error >= 0) {
        return S_OK;
    }
    if (error == AVERROR(ENOMEM)) {
        return OutOfMemoryResult();
    }
    if (cancelled_) {
        return kCancelled;
    }
    return readFailed_ ? bytes_->failure() : kInvalidFileFormat;
}

HRESULT ContainerInput::ReadDeferred(std::int64_t offset, std::span<BYTE> to) const {
    const int count = static_cast<int>(to.size());
    const int got = count > 0 ? bytes_->ReadAt(offset, to) : 0;
    if (got < 0) {
        return bytes_->failure();
    }
    return got == count ? S_OK : S_FALSE;
}

}  // namespace nyx::source
