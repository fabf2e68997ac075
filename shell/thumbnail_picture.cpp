#include "shell/thumbnail_picture.h"

#include <numeric>

#include "source/failures.h"

namespace nyx::shell {
namespace {

using source::FootageFile;

/// Larger ones are refused: a picture of 4096 x 2176 takes 27 MB, a frame of it 24 MB.
constexpr std::int64_t kMaxPixels = 4096 * 2176;
constexpr std::size_t kMaxFrame = 32 << 20;
/// The mean of a picture's samples that is not nearly black; black is 0.
constexpr std::int64_t kBright = 16;
constexpr int kParts = 10;

std::int64_t MeanOf(const Picture& picture) {
    const std::int64_t sum =
        std::accumulate(picture.pixels.begin(), picture.pixels.end(), std::int64_t{0});
    return sum / static_cast<std::int64_t>(picture.pixels.size());
}

/// Decodes the packet of the first stream that lasts at a time.
HRESULT ReadPicture(FootageFile* file, REFERENCE_TIME time, DecodeFrame decode, Picture* picture) {
    source::Packet packet;
    file->LimitReading();
    HRESULT result = file->Seek(time);
    result = result == S_OK ? file->ReadPacket(&packet) : result;
    if (result != S_OK || packet.size() > kMaxFrame) {
        return FAILED(result) ? result : E_FAIL;
    }
    const source::StreamFormat& stream = file->streams().front();
    const source::VideoFormat format =
        packet.system ? *WithSystem(stream, *packet.system).video : *stream.video;
    const std::int64_t pixels = std::int64_t{format.width} * format.height;
    if (pixels > kMaxPixels) {
        return source::kUnsupportedVideo;
    }
    std::vector<BYTE> frame(packet.size());
    result = file->Copy(packet, frame.data());
    if (result != S_OK) {
        return FAILED(result) ? result : E_FAIL;
    }
    *picture = {format.width, format.height,
                std::vector<BYTE>(static_cast<std::size_t>(pixels) * 4)};
    return decode(format, {frame.data(), frame.size()}, picture->pixels.data());
}

/// One side of a picture whose other side is the longer one.
LONG ShorterSide(LONG longer, std::int64_t part, std::int64_t whole) {
    return static_cast<LONG>(std::max<std::int64_t>((longer * part + whole / 2) / whole, 1));
}

}  // namespace

HRESULT OpenInTime(std::unique_ptr<source::ByteSource> bytes, FootageFile* file,
                   const TimedBytes** time) {
    auto timed = std::make_unique<TimedBytes>(std::move(bytes));
    *time = timed.get();
    const HRESULT result = file->Open(std::move(timed));
    // A file whose time ended while it was opened may seem shorter than it is.
    return SUCCEEDED(result) && (*time)->isOver() ? TimedBytes::kTooLate : result;
}

HRESULT MakeThumbnail(std::unique_ptr<source::ByteSource> bytes, LONG size, DecodeFrame decode,
                      Picture* thumbnail) {
    FootageFile file;
    const TimedBytes* time = nullptr;
    HRESULT result = size > 0 ? OpenInTime(std::move(bytes), &file, &time) : E_INVALIDARG;
    if (FAILED(result)) {
        return result;
    }
    const source::StreamFormat& first = file.streams().front();
    if (!first.video) {
        return source::kUnsupportedStream;
    }
    std::vector<bool> pictures(file.streams().size());
    pictures.front() = true;
    file.Select(pictures);
    Picture best;
    std::int64_t brightest = -1;
    for (int part = 1; part < kParts && brightest < kBright && !time->isOver(); ++part) {
        Picture next;
        result = ReadPicture(&file, file.duration() / kParts * part, decode, &next);
        if (result == S_OK && MeanOf(next) > brightest) {
            brightest = MeanOf(next);
            best = std::move(next);
        }
    }
    if (brightest < 0) {
        return FAILED(result) ? result : TimedBytes::kTooLate;
    }
    const auto [wide, high] = first.video->aspect;
    const LONG side = std::min(size, kMaxThumbnail);
    *thumbnail = ScalePicture(best, wide < high ? ShorterSide(side, wide, high) : side,
                              wide < high ? side : ShorterSide(side, high, wide));
    return S_OK;
}

}  // namespace nyx::shell
