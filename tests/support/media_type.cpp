#include "tests/support/media_type.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace nyx::test {
namespace {

void CopyInto(AM_MEDIA_TYPE* to, const AM_MEDIA_TYPE& from) {
    *to = from;
    to->pbFormat = nullptr;
    if (from.cbFormat && from.pbFormat) {
        to->pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(from.cbFormat));
        std::memcpy(to->pbFormat, from.pbFormat, from.cbFormat);
    }
    if (to->pUnk) {
        to->pUnk->AddRef();
    }
}

void Free(AM_MEDIA_TYPE* type) {
    CoTaskMemFree(type->pbFormat);
    if (type->pUnk) {
        type->pUnk->Release();
    }
    *type = {};
}

}  // namespace

MediaType::MediaType(const AM_MEDIA_TYPE& type) {
    CopyInto(&type_, type);
}

MediaType::MediaType(MediaType&& other) noexcept : type_(std::exchange(other.type_, {})) {}

MediaType& MediaType::operator=(MediaType other) noexcept {
    std::swap(type_, other.type_);
    return *this;
}

AM_MEDIA_TYPE* MediaType::Put() {
    Clear();
    return &type_;
}

void MediaType::Clear() {
    Free(&type_);
}

void MediaType::ResizeFormat(ULONG bytes) {
    BYTE* block = bytes ? static_cast<BYTE*>(CoTaskMemAlloc(bytes)) : nullptr;
    if (block) {
        std::memset(block, 0, bytes);
        std::memcpy(block, type_.pbFormat, std::min(bytes, type_.cbFormat));
    }
    CoTaskMemFree(type_.pbFormat);
    type_.pbFormat = block;
    type_.cbFormat = bytes;
}

BITMAPINFOHEADER& MediaType::Header() {
    return type_.formattype == FORMAT_VideoInfo2 ? Info2().bmiHeader : Info().bmiHeader;
}

bool operator==(const MediaType& a, const MediaType& b) {
    return a->majortype == b->majortype && a->subtype == b->subtype &&
           a->bFixedSizeSamples == b->bFixedSizeSamples &&
           a->bTemporalCompression == b->bTemporalCompression && a->lSampleSize == b->lSampleSize &&
           a->formattype == b->formattype && a->pUnk == b->pUnk && a->cbFormat == b->cbFormat &&
           (a->cbFormat == 0 || std::memcmp(a->pbFormat, b->pbFormat, a->cbFormat) == 0);
}

AM_MEDIA_TYPE* NewType(const AM_MEDIA_TYPE& type) {
    auto* copy = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    CopyInto(copy, type);
    return copy;
}

void DeleteType(AM_MEDIA_TYPE* type) {
    if (type) {
        Free(type);
        CoTaskMemFree(type);
    }
}

MediaType VideoType(const VideoFormat& format) {
    MediaType type;
    type->majortype = MEDIATYPE_Video;
    type->subtype = format.subtype;
    type->bFixedSizeSamples = TRUE;
    const RECT rectangle = {0, 0, format.width, std::abs(format.height)};
    if (format.block == Block::kVideoInfo2) {
        type->formattype = FORMAT_VideoInfo2;
        type.ResizeFormat(sizeof(VIDEOINFOHEADER2));
        type.Info2().rcSource = type.Info2().rcTarget = rectangle;
        type.Info2().AvgTimePerFrame = format.frameDuration;
    } else {
        type->formattype = FORMAT_VideoInfo;
        type.ResizeFormat(sizeof(VIDEOINFOHEADER));
        type.Info().rcSource = type.Info().rcTarget = rectangle;
        type.Info().AvgTimePerFrame = format.frameDuration;
    }
    BITMAPINFOHEADER& header = type.Header();
    header.biSize = sizeof(BITMAPINFOHEADER);
    header.biWidth = format.width;
    header.biHeight = format.height;
    header.biPlanes = 1;
    header.biBitCount = format.bitCount;
    header.biCompression = format.compression;
    header.biSizeImage = static_cast<DWORD>(PictureBytes(header));
    type->lSampleSize = header.biSizeImage;
    return type;
}

GUID FourCCSubtype(DWORD fourcc) {
    return {fourcc, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

LONG PictureBytes(const BITMAPINFOHEADER& header) {
    return (header.biBitCount + 7) / 8 * header.biWidth * std::abs(header.biHeight);
}

}  // namespace nyx::test
