#include "baseclasses/mtype.h"

#include <cstring>

#include "baseclasses/wxutil.h"
#include "media/video_block.h"

HRESULT WINAPI CopyMediaType(AM_MEDIA_TYPE* pmtTarget, const AM_MEDIA_TYPE* pmtSource) {
    CheckPointer(pmtTarget, E_POINTER);
    CheckPointer(pmtSource, E_POINTER);
    AM_MEDIA_TYPE copy = *pmtSource;
    copy.pbFormat = nullptr;
    copy.cbFormat = 0;
    copy.pUnk = nullptr;
    HRESULT hr = S_OK;
    if (pmtSource->cbFormat != 0 && pmtSource->pbFormat) {
        copy.pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(pmtSource->cbFormat));
        if (copy.pbFormat) {
            copy.cbFormat = pmtSource->cbFormat;
            std::memcpy(copy.pbFormat, pmtSource->pbFormat, copy.cbFormat);
        } else {
            hr = E_OUTOFMEMORY;
        }
    }
    if (SUCCEEDED(hr)) {
        ReplaceInterface(copy.pUnk, pmtSource->pUnk);
    }
    *pmtTarget = copy;
    return hr;
}

void WINAPI FreeMediaType(AM_MEDIA_TYPE& mt) {
    CoTaskMemFree(mt.pbFormat);
    mt.pbFormat = nullptr;
    mt.cbFormat = 0;
    ReleaseInterface(mt.pUnk);
}

AM_MEDIA_TYPE* WINAPI CreateMediaType(const AM_MEDIA_TYPE* pSrc) {
    CheckPointer(pSrc, nullptr);
    auto* const copy = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (copy && FAILED(CopyMediaType(copy, pSrc))) {
        CoTaskMemFree(copy);
        return nullptr;
    }
    return copy;
}

void WINAPI DeleteMediaType(AM_MEDIA_TYPE* pmt) {
    if (pmt) {
        FreeMediaType(*pmt);
        CoTaskMemFree(pmt);
    }
}

CMediaType::CMediaType(const AM_MEDIA_TYPE& mt, HRESULT* phr) {
    const HRESULT hr = CopyMediaType(this, &mt);
    if (FAILED(hr)) {
        *phr = hr;
    }
}

HRESULT CMediaType::Set(const AM_MEDIA_TYPE& rt) {
    HRESULT hr = S_OK;
    CMediaType copy(rt, &hr);
    if (SUCCEEDED(hr)) {
        Swap(copy);
    }
    return hr;
}

HRESULT CMediaType::SetFrom(IMediaSample& sample) {
    AM_MEDIA_TYPE* attached = nullptr;
    const HRESULT hr = sample.GetMediaType(&attached);
    if (hr == E_OUTOFMEMORY) {
        return hr;
    }
    if (hr != S_OK || !attached) {
        return S_FALSE;
    }
    std::swap(static_cast<AM_MEDIA_TYPE&>(*this), *attached);
    DeleteMediaType(attached);
    // As in CopyMediaType, a type without a block counts no bytes.
    cbFormat = pbFormat ? cbFormat : 0;
    return S_OK;
}

void CMediaType::SetSampleSize(ULONG sz) {
    bFixedSizeSamples = sz != 0;
    if (sz != 0) {
        lSampleSize = sz;
    }
}

BYTE* CMediaType::AllocFormatBuffer(ULONG length) {
    auto* const block = static_cast<BYTE*>(CoTaskMemAlloc(length));
    CheckPointer(block, nullptr);
    std::memset(block, 0, length);
    CoTaskMemFree(pbFormat);
    pbFormat = block;
    cbFormat = length;
    return block;
}

void CMediaType::InitMediaType() {
    static_cast<AM_MEDIA_TYPE&>(*this) = AM_MEDIA_TYPE{};
    lSampleSize = 1;
    bFixedSizeSamples = TRUE;
}

BOOL CMediaType::MatchesPartial(const CMediaType* ppartial) const {
    const auto allows = [](const GUID& wanted, const GUID& actual) {
        return wanted == GUID_NULL || wanted == actual;
    };
    const auto sameBlock = [](const AM_MEDIA_TYPE& one, const AM_MEDIA_TYPE& other) {
        return one.cbFormat == other.cbFormat &&
               (one.cbFormat == 0 || std::memcmp(one.pbFormat, other.pbFormat, one.cbFormat) == 0);
    };
    return allows(ppartial->majortype, majortype) && allows(ppartial->subtype, subtype) &&
           allows(ppartial->formattype, formattype) &&
           (ppartial->formattype == GUID_NULL || sameBlock(*this, *ppartial));
}

BOOL CMediaType::IsPartiallySpecified() const {
    return majortype == GUID_NULL || formattype == GUID_NULL;
}

HRESULT SetVideoType(const VideoTypeContents& contents, bool header2, CMediaType* type) {
    const BITMAPINFOHEADER& header = contents.header;
    FreeMediaType(*type);
    type->InitMediaType();
    type->SetType(&MEDIATYPE_Video);
    type->SetSubtype(&contents.subtype);
    type->SetFormatType(header2 ? &FORMAT_VideoInfo2 : &FORMAT_VideoInfo);
    type->SetSampleSize(contents.fixedSizeSamples ? header.biSizeImage : 0);
    type->bFixedSizeSamples = contents.fixedSizeSamples;  // a size may be 0
    const std::size_t front = nyx::PictureHeaderOffset(type->formattype);
    BYTE* const block = type->AllocFormatBuffer(static_cast<ULONG>(front + sizeof(header)));
    CheckPointer(block, E_OUTOFMEMORY);
    auto* const common = reinterpret_cast<VIDEOINFOHEADER*>(block);
    common->rcSource = {.left = 0, .top = 0, .right = header.biWidth, .bottom = header.biHeight};
    common->rcTarget = common->rcSource;
    common->dwBitRate = contents.bitRate;
    common->AvgTimePerFrame = contents.averageFrameDuration;
    std::memcpy(block + front, &header, sizeof(header));
    if (header2) {
        auto* const block2 = reinterpret_cast<VIDEOINFOHEADER2*>(block);
        block2->dwInterlaceFlags = contents.interlaceFlags;
        block2->dwPictAspectRatioX = contents.pictureAspectRatio[0];
        block2->dwPictAspectRatioY = contents.pictureAspectRatio[1];
    }
    return S_OK;
}
