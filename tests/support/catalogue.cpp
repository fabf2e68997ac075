#include "tests/support/catalogue.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "platform/fourcc.h"
#include "tests/support/frames.h"

namespace nyx::test {

namespace {

CLSID Id(const wchar_t* text) {
    CLSID clsid = {};
    CLSIDFromString(text, &clsid);
    return clsid;
}

DWORD Code(const char* fourcc) {
    return FourCC(*reinterpret_cast<const char(*)[5]>(fourcc));
}

/// A grey DV frame, with what tells its kind: the signal type of the video source pack.
std::vector<BYTE> DvFrame(const std::string& fourcc, const Stream& stream) {
    const bool fifty = stream.height == 576 || stream.width == 1440;
    if (fourcc == "QDVH") {
        return stream.height == 720 ? PlainDvFrame(240000, false, 0x18, true)
                                    : PlainDvFrame(fifty ? 576000 : 480000, fifty, 0x14, true);
    }
    const std::size_t size = fifty ? 144000 : 120000;
    return fourcc == "QDV5" ? PlainDvFrame(2 * size, fifty, 0x04, false)
                            : PlainDvFrame(size, fifty, 0x00, false);
}

CatalogueRow Filter(const char* name, const wchar_t* clsid, const char* fourcc, WORD bits,
                    const char* coding, const wchar_t* engine, LONG width, LONG height,
                    LONG otherWidth, LONG otherHeight) {
    return {name,   Id(clsid), fourcc,          bits,
            coding, engine,    {width, height}, {otherWidth, otherHeight}};
}

}  // namespace

const CLSID kPropertyPage = Id(L"{55B150FB-86E8-4B96-9849-73B76D260D2A}");

const std::vector<CatalogueRow>& Catalogue() {
    static const std::vector<CatalogueRow> rows = {
        Filter("Dv25Decoder", L"{194BF9E2-3566-43C0-AA21-EEC7278EA7D8}", "QDVC", 24, nullptr,
               L"rkdvh.dll", 856, 480, 720, 480),
        Filter("Dv50Decoder", L"{B3106B88-8D62-4B34-8FDF-6CA7867BB99F}", "QDV5", 24, nullptr,
               L"rkdvh.dll", 720, 480, 720, 576),
        Filter("DvHdDecoder", L"{43749036-6EBA-4A63-9B9B-2EDC0D073B2B}", "QDVH", 24, nullptr,
               L"rkdvh.dll", 960, 720, 1280, 1080),
        Filter("ZetaDecoder", L"{F8C71073-10DB-4DFF-8EA6-CEA26400AFFB}", "QZTA", 24, "zeta",
               L"rkzcore.dll", 160, 120, 176, 144),
        Filter("LosslessDecoder", L"{9770AADC-2F6D-4586-9059-F847E46D3833}", "QLLC", 24,
               "lossless-yuy2", L"rkllc.dll", 96, 16, 48, 16),
        Filter("MpegIntraDecoder", L"{48BC3ED7-498D-4F7C-A121-EE72A9EFC483}", "QMIC", 24, "mpeg2",
               L"rkm2vi01.dll", 96, 16, 48, 16),
        Filter("Zeta2Decoder", L"{05B95B6B-C3CD-4B91-AF3B-BBBB7DF64CD0}", "QZT2", 24, "zeta2",
               L"rkz2core.dll", 96, 16, 48, 16),
        Filter("Q210Decoder", L"{3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}", "Q210", 20, nullptr,
               nullptr, 96, 16, 48, 16),
        Filter("ZetaEncoder", L"{F891D31F-209D-4AF8-AEBC-FF2472BC14C3}", "QZTA", 16, nullptr,
               L"rkzcore.dll", 160, 120, 176, 144),
        Filter("ZetaAlphaDecoder", L"{F8C71073-10DB-4DFF-8EA6-CEA26400AFFB}", "QZTA", 32,
               "zeta-alpha", L"rkzcore.dll", 160, 120, 176, 144),
    };
    return rows;
}

const CatalogueRow& Row(const std::string& name) {
    for (const CatalogueRow& row : Catalogue()) {
        if (row.name == name) {
            return row;
        }
    }
    throw std::logic_error("no such filter: " + name);
}

std::vector<CatalogueRow> Rows(const std::vector<std::string>& names) {
    std::vector<CatalogueRow> rows;
    for (const std::string& name : names) {
        rows.push_back(Row(name));
    }
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

MediaType CatalogueRow::OutputType(std::size_t format, const Stream& output) const {
    const OutputFormat as = Outputs().at(format);
    return VideoType(as.subtype, as.bits, as.compression, output);
}

LONG CatalogueRow::BufferBytes(std::size_t format) const {
    return IsEncoder() ? PictureBytes(InputType().Header()) / 10 * 12
                       : PictureBytes(OutputType(format).Header());
}

std::vector<BYTE> CatalogueRow::Frame(const Stream& input) const {
    if (coding) {
        return GreyFrame(coding, input.width, input.height);
    }
    if (IsEncoder()) {
        return std::vector<BYTE>(static_cast<std::size_t>(2 * input.width * input.height), 128);
    }
    return bits == 20 ? FlatQ210Frame(input.width, input.height, {502, 512, 512})
                      : DvFrame(fourcc, input);
}

void PrintTo(const CatalogueRow& row, std::ostream* out) {
    *out << row.name;
}

}  // namespace nyx::test
