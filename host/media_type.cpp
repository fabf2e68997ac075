#include "host/media_type.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "media/video_block.h"

namespace nyx::host {
namespace {

/// Task memory; throws std::bad_alloc.
void* Allocate(std::size_t bytes) {
    void* memory = CoTaskMemAlloc(bytes);
    return memory ? memory : throw std::bad_alloc();
}

}  // namespace

MediaType::MediaType(const AM_MEDIA_TYPE& type) : AM_MEDIA_TYPE(type) {
    pbFormat = nullptr;
    if (cbFormat && type.pbFormat) {
        pbFormat = static_cast<BYTE*>(Allocate(cbFormat));
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

void MediaType::DetachTo(AM_MEDIA_TYPE** out) {
    *out = static_cast<AM_MEDIA_TYPE*>(Allocate(sizeof(AM_MEDIA_TYPE)));
    **out = Detach();
}

void MediaType::Clear() noexcept {
    CoTaskMemFree(pbFormat);
    const ComPtr<IUnknown> owned = nyx::Adopt(pUnk);
    static_cast<AM_MEDIA_TYPE&>(*this) = {};
}

void MediaType::ResizeFormat(ULONG bytes) {
    BYTE* block = bytes ? static_cast<BYTE*>(Allocate(bytes)) : nullptr;
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

bool MediaType::HasPicture() const {
    return PictureHeaderOf(*this) != nullptr;
}

bool MediaType::Fits(const AM_MEDIA_TYPE& wanted) const {
    const auto fits = [](const GUID& mine, const GUID& asked) {
        return asked == GUID_NULL || asked == mine;
    };
    const BYTE* block = wanted.pbFormat;
    return fits(majortype, wanted.majortype) && fits(subtype, wanted.subtype) &&
           fits(formattype, wanted.formattype) &&
           (wanted.formattype == GUID_NULL ||
            std::equal(pbFormat, pbFormat + cbFormat, block, block + wanted.cbFormat));
}

MediaType PartialType(const GUID& major, const GUID& sub, const GUID& format) {
    MediaType type;
    type.majortype = major;
    type.subtype = sub;
    type.formattype = format;
    return type;
}

MediaType VideoType(const GUID& subtype, Block block, REFERENCE_TIME duration,
                    const void* bitmapInfo, std::size_t bytes) {
    MediaType type =
        PartialType(MEDIATYPE_Video, subtype,
                    block == Block::kVideoInfo2 ? FORMAT_VideoInfo2 : FORMAT_VideoInfo);
    const std::size_t front = PictureHeaderOffset(type.formattype);
    type.ResizeFormat(static_cast<ULONG>(front + bytes));
    std::memcpy(type.pbFormat + front, bitmapInfo, bytes);
    const BITMAPINFOHEADER& header = type.Header();
    // Both structures are the same up to the duration.
    type.Info().rcSource = type.Info().rcTarget = {0, 0, header.biWidth, std::abs(header.biHeight)};
    type.Info().AvgTimePerFrame = duration;
    return type;
}

}  // namespace nyx::host
