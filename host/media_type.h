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

    /// Takes over what a method allocated for its caller; null gives an empty type.
    static MediaType Adopt(AM_MEDIA_TYPE* type);
    /// Gives the type away; Release in task memory, as enumerators do.
    AM_MEDIA_TYPE Detach() { return std::exchange<AM_MEDIA_TYPE>(*this, {}); }
    AM_MEDIA_TYPE* Release();

    void Clear();
    /// A format block of `bytes` bytes: the beginning of the old one, then zeroes.
    void ResizeFormat(ULONG bytes);

    /// Whether the format block is one of the two of video, and whole.
    bool HasPicture() const;
    /// Whether every given part of `wanted` equals this type's; a null major type, subtype or
    /// format type of `wanted` is anything.
    bool Fits(const AM_MEDIA_TYPE& wanted) const;

    /// The format block as the given form; the block must be of that form.
    VIDEOINFOHEADER& Info() { return *reinterpret_cast<VIDEOINFOHEADER*>(pbFormat); }
    VIDEOINFOHEADER2& Info2() { return *reinterpret_cast<VIDEOINFOHEADER2*>(pbFormat); }
    /// The picture header of either form, by format type.
    BITMAPINFOHEADER& Header();
    const VIDEOINFOHEADER2& Info2() const { return const_cast<MediaType*>(this)->Info2(); }
    const BITMAPINFOHEADER& Header() const { return const_cast<MediaType*>(this)->Header(); }
};

/// Equal in every field and in every byte of the format block.
bool operator==(const MediaType& a, const MediaType& b);
inline bool operator!=(const MediaType& a, const MediaType& b) {
    return !(a == b);
}

/// Which of the two format blocks a video type carries.
enum class Block { kVideoInfo, kVideoInfo2 };

/// A type with only these three set, as in a connection request.
MediaType PartialType(const GUID& major, const GUID& sub, const GUID& format);

/// A MEDIATYPE_Video type whose format block ends with the `bytes` bytes at `bitmapInfo`, a
/// BITMAPINFOHEADER and what follows it. The whole picture is shown, `duration` is in 100-ns units;
/// nothing is said of the size of samples.
MediaType VideoType(const GUID& subtype, Block block, REFERENCE_TIME duration,
                    const void* bitmapInfo, std::size_t bytes);

}  // namespace nyx::host
