#include "engines/standin/frame_coder.h"

#include <stdexcept>

#include "codecs/engine_records.h"
#include "engines/standin/standin.h"

namespace standin {
namespace {

/// Enough bytes for any picture's frame.
constexpr std::size_t kBytesPerPixel = 5;
constexpr std::size_t kMargin = 4096;

template <typename Entry>
Entry As(FARPROC entry) {
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(entry));
}

DWORD SizeOf(const std::vector<BYTE>& output) {
    return static_cast<DWORD>(output.size());
}

/// The full-range code of an RGB layout: the standard-definition one is two steps below the
/// high-definition one.
DWORD FullRangeCode(const Source& source, DWORD first, DWORD step) {
    const bool highDefinition = source.width >= 960 && source.height >= 720;
    return highDefinition ? first : first - 2 * step;
}

LONG CallZetaCore(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    const LONG blocks = ((source.width + 15) / 16) * ((source.height + 15) / 16);
    nyx::ZetaCoreEncodeRecord record = {.command = nyx::kCommandCoreEncode,
                                        .source = source.data,
                                        .stride = source.stride,
                                        .bytesPerPixel = 2,
                                        .output = output->data(),
                                        .outputCapacity = SizeOf(*output),
                                        .workSize = blocks * 4096,
                                        .coreConstant = nyx::kCoreConstant,
                                        .width = source.width,
                                        .height = source.height,
                                        .quantScale = source.quantScale,
                                        .encodeConstant = nyx::kZetaEncodeConstant};
    return As<nyx::ZetaEntry>(entry)(&record);
}

LONG CallZetaAlpha(FARPROC entry, const Source& source, std::vector<BYTE>* output) {
    nyx::ZetaAlphaEncodeRecord record = {.command = nyx::kCommandAlphaEncode,
                                         .source = source.data,
                                         .stride = source.stride,
                                         .bytesPerPixel = 4,
                                         .pixelFormat = FullRangeCode(source, 4, 1),
                                         .output = output->data(),
                                         .width = source.width,
                                         .height = source.height,
                                         .quantScale = source.quantScale,
                                         .encodeConstant = nyx::kZetaEncodeConstant};
    return As<nyx::ZetaEntry>(entry)(&record);
}

LONG CallZeta2(FARPROC entry, const Source& source, std::vector<BYTE>* output, LONG bytesPerPixel,
               DWORD code, LONG alpha) {
    const nyx::Zeta2Plane plane = {const_cast<BYTE*>(source.data), source.stride, 0};
    const LONG workSize = source.height * source.width / bytesPerPixel / 8;
    nyx::Zeta2EncodeRecord record = {.command = nyx::kCommandZeta2,
                                     .plane = &plane,
                                     .pixelFormat = code,
                                     .output = output->data(),
                                     .outputCapacity = SizeOf(*output),
                                     .workSize = workSize,
                                     .alpha = alpha,
                                     .width = source.width,
                                     .height = source.height,
                                     .quantScale = source.quantScale,
                                     .encodeConstant = nyx::kZeta2EncodeConstant};
    return As<nyx::ZetaEntry>(entry)(&record);
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
                                           source.quantScale, output->data(), SizeOf(*output));
}

}  // namespace

const std::vector<Coding>& Codings() {
    static const std::vector<Coding> codings = {
        // name, stream's FourCC, stream's bits, source's bits, library, entry, call
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
                                 " is missing or has no entry " + coding.entry);
    }
}

std::vector<BYTE> FrameCoder::Code(const BYTE* picture, LONG width, LONG height,
                                   LONG quantScale) const {
    std::vector<BYTE> frame(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                kBytesPerPixel +
                            kMargin);
    const Source source = {.data = picture,
                           .stride = width * coding_.sourceBits / 8,
                           .width = width,
                           .height = height,
                           .quantScale = quantScale};
    const LONG length = coding_.call(entry_, source, &frame);
    if (length <= 0) {
        throw std::runtime_error(std::string("the engine refuses a picture for ") + coding_.name);
    }
    frame.resize(static_cast<std::size_t>(length));
    return frame;
}

}  // namespace standin
