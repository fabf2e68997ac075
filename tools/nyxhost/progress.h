#pragma once

#include <chrono>
#include <string>

namespace nyx::host {

/// How far a work is, in one line of the standard error that redraws itself: a bar, a number, the
/// rate and the time left, as wide as the console is. Shows nothing unless that is a console. The
/// line is cleared on destruction. For one thread.
class Progress {
  public:
    /// `label` stands at the left; `total` is what there is to do, 0 when that is not known, in
    /// `unit`s.
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
