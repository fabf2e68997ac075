#pragma once

/// @file
/// The codecs on closed engines: the common path of a frame from the sample to the engine, and the
/// queries.

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
    ByteSpan frame{};                  ///< the coded frame, behind any "INFO" chunk
    SurfaceFormat surface{};           ///< the destination, as wide as the compressed picture
    bool streamAlpha = false;          ///< the frame carries alpha
    DWORD alphaMode = 0;               ///< the caller's
    ScratchMemory* scratch = nullptr;  ///< memory for this frame
};

/// One picture on its way to an encode entry.
struct EncodeJob {
    SurfaceFormat surface{};  ///< the source
    const BITMAPINFOHEADER* input = nullptr;
    bool alpha = false;  ///< the caller's flag
    DWORD alphaMode = 0;
    EncoderParameters settings{};  ///< as they were when the frame began
    void* output = nullptr;
    DWORD room = 0;      ///< bytes at `output`, 0 for GetMaxCompressedSize
    DWORD capacity = 0;  ///< maximum of bytes of the coded frame, from OutputCapacity
};

class CEngineCodec : public CCodecBase {
  public:
    /// `E_NOTIMPL` from a codec that does not encode. `E_FAIL` for a format without an index, an
    /// exception of the engine or of a faulty buffer, or a coded length that is negative or above
    /// the capacity that the engine was given.
    [[nodiscard]] HRESULT Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                                   const void* inputData, BITMAPINFOHEADER* output,
                                   void* outputData, DWORD reserved, DWORD stride,
                                   DWORD alphaMode) override;

    /// Of an output wider than the input the first pixels of each row are filled. `E_FAIL`, with
    /// the destination untouched, for sizes that do not match, a format without an index, or a
    /// frame that fails its probe; with the destination as the engine left it for an exception of
    /// the engine or a buffer that disappears meanwhile.
    [[nodiscard]] HRESULT Decompress(const BITMAPINFOHEADER* input, const void* data,
                                     const BITMAPINFOHEADER* output, bool alphaOut,
                                     void* outputData, LONG stride, DWORD alphaMode) override;

    virtual ~CEngineCodec() = default;

  protected:
    CEngineCodec(const CodecFormats& formats, LONG colorSpace) : CCodecBase(formats, colorSpace) {}

    /// Clears the transparent pixels of a frame that was decoded with straight alpha.
    static void CleanStraightMatte(const DecodeJob& job);

  private:
    /// Whether a coded frame carries alpha; nothing when it cannot be decoded.
    virtual std::optional<bool> Probe(ByteSpan frame, const BITMAPINFOHEADER& input) = 0;

    /// Runs behind the guard, as does EncodeFrame: objects with destructors, and so all memory,
    /// have to live in the job.
    [[nodiscard]] virtual HRESULT DecodeFrame(const DecodeJob& job) = 0;

    /// Stores the coded length as the engine returned it. Called only for codecs that encode.
    [[nodiscard]] virtual HRESULT EncodeFrame(const EncodeJob&, LONG*) { return E_NOTIMPL; }

    /// A consistent copy of the settings. Called once a frame.
    virtual EncoderParameters CurrentSettings() { return {GetColorSpace(), 0, 0, 0}; }

    /// The maximum of bytes that EncodeFrame may report.
    virtual DWORD OutputCapacity(const EncodeJob&) { return 0; }

    /// The result of Compress for a format without an index.
    [[nodiscard]] virtual HRESULT UnknownFormatResult() const { return E_FAIL; }

    KeptMemory kept_;
};

}  // namespace nyx
