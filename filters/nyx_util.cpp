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
Block* BlockOf(const AM_MEDIA_TYPE& type, const GUID& formatType) {
    const bool there =
        type.formattype == formatType && type.pbFormat && type.cbFormat >= sizeof(Block);
    return there ? reinterpret_cast<Block*>(type.pbFormat) : nullptr;
}

VIDEOINFOHEADER* FindVideoInfo(const AM_MEDIA_TYPE& type) {
    return BlockOf<VIDEOINFOHEADER>(type, FORMAT_VideoInfo);
}

}  // namespace

VIDEOINFOHEADER2* NyxUtil::FindVideoInfo2(const AM_MEDIA_TYPE& type) {
    return BlockOf<VIDEOINFOHEADER2>(type, FORMAT_VideoInfo2);
}

BITMAPINFOHEADER* NyxUtil::FindHeader(const AM_MEDIA_TYPE& type) {
    if (VIDEOINFOHEADER2* block = FindVideoInfo2(type)) {
        return &block->bmiHeader;
    }
    VIDEOINFOHEADER* block = FindVideoInfo(type);
    return block ? &block->bmiHeader : nullptr;
}

REFERENCE_TIME* NyxUtil::FindAverageFrameDuration(const AM_MEDIA_TYPE& type) {
    if (VIDEOINFOHEADER2* block = FindVideoInfo2(type)) {
        return &block->AvgTimePerFrame;
    }
    VIDEOINFOHEADER* block = FindVideoInfo(type);
    return block ? &block->AvgTimePerFrame : nullptr;
}

PictureKind NyxUtil::ClassifyPicture(WORD bitCount, const GUID& subtype) {
    for (const KindRow& row : kKinds) {
        if (row.bitCount == bitCount && *row.subtype == subtype) {
            return row.kind;
        }
    }
    return PictureKind::kInvalid;
}

DWORD NyxUtil::InterlaceFlags(LONG fieldOrder) {
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
