#include "engines/standin/picture.h"

#include <algorithm>
#include <cstddef>

#include "convert/convert.h"

namespace standin {
namespace {

constexpr int kBlockSide = 16;
constexpr int kBlockRowBytes = 32;
constexpr int kCrAt = 16;
constexpr int kCbAt = 24;
constexpr int kAlphaBlockAt = 512;
constexpr int kBlockBytes = 1024;
constexpr int kCallbackRows = 8;

BYTE* RowOf(const Surface& surface, int y) {
    return surface.data + std::ptrdiff_t{y} * surface.stride;
}

BYTE ToByte(std::uint16_t sample, int depth) {
    const int half = depth == 8 ? 0 : 1 << (depth - 9);
    return static_cast<BYTE>(std::min((sample + half) >> (depth - 8), 255));
}

std::uint16_t FromByte(BYTE sample, int depth) {
    return static_cast<std::uint16_t>(sample << (depth - 8));
}

/// Alpha is scaled so that the ends of the range meet.
std::uint16_t AlphaFromByte(BYTE alpha, int depth) {
    return static_cast<std::uint16_t>((alpha * ((1 << depth) - 1) + 127) / 255);
}

BYTE AlphaToByte(std::uint16_t alpha, int depth) {
    const int most = (1 << depth) - 1;
    return static_cast<BYTE>((alpha * 255 + most / 2) / most);
}

/// The conversion library's packed 4:2:2: bytes for 8-bit pictures, words for deeper ones.
template <typename Sample>
std::vector<Sample> Pack(const Picture& picture) {
    std::vector<Sample> packed(picture.y.samples.size() * 2);
    Sample* to = packed.data();
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Plane& chroma = x % 2 == 0 ? picture.cb : picture.cr;
            *to++ = static_cast<Sample>(picture.y.row(y)[x]);
            *to++ = static_cast<Sample>(chroma.row(y)[x / 2]);
        }
    }
    return packed;
}

template <typename Sample>
void Unpack(const std::vector<Sample>& packed, Picture* picture) {
    const Sample* from = packed.data();
    for (int y = 0; y < picture->height; ++y) {
        for (int x = 0; x < picture->width; ++x) {
            Plane& chroma = x % 2 == 0 ? picture->cb : picture->cr;
            picture->y.row(y)[x] = *from++;
            chroma.row(y)[x / 2] = *from++;
        }
    }
}

template <typename Sample>
struct PackedFormat;
template <>
struct PackedFormat<BYTE> {
    static constexpr DWORD kFourCC = nyx::FourCC("YUY2");
};
template <>
struct PackedFormat<std::uint16_t> {
    static constexpr DWORD kFourCC = nyx::FourCC("W210");
};

DWORD YuvFlags(const RgbLayout& layout) {
    return layout.highDefinition ? nyx::kYuvBt709 : nyx::kYuvBt601;
}

DWORD RgbFlags(const RgbLayout& layout) {
    return layout.fullRange ? nyx::kRgbFullRange : nyx::kRgbStudioRange;
}

DWORD RgbFourCC(const RgbLayout& layout) {
    return layout.bytesPerPixel == 3 ? nyx::FourCC("BGR3") : nyx::FourCC("BGRA");
}

nyx::ImagePlane RgbPlane(const Surface& surface, const RgbLayout& layout, int width) {
    return {surface.data, surface.stride, surface.stride - width * layout.bytesPerPixel};
}

template <typename Sample>
nyx::ImagePlane PackedPlane(std::vector<Sample>* packed, int width) {
    return {reinterpret_cast<BYTE*>(packed->data()), static_cast<LONG>(2 * sizeof(Sample)) * width,
            0};
}

template <typename Sample>
bool StoreRgbFrom(const Picture& picture, const RgbLayout& layout, const Surface& surface) {
    std::vector<Sample> packed = Pack<Sample>(picture);
    const nyx::ImagePlane source = PackedPlane(&packed, picture.width);
    const nyx::ImagePlane destination = RgbPlane(surface, layout, picture.width);
    return SUCCEEDED(nyx::ConvertFromYuv(&source, nullptr, PackedFormat<Sample>::kFourCC,
                                         YuvFlags(layout), 0, &destination, RgbFourCC(layout),
                                         RgbFlags(layout), 0, picture.width, picture.height));
}

