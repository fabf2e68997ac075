#include "engines/standin/coder.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace standin {
namespace {

constexpr int kSide = 8;
constexpr int kCoefficients = kSide * kSide;
constexpr LONG kMostPixels = 1 << 27;
constexpr double kPi = 3.14159265358979323846;

/// Position of each coefficient in the order of rising frequency.
constexpr BYTE kZigzag[kCoefficients] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

/// The orthonormal cosine basis: row = frequency, column = sample.
struct Basis {
    float at[kSide][kSide];
    Basis() {
        for (int u = 0; u < kSide; ++u) {
            const double scale = std::sqrt((u == 0 ? 1.0 : 2.0) / kSide);
            for (int x = 0; x < kSide; ++x) {
                at[u][x] =
                    static_cast<float>(scale * std::cos((2 * x + 1) * u * kPi / (2 * kSide)));
            }
        }
    }
};

const Basis& TheBasis() {
    static const Basis basis;
    return basis;
}

using BlockOfFloats = float[kSide][kSide];

/// out = B in B^T, or B^T in B for the inverse.
void Transform(const BlockOfFloats& in, bool inverse, BlockOfFloats* out) {
    const Basis& basis = TheBasis();
    BlockOfFloats half;
    for (int v = 0; v < kSide; ++v) {
        for (int x = 0; x < kSide; ++x) {
            float sum = 0;
            for (int y = 0; y < kSide; ++y) {
                sum += (inverse ? basis.at[y][v] : basis.at[v][y]) * in[y][x];
            }
            half[v][x] = sum;
        }
    }
    for (int v = 0; v < kSide; ++v) {
        for (int u = 0; u < kSide; ++u) {
            float sum = 0;
            for (int x = 0; x < kSide; ++x) {
                sum += (inverse ? basis.at[x][u] : basis.at[u][x]) * half[v][x];
            }
            (*out)[v][u] = sum;
        }
    }
}

/// A plane's blocks: edges repeated to whole blocks.
template <typename Body>
void ForEachBlockOf(int width, int height, Body body) {
    for (int y = 0; y < height; y += kSide) {
        for (int x = 0; x < width; x += kSide) {
            body(x, y);
        }
    }
}

void AppendCoefficients(const Plane& plane, int depth, std::vector<float>* coefficients) {
    const float middle = static_cast<float>(1 << (depth - 1));
    ForEachBlockOf(plane.width, plane.height, [&](int x0, int y0) {
        BlockOfFloats samples;
        for (int y = 0; y < kSide; ++y) {
            const std::uint16_t* row = plane.row(std::min(y0 + y, plane.height - 1));
            for (int x = 0; x < kSide; ++x) {
                samples[y][x] = static_cast<float>(row[std::min(x0 + x, plane.width - 1)]) - middle;
            }
        }
        BlockOfFloats transformed;
        Transform(samples, false, &transformed);
        for (BYTE position : kZigzag) {
            coefficients->push_back(transformed[position / kSide][position % kSide]);
        }
    });
}

/// 7 bits a byte, the lowest first; signs folded so that small levels take one byte.
void AppendLevel(std::int32_t level, std::vector<BYTE>* tokens) {
    auto folded = static_cast<std::uint32_t>(level < 0 ? -2 * level - 1 : 2 * level);
    while (folded >= 0x80) {
        tokens->push_back(static_cast<BYTE>(folded | 0x80));
        folded >>= 7;
    }
    tokens->push_back(static_cast<BYTE>(folded));
}

/// For each block the number of levels up to the last that is not 0, then those levels.
std::vector<BYTE> Tokens(const std::vector<float>& coefficients, float step) {
    std::vector<BYTE> tokens;
    tokens.reserve(coefficients.size() / 4);
    for (std::size_t at = 0; at < coefficients.size(); at += kCoefficients) {
        std::int32_t levels[kCoefficients];
        int count = 0;
        for (int i = 0; i < kCoefficients; ++i) {
            levels[i] = static_cast<std::int32_t>(
                std::lrint(coefficients[at + static_cast<std::size_t>(i)] / step));
            count = levels[i] != 0 ? i + 1 : count;
        }
        tokens.push_back(static_cast<BYTE>(count));
        for (int i = 0; i < count; ++i) {
            AppendLevel(levels[i], &tokens);
        }
    }
    return tokens;
}

/// Reads tokens back; past the end everything is 0 and `failed` is set.
struct TokenReader {
    const std::vector<BYTE>& tokens;
    std::size_t at = 0;
    bool failed = false;

    BYTE Byte() {
        if (at >= tokens.size()) {
            failed = true;
            return 0;
        }
        return tokens[at++];
    }

