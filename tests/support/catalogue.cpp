#include "tests/support/catalogue.h"

#include <algorithm>
#include <iterator>

#include "engines/standin/frame_coder.h"
#include "media/dv_signals.h"
#include "platform/class_ids.h"
#include "platform/fourcc.h"
#include "tests/support/frames.h"

namespace nyx::test {

namespace {

DWORD Code(const char* fourcc) {
    return FourCC(*reinterpret_cast<const char(*)[5]>(fourcc));
}

/// A DV frame of zeroes with the two packs that identify it: the video source pack with system and
/// signal type (IEC 61834-4, SMPTE 314M and 370M) and the video source control pack.
Bytes DvFrame(DWORD fourcc, const Stream& stream) {
    constexpr std::size_t kVideoSource = 448;  // VAUX block 5, pack 9
    constexpr std::size_t kVideoControl = 453;
    const DvSignal& signal = *FindDvSignalIf([&](const DvSignal& s) {
        return s.fourcc == fourcc && s.height == stream.height &&
               (s.width == stream.width || s.wideWidth == stream.width);
    });
    Bytes frame(static_cast<std::size_t>(signal.frameBytes));
    frame[kVideoSource] = 0x60;
    frame[kVideoSource + 3] =
        static_cast<BYTE>((signal.system == kEngineSystem50 ? 0x20 : 0) | signal.signalType);
    frame[kVideoControl] = 0x61;
    frame[kVideoControl + 2] = fourcc == kQdvh ? 2 : 0;
    return frame;
}

/// A picture for the stand-in engine with that coding: smooth, or with number 0 grey in every
/// layout (luma and chroma, or a colour) and opaque.
Bytes Picture(const standin::Coding& coding, const Stream& stream, int number) {
    Bytes picture =
        SmoothPicture(MakeHeader(BI_RGB, coding.sourceBits, stream.width, stream.height), number);
    const std::size_t bytes = coding.sourceBits / 8u;
    constexpr BYTE kLast[] = {128, 126, 255};
    for (std::size_t i = 0; number == 0 && i < picture.size(); ++i) {
        picture[i] = i % bytes == bytes - 1 ? kLast[bytes - 2] : 126;
    }
    return picture;
}

}  // namespace

const std::vector<CatalogueRow>& Catalogue() {
    constexpr Stream kWide = {856, 480}, k525 = {720, 480}, k625 = {720, 576}, k720 = {960, 720},
                     k1080 = {1280, 1080}, kQqvga = {160, 120}, kQcif = {176, 144},
                     kSmall = {96, 16}, kSmaller = {48, 16};
    static const std::vector<CatalogueRow> rows = {
        {"Dv25Decoder", CLSID_NyxDv25Decoder, "QDVC", 24, nullptr, L"rkdvh.dll", kWide, k525},
        {"Dv50Decoder", CLSID_NyxDv50Decoder, "QDV5", 24, nullptr, L"rkdvh.dll", k525, k625},
        {"DvHdDecoder", CLSID_NyxDvHdDecoder, "QDVH", 24, nullptr, L"rkdvh.dll", k720, k1080},
        {"ZetaDecoder", CLSID_NyxZetaDecoder, "QZTA", 24, "zeta", L"rkzcore.dll", kQqvga, kQcif},
        {"LosslessDecoder", CLSID_NyxLosslessDecoder, "QLLC", 24, "lossless-yuy2", L"rkllc.dll",
         kSmall, kSmaller},
        {"MpegIntraDecoder", CLSID_NyxMpegIntraDecoder, "QMIC", 24, "mpeg2", L"rkm2vi01.dll",
         kSmall, kSmaller},
        {"Zeta2Decoder", CLSID_NyxZeta2Decoder, "QZT2", 24, "zeta2", L"rkz2core.dll", kSmall,
         kSmaller},
        {"Q210Decoder", CLSID_NyxTenBitDecoder, "Q210", 20, nullptr, nullptr, kSmall, kSmaller},
        {"ZetaEncoder", CLSID_NyxZetaEncoder, "QZTA", 16, nullptr, L"rkzcore.dll", kQqvga, kQcif},
        {"ZetaAlphaDecoder", CLSID_NyxZetaDecoder, "QZTA", 32, "zeta-alpha", L"rkzcore.dll", kQqvga,
         kQcif},
    };
    return rows;
}

const CatalogueRow& Row(const std::string& name) {
    return *std::find_if(Catalogue().begin(), Catalogue().end(),
                         [&](const CatalogueRow& row) { return row.name == name; });
}

std::vector<CatalogueRow> Rows(const std::vector<std::string>& names) {
    std::vector<CatalogueRow> rows;
    std::transform(names.begin(), names.end(), std::back_inserter(rows), &Row);
    return rows;
}

std::vector<OutputFormat> CatalogueRow::Outputs() const {
    switch (bits) {
        case 16:
            return {{FourCCSubtype(Code(fourcc)), 24, Code(fourcc)}};
        case 32:
            return {{MEDIASUBTYPE_RGB32, 32, BI_RGB}, {MEDIASUBTYPE_ARGB32, 32, BI_RGB}};
        default:
            return {{MEDIASUBTYPE_YUY2, 16, FourCC("YUY2")},
                    {MEDIASUBTYPE_RGB24, 24, BI_RGB},
                    {MEDIASUBTYPE_RGB32, 32, BI_RGB}};
    }
}

MediaType CatalogueRow::InputType(const Stream& input) const {
    const DWORD code = IsEncoder() ? FourCC("YUY2") : Code(fourcc);
    return VideoType(FourCCSubtype(code), bits, code, input);
}

std::vector<BYTE> CatalogueRow::Frame(const Stream& input, int number) const {
    const auto pixels = static_cast<std::size_t>(input.width * input.height);
    if (bits == 20) {
        return Q210Frame(
            number > 0
                ? RandomTenBitPicture(input.width, input.height, unsigned(number))
                : TenBitPicture{input.width, input.height, std::vector<WORD>(2 * pixels, 508)});
    }
    if (coding) {
        const standin::Coding& as = *standin::FindCoding(coding);
        const Bytes picture = Picture(as, input, number);
        return standin::FrameCoder(as).Code(picture.data(), input.width, input.height, 1);
    }
    if (IsEncoder()) {
        return number > 0 ? SmoothPicture(InputType(input).Header(), number)
                          : Bytes(2 * pixels, 128);
    }
    Bytes frame = DvFrame(Code(fourcc), input);  // the stand-in makes a picture of all of its bytes
    frame.back() = static_cast<BYTE>(number);
    return frame;
}

}  // namespace nyx::test
