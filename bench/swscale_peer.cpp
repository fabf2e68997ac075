extern "C" {
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <memory>

#include "bench/workload.h"
#include "convert/convert.h"
#include "convert/formats.h"

namespace nyx::bench {
namespace {

AVPixelFormat PeerFormat(DWORD fourcc) {
    switch (fourcc) {
        case kYuy2:
            return AV_PIX_FMT_YUYV422;
        case kBgr3:
            return AV_PIX_FMT_BGR24;
        case kRgb3:
            return AV_PIX_FMT_RGB24;
        case kBgra:
            return AV_PIX_FMT_BGRA;
        case kRgba:
            return AV_PIX_FMT_RGBA;
        case kArgb:
            return AV_PIX_FMT_ARGB;
        case k48rl:
            return AV_PIX_FMT_RGB48LE;
        case k64al:
            return AV_PIX_FMT_RGBA64LE;
        case kL64a:
            return AV_PIX_FMT_BGRA64LE;
        case k30rl:
            return AV_PIX_FMT_X2BGR10LE;
        default:
            return AV_PIX_FMT_NONE;
    }
}

std::function<void()> Conversion(const Pictures& p, int flags) {
    const AVPixelFormat from = PeerFormat(p.sourceFormat);
    const AVPixelFormat to = PeerFormat(p.destinationFormat);
    if (from == AV_PIX_FMT_NONE || to == AV_PIX_FMT_NONE || !sws_isSupportedInput(from) ||
        !sws_isSupportedOutput(to)) {
        return {};
    }
    const int width = p.size.width;
    const int height = p.size.height;
    const std::shared_ptr<SwsContext> context(
        sws_getContext(width, height, from, width, height, to, flags, nullptr, nullptr, nullptr),
        sws_freeContext);
    if (!context) {
        return {};
    }
    const int sourcePitch = width * BytesPerPixel(p.sourceFormat);
    const int destinationPitch = width * BytesPerPixel(p.destinationFormat);
    return [=] {
        const std::uint8_t* const sources[4] = {p.source};
        const int sourcePitches[4] = {sourcePitch};
        std::uint8_t* const destinations[4] = {p.destination};
        const int destinationPitches[4] = {destinationPitch};
        sws_scale(context.get(), sources, sourcePitches, 0, height, destinations,
                  destinationPitches);
    };
}

}  // namespace

std::vector<Implementation> SwscalePeers(const Pictures& pictures) {
    av_log_set_level(AV_LOG_ERROR);
    std::vector<Implementation> peers;
    // Bicubic is what the library's users get by default; the accurate flags are its documented way
    // to full chroma interpolation and rounding.
    if (auto convert = Conversion(pictures, SWS_BICUBIC)) {
        peers.push_back({kSwscale, convert, {}});
    }
    if (auto convert = Conversion(
            pictures, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP)) {
        peers.push_back({kSwscaleAccurate, convert, {}});
    }
    return peers;
}

}  // namespace nyx::bench
