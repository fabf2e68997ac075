#pragma once

/// @file
/// What the codecs on closed engines share: a frame's road from the sample to the engine, and the
/// queries. A codec shows only its differences.

#include <optional>

#include "codecs/codec.h"
#include "codecs/engine_codes.h"
#include "codecs/format_rules.h"
#include "codecs/pixel_format_index.h"
#include "codecs/scratch_image.h"
#include "platform/byte_span.h"
#include "settings/quality_presets.h"

namespace nyx {

/// One frame on its way to a decode entry.
struct DecodeJob {
    ByteSpan frame;          ///< the coded frame, behind any "INFO" chunk
    SurfaceFormat surface;   ///< the destination, as wide as the compressed picture
    bool streamAlpha;        ///< the frame carries alpha
    DWORD alphaMode;         ///< the caller's
    ScratchMemory* scratch;  ///< where memory for this frame comes from
};

/// One picture on its way to an encode entry.
struct EncodeJob {
    SurfaceFormat surface;  ///< the source
    const BITMAPINFOHEADER* input;
    bool alpha;  ///< the caller's flag
    DWORD alphaMode;
    EncoderParameters settings;  ///< as they were when the frame began
    void* output;
    DWORD room;      ///< bytes at `output`, 0 for GetMaxCompressedSize
    DWORD capacity;  ///< the most bytes that the coded frame may take, from OutputCapacity
};

class CEngineCodec : public CCodecBase {
  public:
    /// `E_NOTIMPL` from a codec that does not encode. `E_FAIL` for a format without an index, a
    /// raise of the engine or of a faulty buffer, or a coded length that is negative or above the
    /// capacity that the engine was given.
    [[nodiscard]] HRESULT Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                                   const void* inputData, BITMAPINFOHEADER* output,
                                   void* outputData, DWORD reserved, DWORD stride,
                                   DWORD alphaMode) override;

    /// An output wider than the input has the first pixels of each row filled. `E_FAIL`, with the
    /// destination untouched, for sizes that do not belong together, a format without an index, or
    /// a frame that fails its probe; with the destination as the engine left it for a raise, of the
    /// engine or of a buffer that goes away meanwhile.
    [[nodiscard]] HRESULT Decompress(const BITMAPINFOHEADER* input, const void* data,
                                     const BITMAPINFOHEADER* output, bool alphaOut,
                                     void* outputData, LONG stride, DWORD alphaMode) override;

    virtual ~CEngineCodec() = default;

  protected:
    CEngineCodec(const CodecFormats& formats, LONG colorSpace) : CCodecBase(formats, colorSpace) {}

    /// Clears what is under the matte of a frame that was decoded with straight alpha.
    static void CleanStraightMatte(const DecodeJob& job);

  private:
    /// Looks at a coded frame: whether it carries alpha, or nothing when it cannot be decoded.
    virtual std::optional<bool> Probe(ByteSpan frame, const BITMAPINFOHEADER& input) = 0;

    /// Runs behind the guard, as does EncodeFrame: what has a destructor, and so all memory, has
    /// to live in the job.
    [[nodiscard]] virtual HRESULT DecodeFrame(const DecodeJob& job) = 0;

    /// Stores the coded length as the engine returned it. Asked only of codecs that encode.
    [[nodiscard]] virtual HRESULT EncodeFrame(const EncodeJob&, LONG*) { return E_NOTIMPL; }

    /// The settings, all of one moment. Asked once a frame, which goes by these alone.
    virtual EncoderParameters CurrentSettings() { return {GetColorSpace(), 0, 0, 0}; }

    /// The most bytes that EncodeFrame may report.
    virtual DWORD OutputCapacity(const EncodeJob&) { return 0; }

    /// What Compress answers to a format without an index.
    [[nodiscard]] virtual HRESULT UnknownFormatResult() const { return E_FAIL; }

    [[nodiscard]] HRESULT DecodeSample(const BITMAPINFOHEADER& input, const void* data,
                                       SurfaceRequest request, DWORD alphaMode,
                                       ScratchMemory* scratch);

    KeptMemory kept_;
};

}  // namespace nyx
