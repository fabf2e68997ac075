#include "module/catalogue.h"

#include <iterator>

#include "filters/decoders.h"
#include "module/class_creation.h"
#include "platform/fourcc.h"

namespace nyx {
namespace {

/// What decoders register with: the graph's intelligent connect tries them before those of normal
/// merit.
constexpr DWORD kDecoderMerit = MERIT_PREFERRED;
static_assert(kDecoderMerit == 0x00800000);

constexpr PinTypes kAnyVideo = {{GUID{}}, 1};

constexpr PinTypes Compressed(const char (&fourcc)[5]) {
    return {{FourCCSubtype(FourCC(fourcc))}, 1};
}

constexpr ClassIdentity kTenBitDecoder = {
    L"Rokka Q210 Decoder",
    L"Rokka Q210 Decoder",
    {0x3D1F4E99, 0x3ADF, 0x471E, {0x8C, 0x1A, 0xB7, 0xD6, 0x78, 0xB4, 0xA2, 0x38}}};

template <class Filter, const ClassIdentity& identity>
constexpr CatalogueRow Decoder(const char (&fourcc)[5]) {
    return {&identity, CreateFilter<Filter, identity, kEngineForDecoding>, kDecoderMerit,
            Compressed(fourcc), kAnyVideo};
}

}  // namespace

constexpr CatalogueRow kCatalogue[] = {
    Decoder<CTenBitDecoder, kTenBitDecoder>("Q210"),
};
const int kCatalogueSize = static_cast<int>(std::size(kCatalogue));

static_assert(std::size(kCatalogue) <= kMostClasses);

}  // namespace nyx
