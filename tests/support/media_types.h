#pragma once

#include "tests/support/com.h"

namespace nyx::test {

/// An AM_MEDIA_TYPE that owns its format block and its unknown.
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

    /// The format block as the given form; the block must be of that form.
    VIDEOINFOHEADER& Info() { return *reinterpret_cast<VIDEOINFOHEADER*>(pbFormat); }
    VIDEOINFOHEADER2& Info2() { return *reinterpret_cast<VIDEOINFOHEADER2*>(pbFormat); }
    /// The picture header of either form, by format type.
    BITMAPINFOHEADER& Header();
    const BITMAPINFOHEADER& Header() const { return const_cast<MediaType*>(this)->Header(); }
};

/// Equal in every field and in every byte of the format block.
bool operator==(const MediaType& a, const MediaType& b);
inline bool operator!=(const MediaType& a, const MediaType& b) {
    return !(a == b);
}

/// Which of the two format blocks a video type carries.
enum class Block { kVideoInfo, kVideoInfo2 };

/// What the tests vary about a stream. Duration in 100-ns units.
struct Stream {
    LONG width = 0;
    LONG height = 0;
    REFERENCE_TIME frameDuration = 400000;
    Block block = Block::kVideoInfo;
};

/// The complete MEDIATYPE_Video type of a stream; `compression` is a FourCC or BI_RGB.
MediaType VideoType(const GUID& subtype, WORD bits, DWORD compression, const Stream& stream);

/// A type with only these three set, as in a connection request.
MediaType PartialType(const GUID& major, const GUID& sub, const GUID& format);

/// Bytes of a packed picture: whole bytes per pixel, width, absolute height.
LONG PictureBytes(const BITMAPINFOHEADER& header);

}  // namespace nyx::test
