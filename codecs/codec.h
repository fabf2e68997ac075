#pragma once

/// @file
/// The one interface through which a filter talks to a codec, and the records that cross it.

#include <cstdint>

#include "codecs/format_rules.h"
#include "codecs/pixel_format_index.h"
#include "platform/win_types.h"

namespace nyx {

/// A codec's description of one frame. Seven signed 32-bit fields, -1 where unknown.
struct FrameInfo {
    LONG fieldOrder = -1;    ///< 0 top field first, 1 bottom field first, 2 progressive
    LONG pixelAspectX = -1;  ///< pixel aspect ratio as a fraction
    LONG pixelAspectY = -1;
    LONG infoA = -1;  ///< first two words of the "INFO" chunk
    LONG infoB = -1;
    LONG rdrtA = -1;  ///< the two words of the "RDRT" chunk
    LONG rdrtB = -1;
};
static_assert(sizeof(FrameInfo) == 28);

/// Values of FrameInfo::fieldOrder that are known.
enum FieldOrder : LONG {
    kTopFieldFirst = 0,
    kBottomFieldFirst = 1,
    kProgressive = 2,
};

/// The argument of `IsEngineAvailable`.
enum EngineMode : LONG {
    kEngineForEncoding = 0,
    kEngineForDecoding = 1,
};

/// Bytes in GetMaxCompressedSize for the chunks in front of a frame.
constexpr DWORD kChunkMargin = 1064;

/// Every codec class implements this interface; filters inherit one codec class and call it through
/// these operations, in this slot order. Each codec class also has a static
/// `bool IsEngineAvailable(LONG mode)`. Destructors come last, per class: a codec is never deleted
/// through this interface. No operation throws. Any thread may call at any
/// time; changed settings apply from the next frame on.
class ICodec {
  public:
    /// The codec's "color_space" setting: 0 is full-range RGB, anything else studio range.
    virtual LONG GetColorSpace() = 0;

    /// True when compressed streams may carry alpha.
    virtual bool SupportsAlpha() = 0;

    /// The FourCC of the compressed format.
    virtual DWORD GetFourCC() = 0;

    /// Worst-case size in bytes of one compressed frame of the given uncompressed format.
    virtual DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) = 0;

    /// Whether the uncompressed `input` can be encoded, to `output` when that is not null.
    /// `S_OK` or `VFW_E_TYPE_NOT_ACCEPTED`.
    [[nodiscard]] virtual HRESULT CompressQuery(const BITMAPINFOHEADER* input, bool alphaInput,
                                                const BITMAPINFOHEADER* output) = 0;

    /// Encodes one frame. `output->biSizeImage` is the number of bytes at `outputData`, 0 for
    /// GetMaxCompressedSize of them, and receives the compressed size. A codec whose budget can
    /// change between two frames keeps within that number. Of the last three arguments the first
    /// is reserved, the others are the source's stride in bytes (0: computed) and the alpha mode;
    /// a codec may ignore them. `E_FAIL` for a picture that the codec cannot encode, with the
    /// output's bytes undefined.
    [[nodiscard]] virtual HRESULT Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                                           const void* inputData, BITMAPINFOHEADER* output,
                                           void* outputData, DWORD reserved, DWORD stride,
                                           DWORD alphaMode) = 0;

    /// Whether the compressed `input` can be decoded, to `output` when that is not null.
    /// `S_OK` or `VFW_E_TYPE_NOT_ACCEPTED`; a null input is always refused.
    [[nodiscard]] virtual HRESULT DecompressQuery(const BITMAPINFOHEADER* input,
                                                  const BITMAPINFOHEADER* output,
                                                  bool alphaOut) = 0;

    /// Describes one frame, or the stream when `frame` is null; `input->biSizeImage` is the number
    /// of bytes at `frame`. 0 when the frame carried an "INFO" chunk, 1 when the values came from
    /// defaults and tables. `info` may be null.
    [[nodiscard]] virtual HRESULT GetFrameInfo(const BITMAPINFOHEADER* input, const void* frame,
                                               REFERENCE_TIME averageFrameDuration,
                                               FrameInfo* info) = 0;

    /// Decodes one frame; `input->biSizeImage` is the number of bytes at `data`. `outputData` holds
    /// the whole picture that `output` and `stride` describe (stride 0: computed by the codec).
    /// `E_FAIL` for a frame that the codec cannot decode: the destination is untouched when the
    /// frame is refused before it is decoded, else partly written, or black where the codec's class
    /// says so. Other failures (`E_POINTER`, `E_OUTOFMEMORY`) leave it untouched.
    [[nodiscard]] virtual HRESULT Decompress(const BITMAPINFOHEADER* input, const void* data,
                                             const BITMAPINFOHEADER* output, bool alphaOut,
                                             void* outputData, LONG stride, DWORD alphaMode) = 0;

  protected:
    ~ICodec() = default;
};

/// The bodies that most codecs share.
class CCodecBase : public ICodec {
  public:
    LONG GetColorSpace() override { return color_space_; }
    bool SupportsAlpha() override { return false; }
    DWORD GetFourCC() override { return formats_.fourcc; }

    /// The queries by the codec's formats; `E_NOTIMPL` from a codec without encode pairs.
    [[nodiscard]] HRESULT CompressQuery(const BITMAPINFOHEADER* input, bool alphaInput,
                                        const BITMAPINFOHEADER* output) override;
    [[nodiscard]] HRESULT DecompressQuery(const BITMAPINFOHEADER* input,
                                          const BITMAPINFOHEADER* output, bool alphaOut) override;

    /// Reads field order and pixel aspect from the frame's chunks, else from the size tables.
    [[nodiscard]] HRESULT GetFrameInfo(const BITMAPINFOHEADER* input, const void* frame,
                                       REFERENCE_TIME averageFrameDuration,
                                       FrameInfo* info) override;

  protected:
    /// `formats` is a static record.
    CCodecBase(const CodecFormats& formats, LONG colorSpace)
        : formats_(formats), color_space_(colorSpace) {}
    ~CCodecBase() = default;

    [[nodiscard]] bool Encodes() const { return !formats_.encode.empty(); }

    /// The caller's buffer, for DescribeSurface; the compressed side gives the width that decides
    /// on the definition.
    SurfaceRequest RequestFor(const BITMAPINFOHEADER& uncompressed,
                              const BITMAPINFOHEADER& compressed, bool alpha, const void* data,
                              LONG stride);

  private:
    const CodecFormats& formats_;
    const LONG color_space_;
};

}  // namespace nyx
