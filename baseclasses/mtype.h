#pragma once

#include <utility>

#include "platform/dshow.h"

/// Copies a media type deeply: the format block by CoTaskMemAlloc, the unknown by AddRef. Does not
/// free what `pmtTarget` holds. A type that counts format bytes but has none is copied without any.
/// `E_OUTOFMEMORY` leaves the target without format block and unknown.
[[nodiscard]] HRESULT WINAPI CopyMediaType(AM_MEDIA_TYPE* pmtTarget,
                                           const AM_MEDIA_TYPE* pmtSource);

/// Frees the format block and the unknown of a media type, not the record itself.
void WINAPI FreeMediaType(AM_MEDIA_TYPE& mt);

/// A deep copy on the task allocator, or null; DeleteMediaType frees it.
AM_MEDIA_TYPE* WINAPI CreateMediaType(const AM_MEDIA_TYPE* pSrc);

/// Frees a media type of CreateMediaType, of an enumerator or of a sample. Null is allowed.
void WINAPI DeleteMediaType(AM_MEDIA_TYPE* pmt);

/// A media type that owns its format block and unknown.
class CMediaType : public AM_MEDIA_TYPE {
  public:
    CMediaType() { InitMediaType(); }
    /// A deep copy; empty, with `*phr` `E_OUTOFMEMORY`, without memory for it.
    CMediaType(const AM_MEDIA_TYPE& mt, HRESULT* phr);
    CMediaType(const CMediaType&) = delete;
    CMediaType& operator=(const CMediaType&) = delete;
    ~CMediaType() { FreeMediaType(*this); }

    /// Makes this a deep copy of `rt`. `E_OUTOFMEMORY` leaves it unchanged.
    [[nodiscard]] HRESULT Set(const AM_MEDIA_TYPE& rt);
    /// Makes this the type that a sample carries; `S_FALSE` when it carries none, `E_OUTOFMEMORY`
    /// when the sample cannot copy its own.
    [[nodiscard]] HRESULT SetFrom(IMediaSample& sample);
    /// Exchanges the two types; copies, frees and calls nothing.
    void Swap(CMediaType& other) noexcept {
        std::swap(static_cast<AM_MEDIA_TYPE&>(*this), static_cast<AM_MEDIA_TYPE&>(other));
    }

    void SetType(const GUID* type) { majortype = *type; }
    void SetSubtype(const GUID* type) { subtype = *type; }
    void SetFormatType(const GUID* type) { formattype = *type; }

    /// Sets the size of every sample; 0 stands for samples of varying size.
    void SetSampleSize(ULONG sz);

    /// Replaces the format block by a zeroed one of `length` bytes. Without memory null, with the
    /// old block kept.
    BYTE* AllocFormatBuffer(ULONG length);

    /// Empties the type without freeing anything: all zero, samples of a fixed size of 1 byte.
    void InitMediaType();
    /// True when this matches `ppartial`, where a null GUID is a wildcard and a format type must
    /// match with the whole block.
    BOOL MatchesPartial(const CMediaType* ppartial) const;
    /// True when the major or the format type is missing.
    BOOL IsPartiallySpecified() const;
};

/// The contents of a video type.
struct VideoTypeContents {
    GUID subtype;
    BITMAPINFOHEADER header;  ///< all of the picture is source and target
    DWORD bitRate;
    REFERENCE_TIME averageFrameDuration;
    bool fixedSizeSamples;        ///< of the header's `biSizeImage`
    DWORD interlaceFlags;         ///< only in a `VIDEOINFOHEADER2`
    DWORD pictureAspectRatio[2];  ///< x and y, only in a `VIDEOINFOHEADER2`
};

/// Makes `type` a video type with a `VIDEOINFOHEADER2` or a `VIDEOINFOHEADER` block.
/// `E_OUTOFMEMORY` leaves it without a block.
[[nodiscard]] HRESULT SetVideoType(const VideoTypeContents& contents, bool header2,
                                   CMediaType* type);