    std::int32_t Level() {
        std::uint32_t folded = 0;
        for (int shift = 0; shift < 28; shift += 7) {
            const BYTE byte = Byte();
            folded |= static_cast<std::uint32_t>(byte & 0x7F) << shift;
            if (byte < 0x80) {
                break;
            }
        }
        const auto magnitude = static_cast<std::int32_t>((folded + 1) / 2);
        return folded % 2 != 0 ? -magnitude : magnitude;
    }
};

void DecodePlane(TokenReader* reader, float step, int depth, Plane* plane) {
    const float middle = static_cast<float>(1 << (depth - 1));
    const float most = static_cast<float>((1 << depth) - 1);
    ForEachBlockOf(plane->width, plane->height, [&](int x0, int y0) {
        BlockOfFloats transformed = {};
        const int count = std::min<int>(reader->Byte(), kCoefficients);
        for (int i = 0; i < count; ++i) {
            const BYTE position = kZigzag[i];
            transformed[position / kSide][position % kSide] =
                static_cast<float>(reader->Level()) * step;
        }
        BlockOfFloats samples;
        Transform(transformed, true, &samples);
        for (int y = 0; y < std::min(kSide, plane->height - y0); ++y) {
            std::uint16_t* row = plane->row(y0 + y) + x0;
            for (int x = 0; x < std::min(kSide, plane->width - x0); ++x) {
                const float value = std::clamp(samples[y][x] + middle, 0.0f, most);
                row[x] = static_cast<std::uint16_t>(std::lrint(value));
            }
        }
    });
}

/// Differences to the left neighbour, low bytes first, then high bytes.
std::vector<BYTE> DeflateAlpha(const Plane& alpha) {
    const std::size_t count = alpha.samples.size();
    std::vector<BYTE> bytes(count * 2);
    std::uint16_t left = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto difference = static_cast<std::uint16_t>(alpha.samples[i] - left);
        left = alpha.samples[i];
        bytes[i] = static_cast<BYTE>(difference);
        bytes[count + i] = static_cast<BYTE>(difference >> 8);
    }
    return Deflate(bytes);
}

bool InflateAlpha(const BYTE* from, std::size_t size, Plane* alpha) {
    const std::size_t count = alpha->samples.size();
    const auto bytes = Inflate(from, size, count * 2);
    if (!bytes) {
        return false;
    }
    std::uint16_t left = 0;
    for (std::size_t i = 0; i < count; ++i) {
        left = static_cast<std::uint16_t>(left + ((*bytes)[i] | (*bytes)[count + i] << 8));
        alpha->samples[i] = left;
    }
    return true;
}

}  // namespace

std::vector<BYTE> Deflate(const std::vector<BYTE>& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<BYTE> packed(size);
    if (compress2(packed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()),
                  Z_BEST_SPEED) != Z_OK) {
        throw std::bad_alloc();
    }
    packed.resize(size);
    return packed;
}

std::optional<std::vector<BYTE>> Inflate(const BYTE* bytes, std::size_t count, std::size_t size) {
    std::vector<BYTE> out(size);
    uLongf got = static_cast<uLongf>(size);
    if (uncompress(out.data(), &got, bytes, static_cast<uLong>(count)) != Z_OK || got != size) {
        return std::nullopt;
    }
    return out;
}

std::optional<FrameHeader> ReadHeader(const void* frame, std::string_view tag) {
    FrameHeader header;
    std::memcpy(&header, frame, sizeof(header));
    const bool sound = std::memcmp(header.tag, tag.data(), tag.size()) == 0 && header.width > 0 &&
                       header.height > 0 && header.width % 2 == 0 &&
                       header.height <= kMostPixels / header.width &&
                       (header.depth == 8 || header.depth == 10) && header.step > 0 &&
                       header.bodyBytes <= header.codedLength &&
                       header.alphaBytes <= header.codedLength - header.bodyBytes &&
                       header.codedLength - header.bodyBytes - header.alphaBytes == sizeof(header);
    return sound ? std::optional<FrameHeader>(header) : std::nullopt;
}

std::vector<BYTE> EncodeFrame(std::string_view tag, const Picture& picture, float step,
                              std::size_t capacity) {
    std::vector<float> coefficients;
    for (const Plane* plane : {&picture.y, &picture.cb, &picture.cr}) {
        AppendCoefficients(*plane, picture.depth, &coefficients);
    }
    const std::vector<BYTE> alpha =
        picture.hasAlpha() ? DeflateAlpha(picture.alpha) : std::vector<BYTE>();

    FrameHeader header = {};
    std::memcpy(header.tag, tag.data(), std::min(tag.size(), sizeof(header.tag)));
    header.width = picture.width;
    header.height = picture.height;
    header.depth = picture.depth;
    header.alphaBytes = static_cast<DWORD>(alpha.size());
    const float coarsest = static_cast<float>(1 << (picture.depth + 4));  // all levels become 0
    for (header.step = step;; header.step = std::min(header.step * 1.25f, coarsest)) {
        const std::vector<BYTE> body = Deflate(Tokens(coefficients, header.step));
        const std::size_t size = sizeof(header) + body.size() + alpha.size();
        if (size <= capacity) {
            header.bodyBytes = static_cast<DWORD>(body.size());
            header.codedLength = static_cast<DWORD>(size);
            std::vector<BYTE> frame(sizeof(header));
            std::memcpy(frame.data(), &header, sizeof(header));
            frame.insert(frame.end(), body.begin(), body.end());
            frame.insert(frame.end(), alpha.begin(), alpha.end());
            return frame;
        }
        if (header.step >= coarsest) {
            return {};
        }
    }
}

std::optional<Picture> DecodeFrame(const BYTE* frame, const FrameHeader& header) {
    Picture picture(header.width, header.height, header.depth, header.alphaBytes != 0);
    // A block is at least its count, and a level at most four bytes: no frame inflates to more.
    const std::size_t most = picture.y.samples.size() * 2 * 5 + 65536;
    std::vector<BYTE> tokens(most);
    uLongf got = static_cast<uLongf>(most);
    const BYTE* body = frame + sizeof(header);
    if (uncompress(tokens.data(), &got, body, header.bodyBytes) != Z_OK) {
        return std::nullopt;
    }
    tokens.resize(got);
    TokenReader reader{tokens};
    for (Plane* plane : {&picture.y, &picture.cb, &picture.cr}) {
        DecodePlane(&reader, header.step, header.depth, plane);
    }
    if (reader.failed || (picture.hasAlpha() && !InflateAlpha(body + header.bodyBytes,
                                                              header.alphaBytes, &picture.alpha))) {
        return std::nullopt;
    }
    return picture;
}

}  // namespace standin
