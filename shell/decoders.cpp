#include "shell/decoders.h"

#include "codecs/lossless_codec.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/ten_bit_codec.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "dv/dv25_codec.h"
#include "dv/dvcpro_codecs.h"
#include "media/video_block.h"

namespace nyx::shell {
namespace {

/// A codec that follows no user's setting.
template <class Codec>
class FullRange : public Codec {
  public:
    LONG GetColorSpace() override { return 0; }
};

/// A sample of DV may name any file, also one on another machine, and the shell opens files that
/// the user only looks at.
class FullRangeDv25 final : public FullRange<CDv25Codec> {
  public:
    HRESULT ReadReferenceFrame(ByteSpan, std::unique_ptr<BYTE[]>*, DWORD*) override {
        return S_FALSE;
    }
};

template <class Codec>
HRESULT Decode(const BITMAPINFOHEADER& coded, const BYTE* frame, const BITMAPINFOHEADER& decoded,
               BYTE* pixels) {
    Codec codec;  // loads its engine
    return Codec::IsEngineAvailable(kEngineForDecoding)
               ? codec.Decompress(&coded, frame, &decoded, false, pixels, 0, 0)
               : E_FAIL;
}

constexpr struct {
    DWORD fourcc;
    const wchar_t* name;
    decltype(&Decode<CTenBitCodec>) decode;
} kCodings[] = {
    {FourCC("QDVC"), L"DV", Decode<FullRangeDv25>},
    {FourCC("QDV5"), L"DVCPRO50", Decode<FullRange<CDv50Codec>>},
    {FourCC("QDVH"), L"DVCPRO HD", Decode<FullRange<CDvHdCodec>>},
    {FourCC("QMIC"), L"MPEG-2 intra", Decode<FullRange<CMpegIntraCodec>>},
    {FourCC("Q210"), L"Uncompressed 10-bit 4:2:2", Decode<FullRange<CTenBitCodec>>},
    {FourCC("QZTA"), L"Zeta", Decode<FullRange<CZetaCodec>>},
    {FourCC("QZT2"), L"Zeta2", Decode<FullRange<CZeta2Codec>>},
    {FourCC("QLLC"), L"Lossless", Decode<FullRange<CLosslessCodec>>},
};

}  // namespace

HRESULT DecodeByCodec(const source::VideoFormat& format, ByteSpan frame, BYTE* pixels) {
    const BITMAPINFOHEADER coded = PictureHeader(format.width, format.height, format.bitCount,
                                                 format.fourcc, static_cast<DWORD>(frame.size()));
    // From the top; in 32 bits, not every codec uses four bytes a pixel.
    const BITMAPINFOHEADER decoded = PictureHeader(format.width, -format.height, 24, BI_RGB, 0);
    for (const auto& coding : kCodings) {
        if (coding.fourcc == format.fourcc) {
            return coding.decode(coded, frame.data(), decoded, pixels);
        }
    }
    return E_FAIL;
}

const wchar_t* CompressionName(DWORD fourcc) {
    for (const auto& coding : kCodings) {
        if (coding.fourcc == fourcc) {
            return coding.name;
        }
    }
    return L"";
}

}  // namespace nyx::shell
