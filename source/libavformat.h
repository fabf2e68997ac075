#pragma once

/// @file
/// libavformat's headers, which are C, and owners of its objects.

#include <cstdint>  // first: the library asks for its macros

extern "C" {
#include <libavcodec/codec_desc.h>
#include <libavcodec/dv_profile.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

#include <memory>

namespace nyx::source {

struct LibavDeleter {
    void operator()(AVFormatContext* context) const noexcept { avformat_close_input(&context); }
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
    void operator()(AVIOContext* input) const noexcept {
        av_freep(&input->buffer);
        avio_context_free(&input);
    }
};

template <class Object>
using LibavPtr = std::unique_ptr<Object, LibavDeleter>;

}  // namespace nyx::source
