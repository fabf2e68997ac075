#include "shell/thumbnail_picture.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

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
    LONG GetColorSpace() override { return 0; }
};

/// A sample of DV may name any file, also one on another machine.
class FullRangeDv25 final : public FullRange<CDv25Codec> {
    HRESULT ReadReferenceFrame(ByteSpan, std::unique_ptr<BYTE[]>*, DWORD*) override {
        return S_FALSE;
    }
};

struct LibraryFreer {
    void operator()(HMODULE library) const noexcept { FreeLibrary(library); }
};
using Library = std::unique_ptr<HINSTANCE__, LibraryFreer>;

/// Loads an engine from the folder beside this library, else from an absolute one of the search
/// path; null without one. The codecs, which ask for the bare name, then get this library: the
/// system would look in the current folder too, which a dialog sets to the one that it shows.
Library LoadEngine(const wchar_t* name) {
    std::wstring folders(32767, L'\0');  // the maximum of a variable
    folders.resize(GetEnvironmentVariableW(L"PATH", folders.data(), 32767));
    wchar_t self[MAX_PATH] = {};
    GetModuleFileNameW(g_hInst, self, MAX_PATH - 1);
    const std::wstring own = self;
    folders = own.substr(0, own.rfind(L'\\')) + L"\\engines;" + folders;
    Library engine;
    for (std::size_t at = 0, end = 0; !engine && at < folders.size(); at = end + 1) {
        end = std::min(folders.find(L';', at), folders.size());
        const std::wstring folder = folders.substr(at, end - at);
        if (folder.starts_with(L"\\\\") || folder.find(L":\\") == 1) {
            engine.reset(LoadLibraryW((folder + L"\\" + name).c_str()));
        }
    }
    return engine;
}

template <class Codec>
HRESULT Decode(const BITMAPINFOHEADER& coded, const BYTE* frame, const BITMAPINFOHEADER& decoded,
               BYTE* pixels) {
    return Codec().Decompress(&coded, frame, &decoded, false, pixels, 0, 0);
}

/// What MXF, GXF and raw DV hold. Engines of other codings stay outside the shell's process.
constexpr struct Coding {
    DWORD fourcc;
    const wchar_t *name, *engine;
    decltype(&Decode<CTenBitCodec>) decode;
} kCodings[] = {
    {kQdvc, L"DV", L"rkdvh.dll", Decode<FullRangeDv25>},
    {kQdv5, L"DVCPRO50", L"rkdvh.dll", Decode<FullRange<CDv50Codec>>},
    {kQdvh, L"DVCPRO HD", L"rkdvh.dll", Decode<FullRange<CDvHdCodec>>},
    {FourCC("QMIC"), L"MPEG-2 intra", L"rkm2vi01.dll", Decode<FullRange<CMpegIntraCodec>>},
    {FourCC("Q210"), L"Uncompressed 10-bit 4:2:2", nullptr, Decode<FullRange<CTenBitCodec>>},
};

/// Null for an unknown FourCC.
const Coding* Find(DWORD fourcc) {
    const Coding* const found = std::ranges::find(kCodings, fourcc, &Coding::fourcc);
    return found == std::end(kCodings) ? nullptr : found;
}

}  // namespace

HRESULT DecodeByCodec(const source::VideoFormat& format, ByteSpan frame, BYTE* pixels) {
    const Coding* const coding = Find(format.fourcc);
    const Library engine = coding && coding->engine ? LoadEngine(coding->engine) : nullptr;
    if (!coding || (coding->engine && !engine)) {
        return E_FAIL;
    }
    const BITMAPINFOHEADER coded = PictureHeader(format.width, format.height, format.bitCount,
                                                 format.fourcc, static_cast<DWORD>(frame.size()));
    // From the top; in 32 bits, not every codec uses four bytes a pixel.
    const BITMAPINFOHEADER decoded = PictureHeader(format.width, -format.height, 24, BI_RGB, 0);
    return coding->decode(coded, frame.data(), decoded, pixels);
}

const wchar_t* CompressionName(DWORD fourcc) {
    const Coding* const coding = Find(fourcc);
    return coding ? coding->name : L"";
}

}  // namespace nyx::shell
