#include "tests/support/catalogue_under_test.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "platform/fourcc.h"
#include "tests/support/frames.h"
#include "tests/support/module_classes.h"

namespace nyx::test {
namespace {

// Signal types of the DV variants, low five bits of the video source pack.
constexpr BYTE kSignalDv25 = 0x00;
constexpr BYTE kSignalDv50 = 0x04;
constexpr BYTE kSignalHd1080 = 0x14;
constexpr BYTE kSignalHd720 = 0x18;

std::vector<OfferedFormat> OpaqueFormats() {
    return {{MEDIASUBTYPE_YUY2, 16, FourCC("YUY2")},
            {MEDIASUBTYPE_RGB24, 24, BI_RGB},
            {MEDIASUBTYPE_RGB32, 32, BI_RGB}};
}

std::vector<OfferedFormat> AlphaFormats() {
    return {{MEDIASUBTYPE_RGB32, 32, BI_RGB}, {MEDIASUBTYPE_ARGB32, 32, BI_RGB}};
}

/// What an engine's stand-in makes of a grey picture.
SampleMaker Coded(const char* coding) {
    return [coding](const Picture& picture) {
        return GreyFrame(coding, picture.width, picture.height);
    };
}

std::vector<BYTE> Dv25Sample(const Picture& picture) {
    const bool fifty = picture.height == 576;
    return PlainDvFrame(fifty ? 144000 : 120000, fifty, kSignalDv25, false);
}
std::vector<BYTE> Dv50Sample(const Picture& picture) {
    const bool fifty = picture.height == 576;
    return PlainDvFrame(fifty ? 288000 : 240000, fifty, kSignalDv50, false);
}
std::vector<BYTE> DvHdSample(const Picture& picture) {
    if (picture.height == 720) {
        return PlainDvFrame(240000, false, kSignalHd720, true);
    }
    const bool fifty = picture.width == 1440;
    return PlainDvFrame(fifty ? 576000 : 480000, fifty, kSignalHd1080, true);
}

const CLSID& ClassOfDecoder(DWORD fourcc) {
    for (const ModuleClass& entry : ModuleClasses()) {
        if (!entry.isCompressor &&
            entry.inputSubtypes == std::vector<GUID>{FourCCSubtype(fourcc)}) {
            return entry.clsid;
        }
    }
    throw std::logic_error("no decoder of that format in the module's list");
}

FilterUnderTest Decoder(const char* name, DWORD fourcc, WORD bits, SampleMaker sample) {
    FilterUnderTest row = {};
    row.name = name;
    row.role = Role::kDecoder;
    row.clsid = ClassOfDecoder(fourcc);
    row.inputFourCC = fourcc;
    row.inputBitCount = bits;
    row.outputs = bits == 32 ? AlphaFormats() : OpaqueFormats();
    row.sample = sample;
    return row;
}

FilterUnderTest Q210Row() {
    FilterUnderTest row = Decoder("Q210Decoder", FourCC("Q210"), 20, [](const Picture& picture) {
        return FlatQ210Frame(picture.width, picture.height, {502, 512, 512});
    });
    row.frameSize = FrameSize::kOfTheType;
    return row;
}

FilterUnderTest ZetaRow(const char* name, WORD bits, const char* coding) {
    FilterUnderTest row = Decoder(name, FourCC("QZTA"), bits, Coded(coding));
    row.sizes = {{1920, 1080}, {1440, 1080}, {1280, 1080}, {1280, 720}, {960, 720},   {720, 576},
                 {720, 486},   {720, 480},   {640, 480},   {320, 240},  {160, 120},   {800, 600},
                 {352, 480},   {352, 240},   {352, 288},   {176, 144},  {1280, 1024}, {1280, 960},
                 {1024, 768},  {704, 480},   {704, 576}};
    row.picture = {160, 120};
    row.pixelAspect = {648, 640};
    row.wide = {352, 240};
    row.narrow = {320, 240};
    return row;
}

/// The encoder, from 4:2:2 pictures. Its rules for types and sizes have tests of their own.
FilterUnderTest ZetaEncoderRow() {
    FilterUnderTest row = ZetaRow("ZetaEncoder", 24, "zeta");
    row.role = Role::kEncoder;
    row.sample = [](const Picture& picture) {
        return std::vector<BYTE>(static_cast<std::size_t>(2 * picture.width * picture.height), 128);
    };
    for (const ModuleClass& entry : ModuleClasses()) {
        if (entry.isCompressor) {
            row.clsid = entry.clsid;
        }
    }
    row.inputFourCC = FourCC("YUY2");
    row.inputBitCount = 16;
    row.outputs = {{FourCCSubtype(FourCC("QZTA")), 24, FourCC("QZTA")}};
    row.carriesInfoChunk = false;
    row.frameSize = FrameSize::kOfTheType;
    return row;
}

FilterUnderTest LosslessRow() {
    FilterUnderTest row = Decoder("LosslessDecoder", FourCC("QLLC"), 24, Coded("lossless-yuy2"));
    row.shortestFrame = 2;  // up to the byte that tells the kind
    row.frameSize = FrameSize::kChecked;
    return row;
}

FilterUnderTest MpegIntraRow() {
    FilterUnderTest row = Decoder("MpegIntraDecoder", FourCC("QMIC"), 24, Coded("mpeg2"));
    row.shortestFrame = 4;  // a start code
    row.frameSize = FrameSize::kChecked;
    return row;
}

FilterUnderTest DvRow(const char* name, DWORD fourcc, std::vector<SIZE> sizes, SampleMaker sample) {
    FilterUnderTest row = Decoder(name, fourcc, 24, sample);
    row.sizes = std::move(sizes);
    row.carriesInfoChunk = false;
    row.paintsBadFramesBlack = true;
    row.frameSize = FrameSize::kChecked;
    return row;
}

FilterUnderTest Dv25Row() {
    FilterUnderTest row = DvRow("Dv25Decoder", FourCC("QDVC"),
                                {{720, 480}, {856, 480}, {720, 576}, {1024, 576}}, Dv25Sample);
    row.picture = row.narrow = {720, 480};
    row.wide = {856, 480};
    return row;
}

FilterUnderTest Dv50Row() {
    FilterUnderTest row =
        DvRow("Dv50Decoder", FourCC("QDV5"), {{720, 480}, {720, 576}}, Dv50Sample);
    row.picture = row.narrow = {720, 480};
    row.wide = {720, 576};
    return row;
}

FilterUnderTest DvHdRow() {
    FilterUnderTest row =
        DvRow("DvHdDecoder", FourCC("QDVH"), {{960, 720}, {1280, 1080}, {1440, 1080}}, DvHdSample);
    row.picture = {960, 720};
    row.wide = {1440, 1080};
    row.narrow = {1280, 1080};
    return row;
}

}  // namespace

const std::vector<FilterUnderTest>& CatalogueUnderTest() {
    static const std::vector<FilterUnderTest> rows = {
        Dv25Row(),
        Dv50Row(),
        DvHdRow(),
        ZetaRow("ZetaDecoder", 24, "zeta"),
        ZetaRow("ZetaDecoderOfAlpha", 32, "zeta-alpha"),
        LosslessRow(),
        MpegIntraRow(),
        Decoder("Zeta2Decoder", FourCC("QZT2"), 24, Coded("zeta2")),
        Q210Row(),
        ZetaEncoderRow(),
    };
    return rows;
}

std::vector<FilterUnderTest> DecodersUnderTest() {
    std::vector<FilterUnderTest> decoders;
    for (const FilterUnderTest& row : CatalogueUnderTest()) {
        if (row.role == Role::kDecoder) {
            decoders.push_back(row);
        }
    }
    return decoders;
}

const FilterUnderTest& RowNamed(const std::string& name) {
    for (const FilterUnderTest& row : CatalogueUnderTest()) {
        if (row.name == name) {
            return row;
        }
    }
    throw std::logic_error("no such filter: " + name);
}

bool FilterUnderTest::Takes(LONG width, LONG height) const {
    if (sizes.empty()) {
        return width > 0 && width % 2 == 0 && height > 0;
    }
    return std::any_of(sizes.begin(), sizes.end(),
                       [&](const SIZE& size) { return size.cx == width && size.cy == height; });
}

int FilterUnderTest::Rounds(int most) const {
    constexpr LONG kLarge = 100000;  // pixels
    return picture.width * picture.height > kLarge ? (most + 9) / 10 : most;
}

MediaType FilterUnderTest::InputType(const Picture& stream) const {
    return VideoType({FourCCSubtype(inputFourCC), inputFourCC, inputBitCount, stream.width,
                      stream.height, stream.frameDuration, stream.block});
}

MediaType FilterUnderTest::OutputType(std::size_t position, const Picture& stream) const {
    const OfferedFormat& format = outputs.at(position);
    return VideoType({format.subtype, format.compression, format.bitCount, stream.width,
                      stream.height, stream.frameDuration, stream.block});
}

LONG FilterUnderTest::BufferBytes(std::size_t position) const {
    // Of an encoder 1.2 uncompressed pictures.
    return role == Role::kDecoder ? PictureBytes(OutputType(position).Header())
                                  : PictureBytes(InputType().Header()) / 10 * 12;
}

void PrintTo(const FilterUnderTest& row, std::ostream* out) {
    *out << row.name;
}

}  // namespace nyx::test
