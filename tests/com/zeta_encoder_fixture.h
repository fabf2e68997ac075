#pragma once

/// @file
/// The Zeta encoder between a source and a sink, with the stand-in engines where the module finds
/// them and a registry of the test's own.

#include "filters/encode_parameter.h"
#include "platform/fourcc.h"
#include "tests/support/com_test.h"
#include "tests/support/engines.h"
#include "tests/support/filter_rig.h"
#include "tests/support/loaded_module.h"
#include "tests/support/private_user_registry.h"

__CRT_UUID_DECL(IEncodeParmeter_QZTA, 0x26890151, 0x8A34, 0x4C58, 0xBB, 0xBC, 0x40, 0x99, 0x3F,
                0x38, 0x16, 0x9A)

namespace nyx::test {

constexpr DWORD kZetaFourCC = FourCC("QZTA");

/// One layout of pictures for the encoder, and what becomes of it.
struct EncoderInput {
    const char* name;
    GUID subtype;
    DWORD compression;
    WORD bitCount;
    WORD streamBits;  ///< `biBitCount` of the compressed side
    const char* tag;  ///< with which its frames begin

    MediaType Type(const Picture& picture) const {
        return VideoType({subtype, compression, bitCount, picture.width, picture.height,
                          picture.frameDuration, picture.block});
    }
};

inline const EncoderInput kEncoderInputs[] = {
    {"yuy2", MEDIASUBTYPE_YUY2, FourCC("YUY2"), 16, 24, "ZCF"},
    {"rgb24", MEDIASUBTYPE_RGB24, BI_RGB, 24, 24, "ZCF"},
    {"argb32", MEDIASUBTYPE_ARGB32, BI_RGB, 32, 32, "ZTA1"},
};
inline const EncoderInput& kYuy2Input = kEncoderInputs[0];
inline const EncoderInput& kArgbInput = kEncoderInputs[2];

inline const FilterUnderTest& ZetaEncoderRow() {
    return RowNamed("ZetaEncoder");
}
inline const FilterUnderTest& ZetaDecoderRow() {
    return RowNamed("ZetaDecoder");
}

class ZetaEncoderTest : public ComTest {
  protected:
    static constexpr wchar_t kKey[] = L"Software\\Veltro\\Codec\\QZTA";

    /// The parameter interface of a filter; empty when it has none.
    static ComPtr<IEncodeParmeter_QZTA> ParametersOf(const ComPtr<IBaseFilter>& filter) {
        return filter.As<IEncodeParmeter_QZTA>();
    }
    static ComPtr<IEncodeParmeter_QZTA> NewEncoder() {
        return ParametersOf(Module().CreateFilter(ZetaEncoderRow().clsid));
    }

    EngineSearch engines_;
    PrivateUserRegistry user_;
};

}  // namespace nyx::test

// At the type's own scope, where GoogleTest looks.
inline bool operator==(const EncodeParameterBlock& a, const EncodeParameterBlock& b) {
    return a.color_space == b.color_space && a.quant_scale == b.quant_scale &&
           a.max_stream_size == b.max_stream_size && a.preset == b.preset;
}
inline void PrintTo(const EncodeParameterBlock& block, std::ostream* out) {
    *out << block.color_space << ", " << block.quant_scale << ", " << block.max_stream_size << ", "
         << block.preset;
}
