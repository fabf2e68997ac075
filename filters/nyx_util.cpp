#include "filters/nyx_util.h"

namespace nyx {
namespace {

struct KindRow {
    WORD bitCount;
    const GUID* subtype;
    PictureKind kind;
};

const KindRow kKinds[] = {
    {16, &MEDIASUBTYPE_YUY2, PictureKind::kOpaque},
    {24, &MEDIASUBTYPE_RGB24, PictureKind::kOpaque},
    {24, &MEDIASUBTYPE_RGB32, PictureKind::kOpaque},
    {32, &MEDIASUBTYPE_RGB32, PictureKind::kOpaque},
    {24, &MEDIASUBTYPE_ARGB32, PictureKind::kAlpha},
    {32, &MEDIASUBTYPE_ARGB32, PictureKind::kAlpha},
};

template <class Block>
const Block* BlockOf(const AM_MEDIA_TYPE& type, const GUID& formatType) {
    const bool present =
        type.formattype == formatType && type.pbFormat && type.cbFormat >= sizeof(Block);
    return present ? reinterpret_cast<const Block*>(type.pbFormat) : nullptr;
}

/// The fields that both forms of block have.
template <class Block>
VideoFormat CommonFormat(const Block& block, const GUID& subtype) {
    return {.header = &block.bmiHeader,
            .averageFrameDuration = block.AvgTimePerFrame,
            .header2 = nullptr,
            .kind = NyxUtil::ClassifyPicture(block.bmiHeader.biBitCount, subtype)};
}

}  // namespace

VideoFormat NyxUtil::FormatOf(const AM_MEDIA_TYPE& type) noexcept {
    VideoFormat format;
    if (const auto* block2 = BlockOf<VIDEOINFOHEADER2>(type, FORMAT_VideoInfo2)) {
        format = CommonFormat(*block2, type.subtype);
        format.header2 = block2;
    } else if (const auto* block = BlockOf<VIDEOINFOHEADER>(type, FORMAT_VideoInfo)) {
        format = CommonFormat(*block, type.subtype);
    }
    return format;
}

PictureKind NyxUtil::ClassifyPicture(WORD bitCount, const GUID& subtype) noexcept {
    for (const KindRow& row : kKinds) {
        if (row.bitCount == bitCount && *row.subtype == subtype) {
            return row.kind;
        }
    }
    return PictureKind::kInvalid;
}

DWORD NyxUtil::InterlaceFlags(LONG fieldOrder) noexcept {
    constexpr DWORD kInterlaced = AMINTERLACE_IsInterlaced | AMINTERLACE_FieldPatBothRegular |
                                  AMINTERLACE_DisplayModeBobOrWeave;
    switch (fieldOrder) {
        case kTopFieldFirst:
            return kInterlaced | AMINTERLACE_Field1First;
        case kBottomFieldFirst:
            return kInterlaced;
        default:
            return 0;
    }
}

}  // namespace nyx
