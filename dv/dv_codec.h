#pragma once

/// @file
/// The DV codecs' common path from a sample through the DIF parser to the DV engine, and the
/// queries. A variant is its formats and a few small overrides.

#include <cstdint>
#include <memory>

#include "codecs/codec.h"
#include "codecs/engine_library.h"
#include "codecs/format_rules.h"
#include "codecs/pixel_format_index.h"
#include "dv/dif_parser.h"
#include "media/dv_signals.h"
#include "platform/byte_span.h"

namespace nyx {

/// The formats that a filter may offer for encoding. Compress itself also accepts RGB 32-bit.
constexpr FormatPair kDvEncodePairs[] = {
    {24, BI_RGB, 24, AlphaFlag::kAny},
    {24, FourCC("YUY2"), 16, AlphaFlag::kAny},
};

/// The first signal of a variant that has pictures of this size, recorded or stretched to square
/// pixels; null for none.
const DvSignal* FindDvPicture(DWORD fourcc, std::int64_t width, std::int64_t height);

/// The formats of a variant.
template <DWORD kFourCC>
constexpr CodecFormats kDvFormats = {kFourCC,
                                     [](std::int64_t width, std::int64_t height) {
                                         return FindDvPicture(kFourCC, width, height) != nullptr;
                                     },
                                     kOpaqueDecodePairs, kDvEncodePairs};

class CDvCodecBase : public CCodecBase {
  public:
    /// True when the DV engine is bound, in either mode.
    static bool IsEngineAvailable(LONG mode);

    DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) override;

    /// The middle one of the last three words is the source's stride in bytes, 0 to have it
    /// computed. `outputData` holds a whole frame of what is encoded: of 960 x 720 at 50 frames per
    /// second that is 288,000 bytes, more than GetMaxCompressedSize returns.
    [[nodiscard]] HRESULT Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                                   const void* inputData, BITMAPINFOHEADER* output,
                                   void* outputData, DWORD reserved1, DWORD stride,
                                   DWORD reserved3) override;

    /// S_OK with the values in the frame, -1 for those that it lacks; without a frame S_FALSE with
    /// the defaults of the picture's size. A failure of ReadReferenceFrame is passed on.
    [[nodiscard]] HRESULT GetFrameInfo(const BITMAPINFOHEADER* input, const void* frame,
                                       REFERENCE_TIME averageFrameDuration,
                                       FrameInfo* info) override;

    /// An output as wide as a size of the variant is filled; in one of another width the stream's
    /// picture is at the left and the rest of each row stays as it was: the width is that of a row
    /// in memory, and nothing is stretched to it.
    ///
    /// E_FAIL with the whole output black for a frame that does not parse, is cut short or does not
    /// match the picture's size, and for an engine that raises an exception. E_FAIL with the
    /// destination untouched for formats without an output code, signal types without a variant,
    /// and while the engine is missing. The other failures are those of ReadReferenceFrame and
    /// DecodeFrame.
    [[nodiscard]] HRESULT Decompress(const BITMAPINFOHEADER* input, const void* data,
                                     const BITMAPINFOHEADER* output, bool alphaOut,
                                     void* outputData, LONG stride, DWORD alphaMode) override;

    /// Whether the variant has pictures of exactly this size.
    virtual bool IsSupportedSize(LONG width, LONG height);

    /// S_OK when `sample` refers to a frame in a file: that frame is in `buffer`, `length` bytes
    /// long. S_FALSE when the sample is the frame itself, as it always is here. A failure when the
    /// frame cannot be read.
    [[nodiscard]] virtual HRESULT ReadReferenceFrame(ByteSpan sample,
                                                     std::unique_ptr<BYTE[]>* buffer,
                                                     DWORD* length);

    /// Decodes a whole parsed frame to a picture of `width` x `height`: here by the engine alone,
    /// which reads the size from the frame. E_FAIL when the engine is missing or raised an
    /// exception.
    [[nodiscard]] virtual HRESULT DecodeFrame(LONG width, LONG height, LONG flags,
                                              const void* frame, BYTE* destination, LONG stride,
                                              LONG bytesPerPixel, LONG outputCode);

    virtual ~CDvCodecBase() = default;

  protected:
    /// `formats` is a static record.
    explicit CDvCodecBase(const CodecFormats& formats);

    /// Encodes by the engine. E_FAIL when it is missing or raised an exception.
    [[nodiscard]] HRESULT CallEncode(LONG flags, const SurfaceFormat& source, void* frame,
                                     LONG* length);

    /// One setting of a codec, 0 when it is not stored.
    static bool IsSettingOn(DWORD fourcc, const wchar_t* name);

  private:
    /// The flag word for a picture; 0 for one that the variant does not know.
    [[nodiscard]] virtual LONG EncodeFlags(const SurfaceFormat& source) const = 0;

    /// Encodes a picture and stores the frame's length.
    [[nodiscard]] virtual HRESULT EncodePicture(LONG flags, const SurfaceFormat& source,
                                                void* frame, LONG* length);

    /// Replaces a reference sample by the frame that it leads to, which `buffer` then owns.
    /// ReadReferenceFrame's failure, or E_FAIL when the chain of references is too long.
    [[nodiscard]] HRESULT FollowReferences(ByteSpan* frame, std::unique_ptr<BYTE[]>* buffer);

    /// Decodes to `picture`; on failure fills `output`, which contains it, with black.
    [[nodiscard]] HRESULT DecodeToSurface(ByteSpan frame, const SurfaceFormat& picture,
                                          const SurfaceFormat& output);

    EngineUse engine_;
};

}  // namespace nyx
