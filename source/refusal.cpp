/// @file
/// The reasons for which FootageFile refuses a file, in words.

#include "source/failures.h"
#include "source/footage_file.h"

namespace nyx::source {
namespace {

/// The first stream of a kind, null where there is none.
const AVCodecParameters* FirstOf(const AVFormatContext* file, AVMediaType kind) {
    for (unsigned i = 0; file && i < file->nb_streams; ++i) {
        if (file->streams[i]->codecpar->codec_type == kind) {
            return file->streams[i]->codecpar;
        }
    }
    return nullptr;
}

std::string NameOf(const AVCodecParameters& stream) {
    const AVCodecDescriptor* coding = avcodec_descriptor_get(stream.codec_id);
    return coding && coding->long_name ? coding->long_name : "unknown";
}

std::string VariantText(AVCodecID coding) {
    switch (coding) {
        case AV_CODEC_ID_MPEG2VIDEO:
            return "long-GOP MPEG-2; intra frames only";
        case AV_CODEC_ID_DVVIDEO:
            return "a variant of DV without a decoder";
        default:
            return "a picture size or rate out of range";
    }
}

}  // namespace

std::string FootageFile::Refusal(HRESULT result) const {
    const AVCodecParameters* video = FirstOf(context_.get(), AVMEDIA_TYPE_VIDEO);
    const AVCodecParameters* audio = FirstOf(context_.get(), AVMEDIA_TYPE_AUDIO);
    switch (result) {
        case kUnknownFileType:
            return size() == 0 ? "empty file" : "neither AVI, MOV, MXF, GXF, raw DV nor raw MPEG-2";
        case kInvalidFileFormat:
            return "damaged file";
        case kUnsupportedVideo:
            return video ? VariantText(video->codec_id) : "";
        case kUnsupportedStream:
            if (video) {
                return NameOf(*video) + " video";
            }
            return audio ? "no video, and " + NameOf(*audio) + " audio" : "neither video nor audio";
        default:
            return "";
    }
}

}  // namespace nyx::source
