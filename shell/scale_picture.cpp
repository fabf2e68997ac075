#include "shell/scale_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace nyx::shell {
namespace {

constexpr std::size_t kColours = 3;
constexpr std::size_t kPixelBytes = 4;

/// The rows or columns that make one of the result, and their weights, whose sum is 1.
struct Blend {
    std::size_t first = 0;
    std::vector<float> weights{};
};

std::vector<Blend> Blends(LONG from, LONG to) {
    std::vector<Blend> blends(static_cast<std::size_t>(to));
    const float step = static_cast<float>(from) / static_cast<float>(to);
    const float reach = std::max(step, 1.0F);
    for (std::size_t i = 0; i < blends.size(); ++i) {
        const float centre = (static_cast<float>(i) + 0.5F) * step - 0.5F;
        const LONG first = std::max<LONG>(std::lround(std::ceil(centre - reach)), 0);
        const LONG last = std::min<LONG>(std::lround(std::floor(centre + reach)), from - 1);
        float sum = 0;
        for (LONG at = first; at <= last; ++at) {
            const float weight = 1 - std::abs(static_cast<float>(at) - centre) / reach;
            blends[i].weights.push_back(weight);
            sum += weight;
        }
        blends[i].first = static_cast<std::size_t>(first);
        for (float& weight : blends[i].weights) {
            weight /= sum;
        }
    }
    return blends;
}

}  // namespace

Picture ScalePicture(const Picture& from, LONG width, LONG height) {
    const std::vector<Blend> columns = Blends(from.width, width);
    const std::size_t rowBytes = static_cast<std::size_t>(from.width) * kPixelBytes;
    std::vector<float> row(rowBytes);
    Picture to = {width, height, {}};
    to.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                      kPixelBytes);
    for (const Blend& rows : Blends(from.height, height)) {
        std::fill(row.begin(), row.end(), 0.0F);
        const BYTE* source = from.pixels.data() + rows.first * rowBytes;
        for (const float weight : rows.weights) {
            for (std::size_t i = 0; i < rowBytes; ++i) {
                row[i] += weight * static_cast<float>(source[i]);
            }
            source += rowBytes;
        }
        for (const Blend& column : columns) {
            for (std::size_t colour = 0; colour < kColours; ++colour) {
                float sum = 0.5F;  // rounds
                const float* at = row.data() + column.first * kPixelBytes + colour;
                for (const float weight : column.weights) {
                    sum += weight * *at;
                    at += kPixelBytes;
                }
                to.pixels.push_back(static_cast<BYTE>(std::min(sum, 255.0F)));
            }
            to.pixels.push_back(255);
        }
    }
    return to;
}

}  // namespace nyx::shell
