#include "progress.h"

#include <algorithm>

#include "console.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr int kWidestBar = 40;
constexpr int kNarrowestBar = 5;

/// "1:05", or "2:00:00" with hours.
std::string ClockText(double seconds) {
    const auto whole = static_cast<long long>(seconds + 0.5);
    const std::string minutes = Format("%02lld:%02lld", whole / 60 % 60, whole % 60);
    if (whole >= 3600) {
        return Format("%lld:", whole / 3600) + minutes;
    }
    return minutes[0] == '0' ? minutes.substr(1) : minutes;
}

std::string NumbersText(long done, long total, const char* unit, double seconds) {
    std::string text =
        total > 0 ? Format("%ld/%ld %s", done, total, unit) : Format("%ld %s", done, unit);
    if (done > 0 && seconds > 0) {
        const double rate = static_cast<double>(done) / seconds;
        text += Format(", %.1f/s", rate);
        if (total > 0) {
            text +=
                ", " + ClockText(static_cast<double>(std::max(total - done, 0L)) / rate) + " left";
        }
    }
    return text;
}

/// " [####......]", empty when `room`, in columns, is too small.
std::string BarText(long done, long total, int room) {
    const int width = std::min(room - 3, kWidestBar);
    if (total <= 0 || width < kNarrowestBar) {
        return "";
    }
    const long long filled = std::clamp<long long>(1LL * done * width / total, 0, width);
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.resize(static_cast<std::size_t>(width), '.');
    return " [" + bar + "]";
}

}  // namespace

Progress::Progress(std::string label, long total, const char* unit)
    : label_(std::move(label)), total_(total), unit_(unit) {}

Progress::~Progress() {
    if (shown_ >= 0) {
        Draw("", ConsoleColumns());
        PrintAside("\r");
    }
}

/// One column stays free: a full line would wrap.
void Progress::Draw(const std::string& line, int columns) const {
    std::string text = line;
    text.resize(static_cast<std::size_t>(std::max(columns - 1, 0)), ' ');
    PrintAside("\r" + text);
}

void Progress::Show(long done) {
    const int columns = ConsoleColumns();
    if (columns == 0 || done == shown_) {
        return;
    }
    shown_ = done;
    const std::chrono::duration<double> elapsed = Clock::now() - start_;
    const std::string numbers = " " + NumbersText(done, total_, unit_, elapsed.count());
    const int room = columns - 1 - static_cast<int>(label_.size() + numbers.size());
    Draw(label_ + BarText(done, total_, room) + numbers, columns);
}

}  // namespace nyx::host
