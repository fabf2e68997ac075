#pragma once

#include "codecs/codec.h"
#include "codecs/scratch_image.h"

namespace nyx {

/// The uncompressed 10-bit 4:2:2 codec "Q210", in the v210 layout. Needs no engine. Decodes to
/// "YUY2" and RGB through 8-bit 4:2:2, encodes from the same.
class CTenBitCodec : public CCodecBase {
  public:
    CTenBitCodec();
    virtual ~CTenBitCodec() = default;

    /// Always true.
    static bool IsEngineAvailable(LONG mode);

    DWORD GetMaxCompressedSize(const BITMAPINFOHEADER* input, bool alpha) override;

    /// The picture's rows are packed: a caller's stride is ignored. `output->biSizeImage` becomes
    /// (stride + gap) * height: deliberately more than the frame takes where the width is not a
    /// whole number of 48-pixel blocks, since existing programs expect that size.
    [[nodiscard]] HRESULT Compress(const BITMAPINFOHEADER* input, bool alphaInput,
                                   const void* inputData, BITMAPINFOHEADER* output,
                                   void* outputData, DWORD reserved, DWORD stride,
                                   DWORD alphaMode) override;

    /// Of an output wider than the input only the first pixels of each row are filled.
    [[nodiscard]] HRESULT Decompress(const BITMAPINFOHEADER* input, const void* data,
                                     const BITMAPINFOHEADER* output, bool alphaOut,
                                     void* outputData, LONG stride, DWORD alphaMode) override;

  private:
    KeptMemory kept_;
};

}  // namespace nyx
