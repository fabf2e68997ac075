#include "shell/scale_picture.h"

#include <algorithm>
#include <cmath>

namespace nyx::shell {
namespace {

constexpr std::size_t kColours = 3;

/// The rows or columns that make one of the result, and their weights, whose sum is 1. Beyond its
/// edges a picture is its own mirror image.
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
        const LONG first = static_cast<LONG>(std::ceil(centre - reach));
        const LONG last = static_cast<LONG>(std::floor(centre + reach));
        const LONG inside = std::max<LONG>(first, 0);
        blends[i].first = static_cast<std::size_t>(inside);
        blends[i].weights.resize(static_cast<std::size_t>(std::min(last, from - 1) - inside) + 1);
        float sum = 0;
        for (LONG at = first; at <= last; ++at) {
            const LONG mirrored = at < 0 ? -at - 1 : at < from ? at : 2 * from - at - 1;
            const LONG place = std::clamp<LONG>(mirrored, inside, std::min(last, from - 1));
            const float weight = 1 - std::abs(static_cast<float>(at) - centre) / reach;
            blends[i].weights[static_cast<std::size_t>(place - inside)] += weight;
            sum += weight;
        }
        for (float& weight : blends[i].weights) {
            weight /= sum;
        }
    }
    return blends;
}

}  // namespace

Picture ScalePicture(const Picture& from, LONG width, LONG height) {
    const std::vector<Blend> columns = Blends(from.width, width);
    const std::size_t rowBytes = static_cast<std::size_t>(from.width) * kColours;
    std::vector<float> row(rowBytes);
    Picture to = {width, height, {}};
    to.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
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
                const float* at = row.data() + column.first * kColours + colour;
                for (const float weight : column.weights) {
                    sum += weight * *at;
                    at += kColours;
                }
                to.pixels.push_back(static_cast<BYTE>(std::min(sum, 255.0F)));
            }
            to.pixels.push_back(255);
        }
    }
    return to;
}

}  // namespace nyx::shell
