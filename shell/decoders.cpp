#include "shell/decoders.h"

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>

#include "baseclasses/dllentry.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/ten_bit_codec.h"
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

struct LibraryFreer {
    using pointer = HMODULE;
    void operator()(HMODULE library) const noexcept { FreeLibrary(library); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryFreer>;

std::wstring OwnFolder() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(g_hInst, path.data(), MAX_PATH));
    return path.substr(0, path.rfind(L'\\') + 1);
}

/// Loads an engine from the folder beside this library, else from an absolute one of the search
/// path. Null without one. The codecs, which ask the system for the bare name, get the library that
/// is loaded: the system would look in the current folder too, and in a dialog that is the one with
/// the files.
Library LoadEngine(const wchar_t* name) {
    Library engine(LoadLibraryW((OwnFolder() + L"engines\\" + name).c_str()));
    std::wstring places(32767, L'\0');  // the maximum of a variable
    places.resize(GetEnvironmentVariableW(L"PATH", places.data(), 32767));
    for (std::size_t at = 0, end = 0; !engine && at < places.size(); at = end + 1) {
        end = std::min(places.find(L';', at), places.size());
        const std::wstring place = places.substr(at, end - at);
        if (place.compare(0, 2, L"\\\\") == 0 || (place.size() > 2 && place[1] == L':')) {
            engine.reset(LoadLibraryW((place + L"\\" + name).c_str()));
        }
    }
    return engine;
}

template <class Codec>
HRESULT Decode(const BITMAPINFOHEADER& coded, const BYTE* frame, const BITMAPINFOHEADER& decoded,
               BYTE* pixels) {
    Codec codec;
    return Codec::IsEngineAvailable(kEngineForDecoding)
               ? codec.Decompress(&coded, frame, &decoded, false, pixels, 0, 0)
               : E_FAIL;
}

/// What MXF, GXF and raw DV hold. Engines of other codings stay outside the shell's process.
constexpr struct {
    DWORD fourcc;
    const wchar_t *name, *engine;
    decltype(&Decode<CTenBitCodec>) decode;
} kCodings[] = {
    {FourCC("QDVC"), L"DV", L"rkdvh.dll", Decode<FullRangeDv25>},
    {FourCC("QDV5"), L"DVCPRO50", L"rkdvh.dll", Decode<FullRange<CDv50Codec>>},
    {FourCC("QDVH"), L"DVCPRO HD", L"rkdvh.dll", Decode<FullRange<CDvHdCodec>>},
    {FourCC("QMIC"), L"MPEG-2 intra", L"rkm2vi01.dll", Decode<FullRange<CMpegIntraCodec>>},
    {FourCC("Q210"), L"Uncompressed 10-bit 4:2:2", nullptr, Decode<FullRange<CTenBitCodec>>},
};

}  // namespace

HRESULT DecodeByCodec(const source::VideoFormat& format, ByteSpan frame, BYTE* pixels) {
    const BITMAPINFOHEADER coded = PictureHeader(format.width, format.height, format.bitCount,
                                                 format.fourcc, static_cast<DWORD>(frame.size()));
    // From the top; in 32 bits, not every codec uses four bytes a pixel.
    const BITMAPINFOHEADER decoded = PictureHeader(format.width, -format.height, 24, BI_RGB, 0);
    for (const auto& coding : kCodings) {
        if (coding.fourcc == format.fourcc) {
            const Library engine = coding.engine ? LoadEngine(coding.engine) : nullptr;
            return coding.engine && !engine ? E_FAIL
                                            : coding.decode(coded, frame.data(), decoded, pixels);
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
