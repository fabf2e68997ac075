#pragma once

#include "baseclasses/platform.h"

/// Copies a media type deeply: the format block by CoTaskMemAlloc, the unknown by AddRef. What
/// `pmtTarget` held before is not freed. A type that counts format bytes but has none is copied
/// without any. `E_OUTOFMEMORY` leaves the target without format block and unknown.
HRESULT WINAPI CopyMediaType(AM_MEDIA_TYPE* pmtTarget, const AM_MEDIA_TYPE* pmtSource);

/// Frees what a media type owns, not the record itself.
void WINAPI FreeMediaType(AM_MEDIA_TYPE& mt);

/// A deep copy on the task allocator, or null; DeleteMediaType frees it.
AM_MEDIA_TYPE* WINAPI CreateMediaType(const AM_MEDIA_TYPE* pSrc);

/// Frees a media type of CreateMediaType, of an enumerator or of a sample. Null is allowed.
void WINAPI DeleteMediaType(AM_MEDIA_TYPE* pmt);

/// A media type that owns its format block and unknown. Copies are deep; a copy that fails for want
/// of memory leaves the receiver as it was, or empty when it is being constructed.
class CMediaType : public AM_MEDIA_TYPE {
  public:
    CMediaType();
    explicit CMediaType(const GUID* majortype);
    CMediaType(const AM_MEDIA_TYPE& mt, HRESULT* phr = nullptr);
    CMediaType(const CMediaType& cmt, HRESULT* phr = nullptr);
    ~CMediaType();

    CMediaType& operator=(const CMediaType& cmt);
    CMediaType& operator=(const AM_MEDIA_TYPE& mt);

    /// Equal in the three GUIDs and in the format bytes; flags and sample size do not count.
    bool operator==(const CMediaType& cmt) const;
    bool operator!=(const CMediaType& cmt) const { return !(*this == cmt); }

    HRESULT Set(const CMediaType& rt);
    HRESULT Set(const AM_MEDIA_TYPE& rt);

    /// True when a major type is set.
    BOOL IsValid() const;

    const GUID* Type() const { return &majortype; }
    void SetType(const GUID* type) { majortype = *type; }
    const GUID* Subtype() const { return &subtype; }
    void SetSubtype(const GUID* type) { subtype = *type; }
    const GUID* FormatType() const { return &formattype; }
    void SetFormatType(const GUID* type) { formattype = *type; }

    BOOL IsFixedSize() const { return bFixedSizeSamples; }
    BOOL IsTemporalCompressed() const { return bTemporalCompression; }
    void SetTemporalCompression(BOOL compressed) { bTemporalCompression = compressed; }
    /// The size of every sample in bytes; 0 when samples vary in size.
    ULONG GetSampleSize() const { return IsFixedSize() ? lSampleSize : 0; }
    /// Sets the size of every sample; 0 stands for samples of varying size.
    void SetSampleSize(ULONG sz);
    void SetVariableSize() { bFixedSizeSamples = FALSE; }

    BYTE* Format() const { return pbFormat; }
    ULONG FormatLength() const { return cbFormat; }
    /// Copies `length` bytes in as the format block. FALSE when there is no memory.
    BOOL SetFormat(const BYTE* format, ULONG length);
    /// Removes the format block.
    void ResetFormatBuffer();
    /// A zeroed format block of `length` bytes in place of the old one. Without memory the old
    /// block stays, and is returned when it is long enough; null otherwise.
    BYTE* AllocFormatBuffer(ULONG length);
    /// As AllocFormatBuffer, but the new block begins with what the old one held.
    BYTE* ReallocFormatBuffer(ULONG length);

    /// Makes the type empty without freeing anything: all zero, samples of a fixed size of 1 byte.
    void InitMediaType();
    /// True when `ppartial` names nothing else: a null GUID is a wildcard, a given format type must
    /// match with all its bytes.
    BOOL MatchesPartial(const CMediaType* ppartial) const;
    /// True when the major or the format type is missing.
    BOOL IsPartiallySpecified() const;

  private:
    BYTE* ReplaceFormat(ULONG length, const BYTE* begin, ULONG beginLength);
    bool SameFormatBlock(const CMediaType& other) const;
};