template <typename Sample>
bool LoadRgbInto(const Surface& surface, const RgbLayout& layout, Picture* picture) {
    std::vector<Sample> packed(picture->y.samples.size() * 2);
    const nyx::ImagePlane source = RgbPlane(surface, layout, picture->width);
    const nyx::ImagePlane destination = PackedPlane(&packed, picture->width);
    if (FAILED(nyx::ConvertToYuv(&source, RgbFourCC(layout), RgbFlags(layout), nullptr,
                                 &destination, nullptr, PackedFormat<Sample>::kFourCC,
                                 YuvFlags(layout), 0, picture->width, picture->height))) {
        return false;
    }
    Unpack(packed, picture);
    return true;
}

/// One block's place in the picture.
struct BlockPlace {
    int x;
    int y;
    int width;
    int rows;
};

/// Calls `body(place, block)` for each block of the picture.
template <typename Body>
void ForEachBlock(const Picture& picture, Body body) {
    for (int y = 0; y < picture.height; y += kBlockSide) {
        for (int x = 0; x < picture.width; x += kBlockSide) {
            alignas(16) BYTE block[kBlockBytes] = {};
            body(BlockPlace{x, y, std::min(kBlockSide, picture.width - x),
                            std::min(kBlockSide, picture.height - y)},
                 block);
        }
    }
}

void FillBlock(const Picture& picture, const BlockPlace& place, BYTE* block) {
    for (int r = 0; r < place.rows; ++r) {
        BYTE* row = block + r * kBlockRowBytes;
        const int y = place.y + r;
        for (int c = 0; c < place.width; ++c) {
            row[c] = ToByte(picture.y.row(y)[place.x + c], picture.depth);
            if (picture.hasAlpha()) {
                row[kAlphaBlockAt + c] =
                    AlphaToByte(picture.alpha.row(y)[place.x + c], picture.depth);
            }
        }
        for (int c = 0; c < place.width / 2; ++c) {
            row[kCrAt + c] = ToByte(picture.cr.row(y)[place.x / 2 + c], picture.depth);
            row[kCbAt + c] = ToByte(picture.cb.row(y)[place.x / 2 + c], picture.depth);
        }
    }
}

void TakeBlock(const BYTE* block, const BlockPlace& place, Picture* picture) {
    for (int r = 0; r < place.rows; ++r) {
        const BYTE* row = block + r * kBlockRowBytes;
        const int y = place.y + r;
        for (int c = 0; c < place.width; ++c) {
            picture->y.row(y)[place.x + c] = FromByte(row[c], picture->depth);
            if (picture->hasAlpha()) {
                picture->alpha.row(y)[place.x + c] =
                    AlphaFromByte(row[kAlphaBlockAt + c], picture->depth);
            }
        }
        for (int c = 0; c < place.width / 2; ++c) {
            picture->cr.row(y)[place.x / 2 + c] = FromByte(row[kCrAt + c], picture->depth);
            picture->cb.row(y)[place.x / 2 + c] = FromByte(row[kCbAt + c], picture->depth);
        }
    }
}

BYTE* PlaceIn(const Surface& surface, LONG bytesPerPixel, const BlockPlace& place) {
    return RowOf(surface, place.y) + std::ptrdiff_t{place.x} * bytesPerPixel;
}

bool IsClear(const Picture& picture, const BlockPlace& place) {
    for (int r = 0; r < place.rows; ++r) {
        const std::uint16_t* row = picture.alpha.row(place.y + r) + place.x;
        if (std::any_of(row, row + place.width, [](std::uint16_t a) { return a != 0; })) {
            return false;
        }
    }
    return true;
}

}  // namespace

void StoreYuy2(const Picture& picture, const Surface& surface) {
    for (int y = 0; y < picture.height; ++y) {
        BYTE* to = RowOf(surface, y);
        for (int x = 0; x < picture.width; ++x) {
            const Plane& chroma = x % 2 == 0 ? picture.cb : picture.cr;
            *to++ = ToByte(picture.y.row(y)[x], picture.depth);
            *to++ = ToByte(chroma.row(y)[x / 2], picture.depth);
        }
    }
}

void LoadYuy2(const Surface& surface, Picture* picture) {
    for (int y = 0; y < picture->height; ++y) {
        const BYTE* from = RowOf(surface, y);
        for (int x = 0; x < picture->width; ++x) {
            Plane& chroma = x % 2 == 0 ? picture->cb : picture->cr;
            picture->y.row(y)[x] = FromByte(*from++, picture->depth);
            chroma.row(y)[x / 2] = FromByte(*from++, picture->depth);
        }
    }
}

