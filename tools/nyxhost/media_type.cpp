#include "media_type.h"

#include <dvdmedia.h>

#include <cstdlib>
#include <cstring>

namespace nyx::host {

MediaType::MediaType(const AM_MEDIA_TYPE& type) : fields(type) {
    if (type.pbFormat != nullptr) {
        format.assign(type.pbFormat, type.pbFormat + type.cbFormat);
    }
    fields.pUnk = nullptr;
}

AM_MEDIA_TYPE MediaType::View() const {
    AM_MEDIA_TYPE view = fields;
    view.cbFormat = static_cast<ULONG>(format.size());
    view.pbFormat = format.empty() ? nullptr : const_cast<BYTE*>(format.data());
    return view;
}

HRESULT MediaType::CopyTo(AM_MEDIA_TYPE* out) const {
    *out = View();
    if (format.empty()) {
        return S_OK;
    }
    out->pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(format.size()));
    if (out->pbFormat == nullptr) {
        *out = {};
        return E_OUTOFMEMORY;
    }
    std::memcpy(out->pbFormat, format.data(), format.size());
    return S_OK;
}

bool MediaType::Matches(const AM_MEDIA_TYPE& wanted) const {
    const auto fits = [](const GUID& mine, const GUID& asked) {
        return asked == GUID_NULL || asked == mine;
    };
    if (!fits(fields.majortype, wanted.majortype) || !fits(fields.subtype, wanted.subtype) ||
        !fits(fields.formattype, wanted.formattype)) {
        return false;
    }
    return wanted.formattype == GUID_NULL ||
           (wanted.cbFormat == format.size() &&
            (format.empty() || std::memcmp(wanted.pbFormat, format.data(), format.size()) == 0));
}

void FreeMediaType(AM_MEDIA_TYPE& type) {
    CoTaskMemFree(type.pbFormat);
    if (type.pUnk != nullptr) {
        type.pUnk->Release();
    }
    type = {};
}

std::optional<VideoFormat> ReadVideoFormat(const AM_MEDIA_TYPE& type) {
    VideoFormat result;
    if (type.formattype == FORMAT_VideoInfo2 && type.cbFormat >= sizeof(VIDEOINFOHEADER2)) {
        VIDEOINFOHEADER2 block;
        std::memcpy(&block, type.pbFormat, sizeof(block));
        result.header = block.bmiHeader;
        result.averageFrameDuration = block.AvgTimePerFrame;
        result.isVideoInfo2 = true;
        result.interlaceFlags = block.dwInterlaceFlags;
        result.aspectX = block.dwPictAspectRatioX;
        result.aspectY = block.dwPictAspectRatioY;
        return result;
    }
    if (type.formattype == FORMAT_VideoInfo && type.cbFormat >= sizeof(VIDEOINFOHEADER)) {
        VIDEOINFOHEADER block;
        std::memcpy(&block, type.pbFormat, sizeof(block));
        result.header = block.bmiHeader;
        result.averageFrameDuration = block.AvgTimePerFrame;
        return result;
    }
    return std::nullopt;
}

namespace {

// Both blocks end with the bitmap header, and what follows it in the file follows it here.
template <class Block>
std::vector<BYTE> FormatBlock(Block block, const std::vector<BYTE>& bitmapInfo) {
    std::memcpy(&block.bmiHeader, bitmapInfo.data(), sizeof(BITMAPINFOHEADER));
    std::vector<BYTE> bytes(sizeof(Block) - sizeof(BITMAPINFOHEADER) + bitmapInfo.size());
    std::memcpy(bytes.data(), &block, sizeof(Block));
    std::memcpy(bytes.data() + sizeof(Block), bitmapInfo.data() + sizeof(BITMAPINFOHEADER),
                bitmapInfo.size() - sizeof(BITMAPINFOHEADER));
    return bytes;
}

}  // namespace

MediaType CompressedVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                              bool videoInfo2) {
    BITMAPINFOHEADER header;
    std::memcpy(&header, bitmapInfo.data(), sizeof(header));
    const LONG height = header.biHeight < 0 ? -header.biHeight : header.biHeight;
    const RECT whole{0, 0, header.biWidth, height};

    MediaType type;
    type.fields.majortype = MEDIATYPE_Video;
    type.fields.subtype = FourCCSubtype(header.biCompression);
    type.fields.bTemporalCompression = FALSE;
    type.fields.lSampleSize = 0;  // compressed frames vary in size
    if (videoInfo2) {
        VIDEOINFOHEADER2 block{};
        block.rcSource = block.rcTarget = whole;
        block.AvgTimePerFrame = frameDuration;
        block.dwPictAspectRatioX = static_cast<DWORD>(header.biWidth);
        block.dwPictAspectRatioY = static_cast<DWORD>(height);
        type.fields.formattype = FORMAT_VideoInfo2;
        type.format = FormatBlock(block, bitmapInfo);
    } else {
        VIDEOINFOHEADER block{};
        block.rcSource = block.rcTarget = whole;
        block.AvgTimePerFrame = frameDuration;
        type.fields.formattype = FORMAT_VideoInfo;
        type.format = FormatBlock(block, bitmapInfo);
    }
    return type;
}

MediaType PictureVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                           const PictureFormat& format) {
    MediaType type = CompressedVideoType(bitmapInfo, frameDuration, false);
    BITMAPINFOHEADER header;
    std::memcpy(&header, bitmapInfo.data(), sizeof(header));
    type.fields.subtype = *format.subtype;
    type.fields.bFixedSizeSamples = TRUE;
    type.fields.lSampleSize = header.biSizeImage;
    return type;
}

GUID FourCCSubtype(DWORD code) {
    GUID subtype = MEDIASUBTYPE_YUY2;  // every FourCC subtype has this one's tail
    subtype.Data1 = code;
    return subtype;
}

const std::vector<PictureFormat>& PictureFormats() {
    static const std::vector<PictureFormat> formats = {
        {"yuy2", &MEDIASUBTYPE_YUY2, 16, MEDIASUBTYPE_YUY2.Data1},
        {"rgb24", &MEDIASUBTYPE_RGB24, 24, BI_RGB},
        {"rgb32", &MEDIASUBTYPE_RGB32, 32, BI_RGB},
        {"argb32", &MEDIASUBTYPE_ARGB32, 32, BI_RGB},
    };
    return formats;
}

const PictureFormat* FindPictureFormat(std::string_view name) {
    for (const PictureFormat& format : PictureFormats()) {
        if (name == format.name) {
            return &format;
        }
    }
    return nullptr;
}

const PictureFormat* FindPictureFormat(const GUID& subtype) {
    for (const PictureFormat& format : PictureFormats()) {
        if (subtype == *format.subtype) {
            return &format;
        }
    }
    return nullptr;
}

}  // namespace nyx::host
