#pragma once

/// @file
/// libavcodec's headers, which are C, and owners of its objects.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <memory>

namespace nyx::open {

struct LibavDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

template <class Object>
using LibavPtr = std::unique_ptr<Object, LibavDeleter>;

}  // namespace nyx::open
