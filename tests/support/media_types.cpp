#include "tests/support/media_types.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace nyx::test {

MediaType::MediaType(const AM_MEDIA_TYPE& type) : AM_MEDIA_TYPE(type) {
    pbFormat = nullptr;
    if (cbFormat && type.pbFormat) {
        pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(cbFormat));
        std::memcpy(pbFormat, type.pbFormat, cbFormat);
    }
    if (pUnk) {
        pUnk->AddRef();
    }
}

MediaType& MediaType::operator=(MediaType other) noexcept {
    std::swap<AM_MEDIA_TYPE>(*this, other);
    return *this;
}

MediaType MediaType::Adopt(AM_MEDIA_TYPE* type) {
    MediaType adopted;
    if (type) {
        std::swap<AM_MEDIA_TYPE>(adopted, *type);
        CoTaskMemFree(type);
    }
    return adopted;
}

AM_MEDIA_TYPE* MediaType::Release() {
    auto* released = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    *released = Detach();
    return released;
}

void MediaType::Clear() {
    CoTaskMemFree(pbFormat);
    if (pUnk) {
        pUnk->Release();
    }
    static_cast<AM_MEDIA_TYPE&>(*this) = {};
}

void MediaType::ResizeFormat(ULONG bytes) {
    BYTE* block = bytes ? static_cast<BYTE*>(CoTaskMemAlloc(bytes)) : nullptr;
    if (block) {
        std::memset(block, 0, bytes);
        std::memcpy(block, pbFormat, std::min(bytes, cbFormat));
    }
    CoTaskMemFree(std::exchange(pbFormat, block));
    cbFormat = bytes;
}

BITMAPINFOHEADER& MediaType::Header() {
    return formattype == FORMAT_VideoInfo2 ? Info2().bmiHeader : Info().bmiHeader;
}

bool operator==(const MediaType& a, const MediaType& b) {
    return a.majortype == b.majortype && a.subtype == b.subtype && a.formattype == b.formattype &&
           a.bFixedSizeSamples == b.bFixedSizeSamples && a.lSampleSize == b.lSampleSize &&
           a.bTemporalCompression == b.bTemporalCompression && a.pUnk == b.pUnk &&
           std::equal(a.pbFormat, a.pbFormat + a.cbFormat, b.pbFormat, b.pbFormat + b.cbFormat);
}

MediaType VideoType(const GUID& subtype, WORD bits, DWORD compression, const Stream& stream) {
    const bool longForm = stream.block == Block::kVideoInfo2;
    MediaType type =
        PartialType(MEDIATYPE_Video, subtype, longForm ? FORMAT_VideoInfo2 : FORMAT_VideoInfo);
    type.bFixedSizeSamples = TRUE;
    type.ResizeFormat(longForm ? sizeof(VIDEOINFOHEADER2) : sizeof(VIDEOINFOHEADER));
    // Both forms begin alike, up to the duration.
    type.Info().rcSource = type.Info().rcTarget = {0, 0, stream.width, std::abs(stream.height)};
    type.Info().AvgTimePerFrame = stream.frameDuration;
    type.Header() = {
        sizeof(BITMAPINFOHEADER), stream.width, stream.height, 1, bits, compression, 0, 0, 0, 0, 0};
    type.lSampleSize = type.Header().biSizeImage = static_cast<DWORD>(PictureBytes(type.Header()));
    return type;
}

MediaType PartialType(const GUID& major, const GUID& sub, const GUID& format) {
    MediaType type;
    type.majortype = major;
    type.subtype = sub;
    type.formattype = format;
    return type;
}

LONG PictureBytes(const BITMAPINFOHEADER& header) {
    return (header.biBitCount + 7) / 8 * header.biWidth * std::abs(header.biHeight);
}

}  // namespace nyx::test
