#pragma once

#include "codecs/engine_codec.h"
#include "codecs/engine_library.h"

namespace nyx {

/// The lossless intra codec "QLLC". A frame stores one of four kinds of pixels and says which in
/// its second byte; for a caller that wants another, the frame is decoded to memory of its own and
/// converted. When the engine reports a failure (a negative result) the frame fails: its
/// destination is as the engine left it, or untouched where the frame would have been converted.
class CLosslessCodec : public CEngineCodec {
  public:
    CLosslessCodec();

    /// True when both entries of the engine are bound, in either mode.
    static bool IsEngineAvailable(LONG mode);

    bool SupportsAlpha() override { return true; }

    /// The uncompressed size and a margin: this engine has no budget.
    DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) override;

  private:
    std::optional<bool> Probe(ByteSpan frame, const BITMAPINFOHEADER& input) override;
    [[nodiscard]] HRESULT DecodeFrame(const DecodeJob& job) override;
    [[nodiscard]] HRESULT EncodeFrame(const EncodeJob& job, LONG* codedLength) override;
    DWORD OutputCapacity(const EncodeJob& job) override;

    [[nodiscard]] HRESULT DecodeStored(const DecodeJob& job, LONG kind,
                                       const SurfaceFormat& destination);

    EngineUse engines_;
};

}  // namespace nyx
