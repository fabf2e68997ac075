#include "clip_reader.h"

#include <algorithm>
#include <cstring>

#include "avi_reader.h"
#include "dv_clip.h"
#include "raw_dv_reader.h"
#include "text.h"

namespace nyx::host {

void ClipReader::SetFormat(std::vector<BYTE> format) {
    format_ = std::move(format);
    std::memcpy(&header_, format_.data(), sizeof(header_));
    if (header_.biHeight == LONG_MIN) {
        throw Failure(ExitCode::kNotAvi, "the stream's picture height makes no sense");
    }
}

void ClipReader::SetRate(DWORD rate, DWORD scale) {
    if (rate == 0 || scale == 0) {
        throw Failure(ExitCode::kNotAvi, "the stream has no frame rate");
    }
    rate_ = rate;
    scale_ = scale;
}

void ClipReader::SetFrameSizes(std::vector<LONG> sizes) {
    // Times are counted in 64 bits of 100 ns; this keeps them far from the end of that.
    constexpr double kLongestSeconds = 1e9;
    if (static_cast<double>(sizes.size() + 1) * scale_ / rate_ > kLongestSeconds) {
        throw Failure(ExitCode::kNotAvi, "the stream's frame rate makes no sense");
    }
    frameSizes_ = std::move(sizes);
    if (!frameSizes_.empty()) {
        largestFrame_ = *std::max_element(frameSizes_.begin(), frameSizes_.end());
    }
}

void ClipReader::PlayAs(DWORD fourcc, LONG width, LONG height) {
    fileFourCC_ = header_.biCompression;
    header_.biCompression = fourcc;
    header_.biWidth = width;
    header_.biHeight = height;
    std::memcpy(format_.data(), &header_, sizeof(header_));
}

long long ClipReader::FrameTime(LONG index) const {
    constexpr long long kUnitsPerSecond = 10000000;
    // Whole seconds first, so that the product stays within 64 bits for any rate and index.
    const long long ticks = static_cast<long long>(index) * scale_;
    return ticks / rate_ * kUnitsPerSecond + ticks % rate_ * kUnitsPerSecond / rate_;
}

std::vector<BYTE> ClipReader::ReadFrame(LONG index) const {
    std::vector<BYTE> frame(static_cast<std::size_t>(FrameSize(index)));
    LONG size = 0;
    if (!frame.empty()) {
        Check(Read(index, frame.data(), FrameSize(index), &size),
              Format("frame %ld cannot be read", index).c_str(), ExitCode::kInput);
    }
    frame.resize(static_cast<std::size_t>(size));
    return frame;
}

std::unique_ptr<ClipReader> OpenClip(const std::string& path) {
    if (IsRawDv(path)) {
        return std::make_unique<RawDvReader>(path);
    }
    auto clip = std::make_unique<AviReader>(path);
    PlayDvAsOurs(*clip);
    return clip;
}

}  // namespace nyx::host
