#pragma once

#include <atomic>
#include <memory>
#include <span>
#include <utility>

#include "media/libav.h"
#include "source/byte_source.h"

namespace nyx::source {

/// What may be spent on opening a file: the tables of a damaged one can keep a reader busy forever.
/// Only the time between reads counts, so that a slow disk costs nothing. One thread at a time.
class OpenBudget {
  public:
    /// Begins to count for a file of so many bytes, at a time in milliseconds.
    void Start(std::int64_t size, std::int64_t now) {
        bytesLeft_ = kTimesRead * (size > 0 ? size : 0) + kBytesMore;
        millisecondsLeft_ = kMilliseconds;
        since_ = now;
        counts_ = true;
    }
    /// Lifts the limit.
    void Stop() { counts_ = false; }

    /// The reader asks for bytes, or whether it may go on; false when the budget is spent.
    bool Check(std::int64_t now) noexcept {
        millisecondsLeft_ -= now - since_;
        since_ = now;
        return !counts_ || (bytesLeft_ > 0 && millisecondsLeft_ > 0);
    }
    /// The reader got so many bytes.
    void Spend(int bytes, std::int64_t now) noexcept {
        bytesLeft_ -= bytes;
        since_ = now;
    }

  private:
    static constexpr std::int64_t kTimesRead = 4;
    static constexpr std::int64_t kBytesMore = 64 << 20;
    static constexpr std::int64_t kMilliseconds = 20000;

    std::int64_t bytesLeft_ = 0;
    std::int64_t millisecondsLeft_ = 0;
    std::int64_t since_ = 0;
    bool counts_ = false;
};

/// The end of a packet that is still in the file.
struct DeferredPayload {
    const std::uint8_t* end = nullptr;  ///< of the memory that is to hold it
    int count = 0;                      ///< bytes; 0 where everything was read
    std::int64_t offset = 0;            ///< in the file
};

/// A file's bytes as libavformat's input, with a limit on what opening may cost. One thread at a
/// time, except for Cancel, ReadDeferred, size and progress.
///
/// Deferred payloads. An uncompressed frame that goes through libavformat's memory takes several
/// times as long to deliver. After AllowDeferral, a read of kMinDeferred bytes or more therefore
/// leaves the memory as it is and only records the place in the file; ReadDeferred copies the bytes
/// into the sample later. Nothing may depend on these bytes of the packet until then:
/// - Only av_get_packet asks for so many bytes at once, at a packet's end and in one read: the
///   library fills its own buffer with kInputBytes at most.
/// - MayDefer (stream_format.h) lists the demuxers of libavformat 5.1 that do not look at a
/// payload.
///   One that looks all the same stays inside its buffers: a damaged file may hold any bytes.
/// - FootageFile::FindDeferred rejects a packet that does not end where its deferred bytes end.
class ContainerInput {
  public:
    /// Takes over the file, once, and begins to count what is spent on it.
    void Start(std::unique_ptr<ByteSource> bytes);
    /// Counts what is spent from here on, as for a small file.
    void LimitReading() { budget_.Start(0, bytes_->Milliseconds()); }
    /// Ends the count.
    void EndBudget() { budget_.Stop(); }

    /// Begins again at the file's start, with an AVIOContext of its own and no deferral.
    /// `E_OUTOFMEMORY`.
    [[nodiscard]] HRESULT Rewind();
    /// Valid until the next Rewind; null after a failed one.
    AVIOContext* context() const { return context_.get(); }
    /// For an AVFormatContext that reads this input.
    AVIOInterruptCB interruption() {
        return {[](void* self) noexcept {
                    return static_cast<ContainerInput*>(self)->MayContinue() ? 0 : 1;
                },
                this};
    }
    /// Lets reading continue after a failure or a cancelled read.
    void ClearFailure();

    ByteSource* bytes() const { return bytes_.get(); }
    /// Where the library reads next, in bytes from the file's start.
    std::int64_t position() const { return position_; }
    /// The file's size when it was opened, and how far into it was read. From any thread.
    std::int64_t size() const { return size_; }
    std::int64_t progress() const { return furthest_; }

    /// Makes reading fail soon, now and later, until it is withdrawn. From any thread.
    void Cancel(bool cancelled) { cancelled_ = cancelled; }
    bool isCancelled() const { return cancelled_; }
    /// Whether the file could not be read, or reading was cancelled.
    bool hasFailed() const { return cancelled_ || readFailed_; }

    /// What a result of the library's means: `S_OK`, `E_OUTOFMEMORY`, `kCancelled`, why the file
    /// could not be read, or `kInvalidFileFormat`.
    [[nodiscard]] HRESULT ResultOf(int error) const;

    /// Whether payloads may be deferred from here on.
    void AllowDeferral(bool allowed) { defers_ = allowed; }
    /// Returns what was deferred last, and forgets it.
    DeferredPayload TakeDeferred() { return std::exchange(deferred_, {}); }
    /// Reads deferred bytes. `S_FALSE` when the file has become too short, or why it cannot be
    /// read. From any thread, also while another one reads on.
    [[nodiscard]] HRESULT ReadDeferred(std::int64_t offset, std::span<BYTE> to) const;

  private:
    bool MayContinue() noexcept { return budget_.Check(bytes_->Milliseconds()) && !cancelled_; }
    int ReadNext(std::span<BYTE> to) noexcept;
    std::int64_t SeekNext(std::int64_t offset, int whence) noexcept;
    [[nodiscard]] HRESULT OutOfMemoryResult() const;

    std::unique_ptr<ByteSource> bytes_;
    std::atomic<std::int64_t> size_{0};
    std::atomic<std::int64_t> furthest_{0};
    std::atomic<bool> cancelled_{false};
    OpenBudget budget_;
    LibavPtr<AVIOContext> context_;
    std::int64_t position_ = 0;
    bool readFailed_ = false;
    bool defers_ = false;
    DeferredPayload deferred_;
};

}  // namespace nyx::source
