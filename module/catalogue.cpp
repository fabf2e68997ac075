#include "module/catalogue.h"

#include "filters/decoders.h"
#include "filters/zeta_encoder.h"
#include "filters/zeta_property_page.h"
#include "module/class_creation.h"
#include "platform/fourcc.h"

namespace nyx {
namespace {

/// What decoders register with: the graph's intelligent connect tries them before those of normal
/// merit.
constexpr DWORD kDecoderMerit = MERIT_PREFERRED;
static_assert(kDecoderMerit == 0x00800000);

/// A class whose objects bear its friendly name.
constexpr ClassIdentity Named(const wchar_t* name, const CLSID& clsid) {
    return {name, name, clsid};
}

constexpr ClassIdentity kDv25Decoder =
    Named(L"Rokka DV Decoder",
          {0x194BF9E2, 0x3566, 0x43C0, {0xAA, 0x21, 0xEE, 0xC7, 0x27, 0x8E, 0xA7, 0xD8}});
constexpr ClassIdentity kDv50Decoder = {
    L"DVCPRO50 Decoder",
    L"Rokka DV Decoder",
    {0xB3106B88, 0x8D62, 0x4B34, {0x8F, 0xDF, 0x6C, 0xA7, 0x86, 0x7B, 0xB9, 0x9F}}};
constexpr ClassIdentity kDvHdDecoder = {
    L"DVCPRO HD Decoder",
    L"Rokka DV Decoder",
    {0x43749036, 0x6EBA, 0x4A63, {0x9B, 0x9B, 0x2E, 0xDC, 0x0D, 0x07, 0x3B, 0x2B}}};
constexpr ClassIdentity kZetaDecoder =
    Named(L"Rokka Zeta Decoder",
          {0xF8C71073, 0x10DB, 0x4DFF, {0x8E, 0xA6, 0xCE, 0xA2, 0x64, 0x00, 0xAF, 0xFB}});
constexpr ClassIdentity kLosslessDecoder =
    Named(L"Rokka Lossless Decoder",
          {0x9770AADC, 0x2F6D, 0x4586, {0x90, 0x59, 0xF8, 0x47, 0xE4, 0x6D, 0x38, 0x33}});
constexpr ClassIdentity kMpegIntraDecoder =
    Named(L"Rokka MPEG2-Intra Decoder",
          {0x48BC3ED7, 0x498D, 0x4F7C, {0xA1, 0x21, 0xEE, 0x72, 0xA9, 0xEF, 0xC4, 0x83}});
constexpr ClassIdentity kZeta2Decoder =
    Named(L"Rokka Zeta2 Decoder",
          {0x05B95B6B, 0xC3CD, 0x4B91, {0xAF, 0x3B, 0xBB, 0xBB, 0x7D, 0xF6, 0x4C, 0xD0}});
constexpr ClassIdentity kTenBitDecoder =
    Named(L"Rokka Q210 Decoder",
          {0x3D1F4E99, 0x3ADF, 0x471E, {0x8C, 0x1A, 0xB7, 0xD6, 0x78, 0xB4, 0xA2, 0x38}});
constexpr ClassIdentity kZetaEncoder =
    Named(L"Rokka Zeta Encoder",
          {0xF891D31F, 0x209D, 0x4AF8, {0xAE, 0xBC, 0xFF, 0x24, 0x72, 0xBC, 0x14, 0xC3}});
constexpr ClassIdentity kZetaProp =
    Named(L"Rokka Zeta Encoder Property Page", kZetaPropertyPageClsid);

template <DWORD fourcc>
constexpr GUID kCoded = FourCCSubtype(fourcc);
constexpr GUID kAnyVideo = {};

/// What a pin registers: major type Video with each of `subtypes`.
template <const GUID&... subtypes>
struct Types {
    static constexpr AMOVIESETUP_MEDIATYPE kRows[] = {{&MEDIATYPE_Video, &subtypes}...};
};

// The records hold names as writable text.
wchar_t inputName[] = L"Input";
wchar_t outputName[] = L"Output";

template <UINT count>
constexpr AMOVIESETUP_PIN Pin(wchar_t* name, BOOL isOutput,
                              const AMOVIESETUP_MEDIATYPE (&types)[count]) {
    return {name, FALSE, isOutput, FALSE, FALSE, nullptr, nullptr, count, types};
}

template <class Input, class Output>
constexpr AMOVIESETUP_PIN kPins[] = {Pin(inputName, FALSE, Input::kRows),
                                     Pin(outputName, TRUE, Output::kRows)};

template <const ClassIdentity& identity, DWORD merit, class Input, class Output>
constexpr AMOVIESETUP_FILTER kSetup = {&identity.clsid, identity.friendlyName, merit, 2,
                                       kPins<Input, Output>};

constexpr CFactoryTemplate Class(const ClassIdentity& identity, LPFNNewCOMObject create,
                                 const AMOVIESETUP_FILTER* setup) {
    return {identity.friendlyName, &identity.clsid, create, setup};
}

template <class Filter, const ClassIdentity& identity, DWORD fourcc>
constexpr CFactoryTemplate Decoder() {
    return Class(identity, CreateFilter<Filter, identity, kEngineForDecoding>,
                 &kSetup<identity, kDecoderMerit, Types<kCoded<fourcc>>, Types<kAnyVideo>>);
}

constexpr AMOVIESETUP_FILTER kEncoderSetup =
    kSetup<kZetaEncoder, MERIT_DO_NOT_USE, Types<MEDIASUBTYPE_YUY2, MEDIASUBTYPE_RGB32>,
           Types<kCoded<FourCC("QZTA")>>>;

}  // namespace

const AMOVIESETUP_FILTER& kZetaEncoderSetup = kEncoderSetup;

}  // namespace nyx

using namespace nyx;

CFactoryTemplate g_Templates[] = {
    Decoder<CDv25Decoder, kDv25Decoder, FourCC("QDVC")>(),
    Decoder<CDv50Decoder, kDv50Decoder, FourCC("QDV5")>(),
    Decoder<CDvHdDecoder, kDvHdDecoder, FourCC("QDVH")>(),
    Decoder<CZetaDecoder, kZetaDecoder, FourCC("QZTA")>(),
    Decoder<CLosslessDecoder, kLosslessDecoder, FourCC("QLLC")>(),
    Decoder<CMpegIntraDecoder, kMpegIntraDecoder, FourCC("QMIC")>(),
    Decoder<CZeta2Decoder, kZeta2Decoder, FourCC("QZT2")>(),
    Decoder<CTenBitDecoder, kTenBitDecoder, FourCC("Q210")>(),
    Class(kZetaEncoder, CreateFilter<CZetaEncoder, kZetaEncoder, kEngineForEncoding>,
          &kEncoderSetup),
    Class(kZetaProp, CreateObject<CZetaProp, kZetaProp>, nullptr),
};
int g_cTemplates = ARRAYSIZE(g_Templates);
