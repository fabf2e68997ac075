#pragma once

#include <dshow.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nyx::host {

/// A media type that owns its format block.
class MediaType {
  public:
    MediaType() = default;

    /// A deep copy of `type`; an attached pUnk is not kept.
    explicit MediaType(const AM_MEDIA_TYPE& type);

    /// The type as an interface call wants it; valid until this object changes or ends.
    AM_MEDIA_TYPE View() const;

    /// A deep copy in task memory for a caller that frees it. E_OUTOFMEMORY leaves `out` empty.
    HRESULT CopyTo(AM_MEDIA_TYPE* out) const;

    /// True when every given part of `wanted` equals this type's; a null major type, subtype or
    /// format type of `wanted` matches anything.
    bool Matches(const AM_MEDIA_TYPE& wanted) const;

    AM_MEDIA_TYPE fields{};  ///< everything but the format block; cbFormat and pbFormat unused
    std::vector<BYTE> format;
};

/// Frees what a filled AM_MEDIA_TYPE owns.
void FreeMediaType(AM_MEDIA_TYPE& type);

/// A type received from an interface call, freed at the end of its life.
class ReceivedType {
  public:
    ReceivedType() = default;
    ~ReceivedType() { FreeMediaType(type_); }
    ReceivedType(const ReceivedType&) = delete;
    ReceivedType& operator=(const ReceivedType&) = delete;

    AM_MEDIA_TYPE* Put() { return &type_; }
    const AM_MEDIA_TYPE& Get() const { return type_; }

  private:
    AM_MEDIA_TYPE type_{};
};

/// What a video type says, whichever of the two video format blocks it has.
struct VideoFormat {
    BITMAPINFOHEADER header{};
    REFERENCE_TIME averageFrameDuration = 0;  ///< 100 ns units
    bool isVideoInfo2 = false;                ///< the three fields below mean something
    DWORD interlaceFlags = 0;                 ///< AMINTERLACE_*
    DWORD aspectX = 0;                        ///< picture aspect ratio
    DWORD aspectY = 0;
};

/// Reads FORMAT_VideoInfo or FORMAT_VideoInfo2; nothing for other or truncated blocks.
std::optional<VideoFormat> ReadVideoFormat(const AM_MEDIA_TYPE& type);

/// The type of a compressed video stream. `bitmapInfo` is a BITMAPINFOHEADER of at least 40 bytes
/// with whatever follows it; `frameDuration` is in 100 ns units; the block form is VIDEOINFOHEADER2
/// when `videoInfo2` is set, with square pixels and no interlace flags.
MediaType CompressedVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                              bool videoInfo2);

struct PictureFormat;

/// The type of an uncompressed video stream, its parts as above, with a VIDEOINFOHEADER block.
MediaType PictureVideoType(const std::vector<BYTE>& bitmapInfo, REFERENCE_TIME frameDuration,
                           const PictureFormat& format);

/// The subtype GUID of a FourCC.
GUID FourCCSubtype(DWORD code);

/// An uncompressed format that can be asked of a decoder or given to an encoder.
struct PictureFormat {
    const char* name;  ///< as on the command line
    const GUID* subtype;
    WORD bits;          ///< per pixel
    DWORD compression;  ///< of the bitmap header
};

/// The formats in the order of the help text.
const std::vector<PictureFormat>& PictureFormats();

/// The entry of that name or subtype, or null.
const PictureFormat* FindPictureFormat(std::string_view name);
const PictureFormat* FindPictureFormat(const GUID& subtype);

}  // namespace nyx::host
