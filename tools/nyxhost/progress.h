#pragma once

#include <chrono>
#include <string>

namespace nyx::host {

/// A progress line on the standard error that redraws itself: a bar, a number, the rate and the
/// time left, as wide as the console. Shows nothing unless the standard error is a console. The
/// destructor clears the line. For one thread.
class Progress {
  public:
    /// `label` is at the left. `total` is in `unit`s; 0 means unknown.
    Progress(std::string label, long total, const char* unit = "frames");
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(long done);

  private:
    using Clock = std::chrono::steady_clock;

    void Draw(const std::string& line, int columns) const;

    const std::string label_;
    const long total_;
    const char* const unit_;
    const Clock::time_point start_ = Clock::now();
    long shown_ = -1;
};

}  // namespace nyx::host
