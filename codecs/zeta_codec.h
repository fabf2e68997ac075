#pragma once

#include "codecs/engine_codec.h"
#include "codecs/engine_library.h"
#include "codecs/spin_lock.h"
#include "settings/quality_presets.h"

namespace nyx {

/// The 8-bit 4:2:2 intra codec "QZTA" with optional alpha. Frames without alpha (tag "ZCF") are the
/// core engine's, frames with alpha (tag "ZTA1") the alpha engine's. The tag decides, not the
/// header.
class CZetaCodec : public CEngineCodec {
  public:
    CZetaCodec();

    /// True when both engines are bound, in either mode.
    static bool IsEngineAvailable(LONG mode);

    LONG GetColorSpace() override { return CurrentSettings().color_space; }
    bool SupportsAlpha() override { return true; }
    DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) override;

    /// The live parameters, or with `fromRegistry` the stored ones under the preset rules, which
    /// leaves the live ones as they are.
    EncoderParameters GetParameters(bool fromRegistry);

    /// Makes the values live, unchecked, from the next frame on. With `persist` all but the colour
    /// space are stored too; a failed write is not reported.
    void SetParameters(const EncoderParameters& parameters, bool persist);

  private:
    std::optional<bool> Probe(ByteSpan frame, const BITMAPINFOHEADER& input) override;
    [[nodiscard]] HRESULT DecodeFrame(const DecodeJob& job) override;
    [[nodiscard]] HRESULT EncodeFrame(const EncodeJob& job, LONG* codedLength) override;
    EncoderParameters CurrentSettings() override;
    DWORD OutputCapacity(const EncodeJob& job) override;

    [[nodiscard]] HRESULT EncodeCore(const EncodeJob& job, LONG* codedLength);
    [[nodiscard]] HRESULT EncodeAlpha(const EncodeJob& job, LONG* codedLength);

    explicit CZetaCodec(const EncoderParameters& parameters);

    // Set on any thread while frames are encoded on another.
    SpinLock settingsLock_;
    EncoderParameters settings_;
    EngineUse engines_;
};

}  // namespace nyx
