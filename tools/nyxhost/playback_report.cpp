#include "playback_report.h"

#include <cstdlib>

#include "console.h"
#include "text.h"

namespace nyx::host {

double FramesPerSecond(const ClipReader& clip) {
    return static_cast<double>(clip.Rate()) / clip.Scale();
}

double DurationSeconds(const ClipReader& clip) {
    return clip.FrameCount() / FramesPerSecond(clip);
}

std::string DescribeClip(const ClipReader& clip) {
    const BITMAPINFOHEADER& header = clip.Header();
    const std::string code =
        header.biCompression == BI_RGB ? "RGB" : FourCCText(header.biCompression);
    return (clip.FileFourCC() != 0 ? FourCCText(clip.FileFourCC()) + ", played as " + code : code) +
           Format(", %ldx%ld, %u bits, %.3f frames per second, %ld frames, %.2f s", header.biWidth,
                  header.biHeight, header.biBitCount, FramesPerSecond(clip), clip.FrameCount(),
                  DurationSeconds(clip));
}

ExitCode ReportFaults(const PassResult& result, const char* verb) {
    constexpr std::size_t kShown = 10;
    const std::vector<FrameFault>& faults = result.source.faults;
    for (std::size_t i = 0; i < faults.size() && i < kShown; ++i) {
        PrintWarning(Format("frame %ld could not be %s: ", faults[i].frame, verb) +
                     ResultText(faults[i].result));
    }
    if (faults.size() > kShown) {
        PrintWarning(Format("... and %zu more", faults.size() - kShown));
    }
    const LONG withheld = result.source.sent - result.arrived - static_cast<LONG>(faults.size());
    if (withheld > 0) {
        PrintWarning(Format("%ld frames were withheld and not %s", withheld, verb));
    }
    return faults.empty() && withheld <= 0 ? ExitCode::kOk : ExitCode::kDecode;
}

}  // namespace nyx::host