bool StoreRgb(const Picture& picture, const RgbLayout& layout, const Surface& surface) {
    const bool stored = picture.depth == 8 ? StoreRgbFrom<BYTE>(picture, layout, surface)
                                           : StoreRgbFrom<std::uint16_t>(picture, layout, surface);
    if (stored && layout.bytesPerPixel == 4 && picture.hasAlpha()) {
        for (int y = 0; y < picture.height; ++y) {
            BYTE* row = RowOf(surface, y);
            for (int x = 0; x < picture.width; ++x) {
                row[4 * x + 3] = AlphaToByte(picture.alpha.row(y)[x], picture.depth);
            }
        }
    }
    return stored;
}

bool LoadRgb(const Surface& surface, const RgbLayout& layout, Picture* picture) {
    if (layout.bytesPerPixel == 4 && picture->hasAlpha()) {
        for (int y = 0; y < picture->height; ++y) {
            const BYTE* row = RowOf(surface, y);
            for (int x = 0; x < picture->width; ++x) {
                picture->alpha.row(y)[x] = AlphaFromByte(row[4 * x + 3], picture->depth);
            }
        }
    }
    return picture->depth == 8 ? LoadRgbInto<BYTE>(surface, layout, picture)
                               : LoadRgbInto<std::uint16_t>(surface, layout, picture);
}

void StoreByCoreCallback(const Picture& picture, const Surface& surface, LONG bytesPerPixel,
                         CoreCallback writer) {
    ForEachBlock(picture, [&](const BlockPlace& place, BYTE* block) {
        FillBlock(picture, place, block);
        writer(PlaceIn(surface, bytesPerPixel, place), surface.stride, block, place.width,
               place.rows);
    });
}

void LoadByCoreCallback(const Surface& surface, LONG bytesPerPixel, CoreCallback reader,
                        Picture* picture) {
    ForEachBlock(*picture, [&](const BlockPlace& place, BYTE* block) {
        reader(PlaceIn(surface, bytesPerPixel, place), surface.stride, block, place.width,
               place.rows);
        TakeBlock(block, place, picture);
    });
}

void StoreByAlphaCallback(const Picture& picture, const Surface& surface, LONG bytesPerPixel,
                          FillCallback fill, AlphaCallback writer) {
    ForEachBlock(picture, [&](const BlockPlace& place, BYTE* block) {
        BYTE* const at = PlaceIn(surface, bytesPerPixel, place);
        if (IsClear(picture, place)) {
            fill(at, surface.stride, 0, 0, place.width, place.rows);
            return;
        }
        FillBlock(picture, place, block);
        writer(at, surface.stride, 0, 0, block, place.width, place.rows);
    });
}

void LoadByAlphaCallback(const Surface& surface, LONG bytesPerPixel, AlphaCallback reader,
                         Picture* picture) {
    ForEachBlock(*picture, [&](const BlockPlace& place, BYTE* block) {
        reader(PlaceIn(surface, bytesPerPixel, place), surface.stride, 0, 0, block, place.width,
               place.rows);
        TakeBlock(block, place, picture);
    });
}

void StoreByWorkingRows(const Picture& picture, const Surface& surface,
                        WorkingRowsCallback writer) {
    std::vector<std::uint16_t> rows = Pack<std::uint16_t>(picture);
    std::vector<std::uint16_t> alpha = picture.alpha.samples;
    for (int y = 0; y < picture.height; y += kCallbackRows) {
        const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width);
        BYTE* const alphaRows =
            picture.hasAlpha() ? reinterpret_cast<BYTE*>(alpha.data() + at) : nullptr;
        writer(RowOf(surface, y), surface.stride, reinterpret_cast<BYTE*>(rows.data() + 2 * at),
               picture.width * 4, alphaRows, picture.width * 2, picture.width,
               std::min(kCallbackRows, picture.height - y));
    }
}

void LoadByWorkingRows(const Surface& surface, WorkingRowsCallback reader, Picture* picture) {
    std::vector<std::uint16_t> rows(picture->y.samples.size() * 2);
    for (int y = 0; y < picture->height; y += kCallbackRows) {
        const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(picture->width);
        BYTE* const alphaRows =
            picture->hasAlpha() ? reinterpret_cast<BYTE*>(picture->alpha.row(y)) : nullptr;
        reader(RowOf(surface, y), surface.stride, reinterpret_cast<BYTE*>(rows.data() + 2 * at),
               picture->width * 4, alphaRows, picture->width * 2, picture->width,
               std::min(kCallbackRows, picture->height - y));
    }
    Unpack(rows, picture);
}

}  // namespace standin
