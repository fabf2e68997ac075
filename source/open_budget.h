#pragma once

#include <cstdint>

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

}  // namespace nyx::source
