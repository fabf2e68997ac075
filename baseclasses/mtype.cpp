#include "baseclasses/mtype.h"

#include <algorithm>
#include <cstring>

#include "baseclasses/wxutil.h"

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

CMediaType::CMediaType() {
    InitMediaType();
}

CMediaType::CMediaType(const GUID* type) {
    InitMediaType();
    majortype = *type;
}

CMediaType::CMediaType(const AM_MEDIA_TYPE& mt, HRESULT* phr) {
    const HRESULT hr = CopyMediaType(this, &mt);
    if (FAILED(hr) && phr) {
        *phr = hr;
    }
}

CMediaType::CMediaType(const CMediaType& cmt, HRESULT* phr)
    : CMediaType(static_cast<const AM_MEDIA_TYPE&>(cmt), phr) {}

CMediaType::~CMediaType() {
    FreeMediaType(*this);
}

CMediaType& CMediaType::operator=(const CMediaType& cmt) {
    Set(cmt);
    return *this;
}

CMediaType& CMediaType::operator=(const AM_MEDIA_TYPE& mt) {
    Set(mt);
    return *this;
}

bool CMediaType::operator==(const CMediaType& cmt) const {
    return majortype == cmt.majortype && subtype == cmt.subtype && formattype == cmt.formattype &&
           SameFormatBlock(cmt);
}

HRESULT CMediaType::Set(const CMediaType& rt) {
    return Set(static_cast<const AM_MEDIA_TYPE&>(rt));
}

HRESULT CMediaType::Set(const AM_MEDIA_TYPE& rt) {
    if (&rt == this) {
        return S_OK;
    }
    AM_MEDIA_TYPE copy;
    const HRESULT hr = CopyMediaType(&copy, &rt);
    if (SUCCEEDED(hr)) {
        std::swap(static_cast<AM_MEDIA_TYPE&>(*this), copy);
        FreeMediaType(copy);
    }
    return hr;
}

BOOL CMediaType::IsValid() const {
    return majortype != GUID_NULL;
}

void CMediaType::SetSampleSize(ULONG sz) {
    bFixedSizeSamples = sz != 0;
    if (sz != 0) {
        lSampleSize = sz;
    }
}

BOOL CMediaType::SetFormat(const BYTE* format, ULONG length) {
    return ReplaceFormat(length, format, length) != nullptr;
}

void CMediaType::ResetFormatBuffer() {
    CoTaskMemFree(pbFormat);
    pbFormat = nullptr;
    cbFormat = 0;
}

BYTE* CMediaType::AllocFormatBuffer(ULONG length) {
    BYTE* const block = ReplaceFormat(length, nullptr, 0);
    return block || length > cbFormat ? block : pbFormat;
}

BYTE* CMediaType::ReallocFormatBuffer(ULONG length) {
    BYTE* const block = ReplaceFormat(length, pbFormat, cbFormat);
    return block || length > cbFormat ? block : pbFormat;
}

/// A block of `length` bytes that begins with up to `beginLength` bytes of `begin`, which may be
/// the block that it replaces, and is zero from there on. Null, with nothing changed, without
/// memory.
BYTE* CMediaType::ReplaceFormat(ULONG length, const BYTE* begin, ULONG beginLength) {
    if (length == 0) {
        ResetFormatBuffer();
        return nullptr;
    }
    auto* const block = static_cast<BYTE*>(CoTaskMemAlloc(length));
    CheckPointer(block, nullptr);
    const ULONG copied = begin ? std::min(length, beginLength) : 0;
    if (copied != 0) {
        std::memcpy(block, begin, copied);
    }
    std::memset(block + copied, 0, length - copied);
    ResetFormatBuffer();
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
    return allows(ppartial->majortype, majortype) && allows(ppartial->subtype, subtype) &&
           allows(ppartial->formattype, formattype) &&
           (ppartial->formattype == GUID_NULL || SameFormatBlock(*ppartial));
}

BOOL CMediaType::IsPartiallySpecified() const {
    return majortype == GUID_NULL || formattype == GUID_NULL;
}

bool CMediaType::SameFormatBlock(const CMediaType& other) const {
    return cbFormat == other.cbFormat &&
           (cbFormat == 0 || std::memcmp(pbFormat, other.pbFormat, cbFormat) == 0);
}
