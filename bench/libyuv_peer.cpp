#include <libyuv.h>

#include "bench/workload.h"
#include "convert/formats.h"

namespace nyx::bench {
namespace {

// The library's flags from its cpu_id.h: x86 with nothing beyond SSSE3.
constexpr int kUpToSsse3 = libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2 | libyuv::kCpuHasSSSE3;

std::function<void()> Conversion(const Pictures& p) {
    const int width = p.size.width;
    const int height = p.size.height;
    if (p.sourceFormat == kYuy2 && p.destinationFormat == kBgra) {
        return [=] {
            libyuv::YUY2ToARGB(p.source, width * 2, p.destination, width * 4, width, height);
        };
    }
    if (p.sourceFormat == kBgra && p.destinationFormat == kYuy2) {
        return [=] {
            libyuv::ARGBToYUY2(p.source, width * 4, p.destination, width * 2, width, height);
        };
    }
    return {};
}

}  // namespace

std::vector<Implementation> LibyuvPeers(const Pictures& pictures) {
    const std::function<void()> convert = Conversion(pictures);
    if (!convert) {
        return {};
    }
    return {{kLibyuv, convert, [] { libyuv::MaskCpuFlags(-1); }},
            {kLibyuvSsse3, convert, [] { libyuv::MaskCpuFlags(kUpToSsse3); }}};
}

}  // namespace nyx::bench
