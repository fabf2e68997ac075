#pragma once

/// @file
/// The headers of libavcodec and libavformat, which are C, and owners of their objects.

#include <cstdint>  // first: the libraries need its macros

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/codec_desc.h>
#include <libavcodec/dv_profile.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
}

#include <memory>

namespace nyx {

struct LibavDeleter {
    void operator()(AVCodecContext* context) const noexcept { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
    void operator()(AVFormatContext* context) const noexcept { avformat_close_input(&context); }
    void operator()(AVIOContext* input) const noexcept {
        av_freep(&input->buffer);
        avio_context_free(&input);
    }
};

template <class Object>
using LibavPtr = std::unique_ptr<Object, LibavDeleter>;

}  // namespace nyx
