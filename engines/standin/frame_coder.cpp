#include "engines/standin/frame_coder.h"

#include <stdexcept>

#include "codecs/engine_records.h"
#include "engines/standin/standin.h"

namespace standin {
namespace {

/// Room for any picture's frame.
constexpr std::size_t kBytesPerPixel = 5;
constexpr std::size_t kMargin = 4096;

template <typename Entry>
Entry As(FARPROC entry) {
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(entry));
}

DWORD RoomOf(const std::vector<BYTE>& output) {
    return static_cast<DWORD>(output.size());
}

/// The full-range code of an RGB layout: the engines count down from the high-definition one in
/// steps, the standard-definition one comes two steps later.
DWORD FullRangeCode(const Source& source, DWORD first, DWORD step) {
    const bool highDefinition = source.width >= 960 && source.height >= 720;
    return highDefinition ? first : first - 2 * step;
}

LONG CallZetaCore(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    const LONG blocks = ((source.width + 15) / 16) * ((source.height + 15) / 16);
    nyx::ZetaCoreEncodeRecord record = {nyx::kCommandCoreEncode,
                                        source.data,
                                        source.stride,
                                        2,
                                        0,
                                        output->data(),
                                        RoomOf(*output),
                                        blocks * 4096,
                                        nyx::kCoreConstant,
                                        source.width,
                                        source.height,
                                        source.quantScale,
                                        nyx::kZetaEncodeConstant,
                                        0};
    return As<nyx::ZetaEntry>(entry)(&record);
}

LONG CallZetaAlpha(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    nyx::ZetaAlphaEncodeRecord record = {nyx::kCommandAlphaEncode,
                                         source.data,
                                         source.stride,
                                         4,
                                         {},
                                         FullRangeCode(source, 4, 1),
                                         output->data(),
                                         source.width,
                                         source.height,
                                         source.quantScale,
                                         nyx::kZetaEncodeConstant,
                                         0};
    return As<nyx::ZetaEntry>(entry)(&record);
}

LONG CallZeta2(FARPROC entry, const Source& source, std::vector<BYTE>* output, LONG bytesPerPixel,
               DWORD code, LONG alpha) {
    const nyx::Zeta2Plane plane = {const_cast<BYTE*>(source.data), source.stride, 0};
    const LONG workSize = source.height * source.width / bytesPerPixel / 8;
    nyx::Zeta2EncodeRecord record = {nyx::kCommandZeta2,
                                     &plane,
                                     code,
                                     output->data(),
                                     RoomOf(*output),
                                     workSize,
                                     alpha,
                                     source.width,
                                     source.height,
                                     source.quantScale,
                                     nyx::kZeta2EncodeConstant,
                                     0};
    return As<nyx::Zeta2Entry>(entry)(&record);
}

LONG CallZeta2Opaque(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    return CallZeta2(entry, source, output, 2, 1, 0);
}

LONG CallZeta2Alpha(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    return CallZeta2(entry, source, output, 4, FullRangeCode(source, 8, 2), nyx::kZeta2EncodeAlpha);
}

template <nyx::LosslessKind kKind>
LONG CallLossless(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    return As<nyx::LosslessEncodeEntry>(entry)(kKind, output->data(), source.data, source.stride,
                                               source.width, source.height);
}

LONG CallMpegIntra(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    return As<MpegIntraEncodeEntry>(entry)(source.data, source.stride, source.width, source.height,
                                           source.quantScale, output->data(),
                                           static_cast<DWORD>(output->size()));
}

}  // namespace

const std::vector<Coding>& Codings() {
    static const std::vector<Coding> codings = {
        {"zeta", "QZTA", 24, 16, L"rkzcore.dll", "_zcf_encode@4", CallZetaCore},
        {"zeta-alpha", "QZTA", 32, 32, L"rkzalpha.dll", "_zetaa_encode@4", CallZetaAlpha},
        {"zeta2", "QZT2", 24, 16, L"rkz2core.dll", "_zeta2_encode@4", CallZeta2Opaque},
        {"zeta2-alpha", "QZT2", 32, 32, L"rkz2core.dll", "_zeta2_encode@4", CallZeta2Alpha},
        {"lossless-yuy2", "QLLC", 24, 16, L"rkllc.dll", "_llc_encode@24",
         CallLossless<nyx::kLosslessYuy2>},
        {"lossless-rgb24", "QLLC", 24, 24, L"rkllc.dll", "_llc_encode@24",
         CallLossless<nyx::kLosslessRgb24>},
        {"lossless-rgb32", "QLLC", 24, 32, L"rkllc.dll", "_llc_encode@24",
         CallLossless<nyx::kLosslessRgb32>},
        {"lossless-argb32", "QLLC", 32, 32, L"rkllc.dll", "_llc_encode@24",
         CallLossless<nyx::kLosslessArgb32>},
        {"mpeg2", "QMIC", 24, 16, L"rkm2vi01.dll", "standin_m2vi_encode", CallMpegIntra},
    };
    return codings;
}

const Coding* FindCoding(std::string_view name) {
    for (const Coding& coding : Codings()) {
        if (coding.name == name) {
            return &coding;
        }
    }
    return nullptr;
}

FrameCoder::FrameCoder(const Coding& coding)
    : coding_(coding), engine_(LoadLibraryW(coding.library)), entry_(nullptr) {
    entry_ = engine_ ? GetProcAddress(engine_, coding.entry) : nullptr;
    if (!entry_) {
        FreeLibrary(engine_);
        throw std::runtime_error(std::string("the engine for ") + coding.name +
                                 " is not there or has no entry " + coding.entry);
    }
}

std::vector<BYTE> FrameCoder::Code(const BYTE* picture, LONG width, LONG height,
                                   LONG quantScale) const {
    std::vector<BYTE> frame(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                kBytesPerPixel +
                            kMargin);
    const Source source = {picture, width * coding_.sourceBits / 8, width, height, quantScale};
    const LONG length = coding_.call(entry_, source, &frame);
    if (length <= 0) {
        throw std::runtime_error(std::string("the engine refuses a picture for ") + coding_.name);
    }
    frame.resize(static_cast<std::size_t>(length));
    return frame;
}

}  // namespace standin
