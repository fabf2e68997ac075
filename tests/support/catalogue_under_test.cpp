#include "tests/support/catalogue_under_test.h"

#include <ostream>

#include "platform/fourcc.h"
#include "tests/support/q210_frames.h"

namespace nyx::test {
namespace {

std::vector<OfferedFormat> OpaqueFormats() {
    return {{MEDIASUBTYPE_YUY2, 16, FourCC("YUY2")},
            {MEDIASUBTYPE_RGB24, 24, BI_RGB},
            {MEDIASUBTYPE_RGB32, 32, BI_RGB}};
}

std::vector<BYTE> Q210Sample(const Picture& picture) {
    return FlatQ210Frame(picture.width, picture.height, {502, 512, 512});
}

}  // namespace

const std::vector<FilterUnderTest>& CatalogueUnderTest() {
    static const std::vector<FilterUnderTest> rows = {
        {"Q210Decoder",
         Role::kDecoder,
         {0x3D1F4E99, 0x3ADF, 0x471E, {0x8C, 0x1A, 0xB7, 0xD6, 0x78, 0xB4, 0xA2, 0x38}},
         FourCC("Q210"),
         20,
         OpaqueFormats(),
         true,
         Q210Sample},
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

MediaType FilterUnderTest::InputType(const Picture& picture) const {
    MediaType type =
        VideoType({FourCCSubtype(inputFourCC), inputFourCC, inputBitCount, picture.width,
                   picture.height, picture.frameDuration, picture.block});
    return type;
}

MediaType FilterUnderTest::OutputType(std::size_t position, const Picture& picture) const {
    const OfferedFormat& format = outputs.at(position);
    return VideoType({format.subtype, format.compression, format.bitCount, picture.width,
                      picture.height, picture.frameDuration, picture.block});
}

void PrintTo(const FilterUnderTest& row, std::ostream* out) {
    *out << row.name;
}

}  // namespace nyx::test
