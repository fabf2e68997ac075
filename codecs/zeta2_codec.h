#pragma once

#include "codecs/engine_codec.h"
#include "codecs/engine_library.h"
#include "settings/quality_presets.h"

namespace nyx {

/// The 10-bit capable intra codec "QZT2" with optional alpha: one engine for all frames, whose
/// probe reports whether a frame carries alpha. Any even width.
class CZeta2Codec : public CEngineCodec {
  public:
    CZeta2Codec();

    /// True when both entries of the engine are bound, in either mode.
    static bool IsEngineAvailable(LONG mode);

    bool SupportsAlpha() override { return true; }
    DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) override;

    /// The live parameters.
    EncoderParameters GetParameters();

  private:
    std::optional<bool> Probe(ByteSpan frame, const BITMAPINFOHEADER& input) override;
    [[nodiscard]] HRESULT DecodeFrame(const DecodeJob& job) override;
    [[nodiscard]] HRESULT EncodeFrame(const EncodeJob& job, LONG* codedLength) override;
    DWORD OutputCapacity(const EncodeJob& job) override;

    /// A format without an index is skipped, with `biSizeImage` unchanged.
    [[nodiscard]] HRESULT UnknownFormatResult() const override { return S_OK; }

    explicit CZeta2Codec(const EncoderParameters& parameters);

    QualityPreset quality_;
    LONG preset_;
    EngineUse engines_;
};

}  // namespace nyx
