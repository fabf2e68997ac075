#include "source/read_ahead.h"

#include <algorithm>
#include <new>

#include "source/failures.h"

namespace nyx::source {
namespace {

/// Bytes that are read ahead: some frames of the largest kind.
constexpr std::size_t kEnough = 24 << 20;
/// The limit while a stream has no packet: its next one may follow many of another stream, whose
/// delivery may be blocked until this stream delivers too.
constexpr std::size_t kMaxBytes = 96 << 20;
/// At that limit, a stream without a packet in so many bytes of the others counts as ended: a graph
/// that pauses waits for each of them.
constexpr std::size_t kMaxPassed = kMaxBytes / 2;

}  // namespace

void ReadAhead::Start(REFERENCE_TIME time, const std::vector<bool>& wanted) {
    Finish();
    queues_ = std::vector<Queue>(wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        queues_[i].open = wanted[i];
    }
    bytes_ = 0;
    cancelled_ = false;
    ended_ = false;
    file_->Cancel(false);
    file_->Select(wanted);
    thread_.Start([this, time] { Run(time); });
}

void ReadAhead::Run(REFERENCE_TIME time) noexcept {
    HRESULT result = S_OK;
    try {
        result = file_->Seek(time);
        while (SUCCEEDED(result)) {
            Packet packet;
            result = file_->ReadPacket(&packet);
            if (result != S_OK || !Push(std::move(packet))) {
                break;
            }
        }
    } catch (const std::bad_alloc&) {
        result = E_OUTOFMEMORY;
    }
    const std::lock_guard lock(mutex_);
    ended_ = true;
    result_ = result;
    changed_.notify_all();
}

/// Whether there is room for a packet. Ends the streams that have had none for too long.
bool ReadAhead::HasRoom() {
    bool starves = false;
    for (Queue& queue : queues_) {
        const bool empty = queue.open && queue.packets.empty();
        if (empty && bytes_ >= kMaxBytes && queue.passed >= kMaxPassed) {
            queue.open = false;
            changed_.notify_all();
        }
        starves = starves || (empty && queue.open);
    }
    return bytes_ < (starves ? kMaxBytes : kEnough);
}

/// Queues a packet as soon as there is room; false when no stream is open any more.
bool ReadAhead::Push(Packet packet) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return cancelled_ || HasRoom(); });
    const bool any = std::ranges::any_of(queues_, &Queue::open);
    Queue& queue = queues_[packet.stream];
    if (queue.open && !cancelled_) {
        const std::size_t bytes = packet.bytes().size();
        for (Queue& other : queues_) {
            other.passed += bytes;
        }
        queue.passed = 0;
        queue.packets.push_back(std::move(packet));
        bytes_ += bytes;
        changed_.notify_all();
    }
    return any && !cancelled_;
}

HRESULT ReadAhead::Pop(std::size_t stream, Packet* packet) {
    std::unique_lock lock(mutex_);
    Queue& queue = queues_[stream];
    changed_.wait(lock,
                  [&] { return cancelled_ || ended_ || !queue.open || !queue.packets.empty(); });
    if (cancelled_) {
        return kCancelled;
    }
    if (queue.packets.empty()) {
        return ended_ && FAILED(result_) ? result_ : S_FALSE;
    }
    *packet = std::move(queue.packets.front());
    queue.packets.pop_front();
    bytes_ -= packet->bytes().size();
    changed_.notify_all();
    return S_OK;
}

void ReadAhead::Close(std::size_t stream) {
    const std::lock_guard lock(mutex_);
    Queue& queue = queues_[stream];
    queue.open = false;
    for (const Packet& packet : queue.packets) {
        bytes_ -= packet.bytes().size();
    }
    queue.packets.clear();
    changed_.notify_all();
}

void ReadAhead::Cancel() {
    file_->Cancel(true);
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
    changed_.notify_all();
}

void ReadAhead::Finish() {
    if (thread_.joinable()) {
        Cancel();
        thread_.join();
    }
    for (Queue& queue : queues_) {
        queue.packets.clear();
    }
}

}  // namespace nyx::source
