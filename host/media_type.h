#pragma once

#include "host/com.h"

namespace nyx::host {

/// An AM_MEDIA_TYPE that owns its format block and its unknown. Copies throw std::bad_alloc.
class MediaType : public AM_MEDIA_TYPE {
  public:
    MediaType() : AM_MEDIA_TYPE{} {}
    MediaType(const AM_MEDIA_TYPE& type);
    MediaType(const MediaType& other) : MediaType(static_cast<const AM_MEDIA_TYPE&>(other)) {}
    MediaType& operator=(MediaType other) noexcept;
    ~MediaType() { Clear(); }

    /// Takes ownership of a type in task memory that a method returned; null gives an empty type.
    static MediaType Adopt(AM_MEDIA_TYPE* type);
    /// Passes ownership to the caller; DetachTo in task memory, as enumerators do.
    AM_MEDIA_TYPE Detach() noexcept { return std::exchange<AM_MEDIA_TYPE>(*this, {}); }
    void DetachTo(AM_MEDIA_TYPE** out);

    void Clear() noexcept;
    /// Makes the format block `bytes` bytes long: it keeps its beginning, and zeroes are appended.
    void ResizeFormat(ULONG bytes);

    /// Whether the format block is a complete VIDEOINFOHEADER or VIDEOINFOHEADER2.
    bool HasPicture() const;
    /// Whether every specified part of `wanted` equals this type's. A null major type, subtype or
    /// format type of `wanted` matches any.
    bool Fits(const AM_MEDIA_TYPE& wanted) const;

    /// The format block as this structure; the format type must match.
    VIDEOINFOHEADER& Info() { return *reinterpret_cast<VIDEOINFOHEADER*>(pbFormat); }
    VIDEOINFOHEADER2& Info2() { return *reinterpret_cast<VIDEOINFOHEADER2*>(pbFormat); }
    /// The picture header of either structure, by format type.
    BITMAPINFOHEADER& Header();
    const VIDEOINFOHEADER2& Info2() const { return const_cast<MediaType*>(this)->Info2(); }
    const BITMAPINFOHEADER& Header() const { return const_cast<MediaType*>(this)->Header(); }
};

/// Equal in every field and in every byte of the format block.
bool operator==(const MediaType& a, const MediaType& b);

/// The format block of a video type.
enum class Block { kVideoInfo, kVideoInfo2 };

/// A type with only these three members set, as in a connection request.
MediaType PartialType(const GUID& major, const GUID& sub, const GUID& format);

/// A MEDIATYPE_Video type whose format block ends with the `bytes` bytes at `bitmapInfo`, a
/// BITMAPINFOHEADER and the data after it. Source and target are the whole picture, `duration` is
/// in 100-ns units. The sample size is not set.
MediaType VideoType(const GUID& subtype, Block block, REFERENCE_TIME duration,
                    const void* bitmapInfo, std::size_t bytes);

}  // namespace nyx::host
