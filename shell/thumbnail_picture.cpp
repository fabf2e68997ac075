#include "shell/thumbnail_picture.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "source/failures.h"

namespace nyx::shell {
namespace {

/// Larger ones are refused: a picture of 4096 x 2176 takes 27 MB, a frame of it 24 MB.
constexpr std::int64_t kMaxPixels = 4096 * 2176;
constexpr std::size_t kMaxFrame = 32 << 20;
/// The mean of a picture's samples that is not nearly black; black is 0.
constexpr std::int64_t kBright = 16;
constexpr std::size_t kColours = 3;

/// Decodes the packet of the first stream that lasts at a time; false where that fails.
bool ReadPicture(source::FootageFile* file, REFERENCE_TIME time, DecodeFrame decode,
                 Picture* picture) {
    source::Packet packet;
    file->LimitReading();
    if (file->Seek(time) != S_OK || file->ReadPacket(&packet) != S_OK) {
        return false;
    }
    source::VideoFormat format = *file->streams().front().video;
    if (packet.system) {
        format.fourcc = source::DvFourCC(*packet.system);
        format.width = packet.system->width;
        format.height = packet.system->height;
    }
    const std::int64_t pixels = std::int64_t{format.width} * format.height;
    if (packet.size() > kMaxFrame || pixels > kMaxPixels) {
        return false;
    }
    std::vector<BYTE> frame(packet.size());
    *picture = {format.width, format.height, {}};
    picture->pixels.resize(static_cast<std::size_t>(pixels) * kColours);
    return file->Copy(packet, frame.data()) == S_OK &&
           decode(format, {frame.data(), frame.size()}, picture->pixels.data()) == S_OK;
}

/// The rows or columns that make one of the result, by number, and their weights, whose sum is 1.
/// Beyond its edges a picture is its own mirror image.
using Blend = std::vector<std::pair<std::size_t, float>>;

std::vector<Blend> Blends(LONG from, LONG to) {
    std::vector<Blend> blends(static_cast<std::size_t>(to));
    const float step = static_cast<float>(from) / static_cast<float>(to);
    const float reach = std::max(step, 1.0F);
    float centre = step / 2 - 0.5F;
    for (Blend& blend : blends) {
        float sum = 0;
        const auto last = static_cast<LONG>(std::floor(centre + reach));
        for (auto at = static_cast<LONG>(std::ceil(centre - reach)); at <= last; ++at) {
            const LONG mirrored = at < 0 ? -at - 1 : at < from ? at : 2 * from - at - 1;
            const LONG place = std::clamp<LONG>(mirrored, 0, from - 1);
            blend.emplace_back(place, 1 - std::abs(static_cast<float>(at) - centre) / reach);
            sum += blend.back().second;
        }
        for (auto& [place, weight] : blend) {
            weight /= sum;
        }
        centre += step;
    }
    return blends;
}

/// Scales a picture of blue, green and red bytes. A pixel of the result is the mean of those around
/// its place, weighted by a triangle as wide as two pixels of the coarser picture. (The system's
/// own scaler takes the nearest pixel under Wine.)
Picture ScalePicture(const Picture& from, LONG width, LONG height) {
    const std::vector<Blend> columns = Blends(from.width, width);
    std::vector<float> row(static_cast<std::size_t>(from.width) * kColours);
    Picture to = {width, height, {}};
    to.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    for (const Blend& rows : Blends(from.height, height)) {
        std::fill(row.begin(), row.end(), 0.0F);
        for (const auto& [place, weight] : rows) {
            const BYTE* source = from.pixels.data() + place * row.size();
            for (float& sum : row) {
                sum += weight * static_cast<float>(*source++);
            }
        }
        for (const Blend& column : columns) {
            for (std::size_t colour = 0; colour < kColours; ++colour) {
                float sum = 0.5F;  // rounds
                for (const auto& [place, weight] : column) {
                    sum += weight * row[place * kColours + colour];
                }
                to.pixels.push_back(static_cast<BYTE>(std::min(sum, 255.0F)));
            }
            to.pixels.push_back(255);
        }
    }
    return to;
}

}  // namespace

HRESULT MakeThumbnail(std::unique_ptr<source::ByteSource> bytes, LONG size, DecodeFrame decode,
                      Picture* thumbnail) {
    source::FootageFile file;
    source::ByteSource& clock = *bytes;
    const std::int64_t end = clock.Milliseconds() + kMilliseconds;
    const HRESULT result = size > 0 ? file.Open(std::move(bytes)) : E_INVALIDARG;
    if (FAILED(result) || !file.streams().front().video) {
        return FAILED(result) ? result : source::kUnsupportedStream;
    }
    std::vector<bool> pictures(file.streams().size());
    pictures.front() = true;
    file.Select(pictures);
    Picture best;
    std::int64_t brightest = -1;
    for (int tenth = 1; tenth < 10 && brightest < kBright && clock.Milliseconds() < end; ++tenth) {
        Picture next;
        if (ReadPicture(&file, file.duration() / 10 * tenth, decode, &next)) {
            const auto mean =
                std::accumulate(next.pixels.begin(), next.pixels.end(), std::int64_t{0}) /
                static_cast<std::int64_t>(next.pixels.size());
            if (mean > brightest) {
                brightest = mean;
                best = std::move(next);
            }
        }
    }
    if (brightest < 0) {
        return E_FAIL;
    }
    const auto [wide, high] = file.streams().front().video->aspect;
    const std::int64_t side = std::min(size, kMaxThumbnail), whole = std::max(wide, high);
    const auto scaled = [&](std::int64_t part) {
        return static_cast<LONG>(std::max<std::int64_t>((side * part + whole / 2) / whole, 1));
    };
    *thumbnail = ScalePicture(best, scaled(wide), scaled(high));
    return S_OK;
}

}  // namespace nyx::shell
