#include "playback_report.h"

#include <algorithm>

#include "console.h"
#include "text.h"

namespace nyx::host {

void PrintSpeed(const PassResult& result, const char* with) {
    const double frames = result.arrived;
    Print(Format("%ld frames in %.2f s: %.1f frames per second %s, %.2f ms per frame\n",
                 result.arrived, result.seconds, result.seconds > 0 ? frames / result.seconds : 0.0,
                 with, frames > 0 ? 1000 * result.seconds / frames : 0.0));
}

ExitCode ReportLostFrames(const PassResult& result, const char* verb) {
    constexpr std::size_t kShown = 10;
    const std::size_t shown = std::min(result.lost.size(), kShown);
    for (std::size_t i = 0; i < shown; ++i) {
        const LostFrame& frame = result.lost[i];
        PrintWarning(Format("frame %ld could not be %s", frame.index, verb) +
                     (FAILED(frame.result) ? ": " + ResultText(frame.result) : ""));
    }
    if (result.lost.size() > shown) {
        PrintWarning(Format("... and %zu more", result.lost.size() - shown));
    }
    if (result.arrived == 0 && result.lost.empty()) {
        PrintWarning("the clip has no complete frame");
        return ExitCode::kDecode;
    }
    return result.lost.empty() ? ExitCode::kOk : ExitCode::kDecode;
}

}  // namespace nyx::host
