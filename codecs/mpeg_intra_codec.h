#pragma once

#include "codecs/engine_codec.h"
#include "codecs/engine_library.h"

namespace nyx {

/// Intra-only MPEG-2 video, 4:2:2 and 8 bits, "QMIC". Decodes only. Lines that production formats
/// code above the picture are dropped.
///
/// Use its pictures as "YUY2" or RGB 24-bit. In RGB 32-bit it stores three bytes a pixel, blue
/// green red, from the start of each row on, and leaves the last quarter of the row unchanged,
/// because this format's programs rely on that. Any other program shows garbage.
class CMpegIntraCodec : public CEngineCodec {
  public:
    CMpegIntraCodec();

    /// True for decoding with the engine's entry bound.
    static bool IsEngineAvailable(LONG mode);

    /// 0: this codec does not encode.
    DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) override;

  private:
    std::optional<bool> Probe(ByteSpan frame, const BITMAPINFOHEADER& input) override;

    /// When the engine raises an exception, the picture becomes black and the call fails.
    [[nodiscard]] HRESULT DecodeFrame(const DecodeJob& job) override;

    [[nodiscard]] HRESULT ReadCodedHeight(ByteSpan frame, LONG* codedHeight);
    [[nodiscard]] HRESULT DecodePicture(ByteSpan frame, LONG linesDropped,
                                        const SurfaceFormat& destination);

    EngineUse engines_;
};

}  // namespace nyx
