#pragma once

#include "tests/support/directshow.h"

namespace nyx::test {

/// An AM_MEDIA_TYPE that owns its format block (CoTaskMemAlloc) and its unknown.
class MediaType {
  public:
    MediaType() = default;
    explicit MediaType(const AM_MEDIA_TYPE& type);
    MediaType(const MediaType& other) : MediaType(other.type_) {}
    MediaType(MediaType&& other) noexcept;
    MediaType& operator=(MediaType other) noexcept;
    ~MediaType() { Clear(); }

    AM_MEDIA_TYPE* get() { return &type_; }
    const AM_MEDIA_TYPE* get() const { return &type_; }
    AM_MEDIA_TYPE* operator->() { return &type_; }
    const AM_MEDIA_TYPE* operator->() const { return &type_; }

    /// Where a method stores its result; what was held is freed first.
    AM_MEDIA_TYPE* Put();
    void Clear();

    /// A zeroed format block of `bytes` bytes, keeping the beginning of the old one.
    void ResizeFormat(ULONG bytes);

    /// The format block as the given form; the block must be of that form.
    VIDEOINFOHEADER& Info() { return *reinterpret_cast<VIDEOINFOHEADER*>(type_.pbFormat); }
    VIDEOINFOHEADER2& Info2() { return *reinterpret_cast<VIDEOINFOHEADER2*>(type_.pbFormat); }
    /// The picture header of either form, by format type.
    BITMAPINFOHEADER& Header();
    const BITMAPINFOHEADER& Header() const { return const_cast<MediaType*>(this)->Header(); }

  private:
    AM_MEDIA_TYPE type_{};
};

/// Equal in every field and in every byte of the format block.
bool operator==(const MediaType& a, const MediaType& b);
inline bool operator!=(const MediaType& a, const MediaType& b) {
    return !(a == b);
}

/// A CoTaskMemAlloc'ed deep copy, as enumerators and samples hand out; DeleteType frees it.
AM_MEDIA_TYPE* NewType(const AM_MEDIA_TYPE& type);
void DeleteType(AM_MEDIA_TYPE* type);

/// Which of the two format blocks a video type carries.
enum class Block { kVideoInfo, kVideoInfo2 };

/// What the tests vary about a video type. Duration in 100-ns units.
struct VideoFormat {
    GUID subtype = GUID_NULL;
    DWORD compression = BI_RGB;
    WORD bitCount = 0;
    LONG width = 0;
    LONG height = 0;
    REFERENCE_TIME frameDuration = 400000;
    Block block = Block::kVideoInfo;
};

/// The complete MEDIATYPE_Video type of `format`.
MediaType VideoType(const VideoFormat& format);

/// The subtype that stands for a FourCC (or for 0, MEDIASUBTYPE of nothing).
GUID FourCCSubtype(DWORD fourcc);

/// Bytes of a packed picture: whole bytes per pixel, width, absolute height.
LONG PictureBytes(const BITMAPINFOHEADER& header);

}  // namespace nyx::test
