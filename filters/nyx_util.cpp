#include "filters/nyx_util.h"

#include "media/video_block.h"

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

}  // namespace

VideoFormat NyxUtil::FormatOf(const AM_MEDIA_TYPE& type) noexcept {
    const BITMAPINFOHEADER* header = PictureHeaderOf(type);
    if (!header) {
        return {};
    }
    const auto* block2 = reinterpret_cast<const VIDEOINFOHEADER2*>(type.pbFormat);
    return {.header = header,
            .averageFrameDuration = block2->AvgTimePerFrame,  // in both forms
            .header2 = type.formattype == FORMAT_VideoInfo2 ? block2 : nullptr,
            .kind = ClassifyPicture(header->biBitCount, type.subtype)};
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
    const bool interlaced = fieldOrder == kTopFieldFirst || fieldOrder == kBottomFieldFirst;
    return interlaced ? TwoFieldFlags(fieldOrder == kTopFieldFirst) : 0;
}

}  // namespace nyx
