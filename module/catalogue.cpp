/// @file
/// The classes and their pins in one table, the class factory's.

#include <new>

#include "filters/decoders.h"
#include "filters/zeta_encoder.h"
#include "filters/zeta_property_page.h"
#include "platform/decoders.h"

namespace nyx {
namespace {

/// The merit of the decoders: intelligent connect tries them before filters of normal merit.
constexpr DWORD kDecoderMerit = MERIT_PREFERRED;
static_assert(kDecoderMerit == 0x00800000);

/// A class's names for COM, the user and a filter graph.
struct ClassIdentity {
    const wchar_t* friendlyName;
    const wchar_t* objectName;  ///< the name that the object itself gets
    CLSID clsid;
    DWORD fourcc = 0;  ///< of a decoder
};

/// A class whose objects have its friendly name.
constexpr ClassIdentity Named(const wchar_t* name, const CLSID& clsid) {
    return {name, name, clsid};
}

constexpr ClassIdentity DecoderNamed(const wchar_t* name, DWORD fourcc,
                                     const wchar_t* objectName = nullptr) {
    return {name, objectName ? objectName : name, *DecoderOf(fourcc), fourcc};
}

constexpr wchar_t kDvName[] = L"Rokka DV Decoder";
constexpr ClassIdentity kDv25 = DecoderNamed(kDvName, FourCC("QDVC"));
constexpr ClassIdentity kDv50 = DecoderNamed(L"DVCPRO50 Decoder", FourCC("QDV5"), kDvName);
constexpr ClassIdentity kDvHd = DecoderNamed(L"DVCPRO HD Decoder", FourCC("QDVH"), kDvName);
constexpr ClassIdentity kZeta = DecoderNamed(L"Rokka Zeta Decoder", FourCC("QZTA"));
constexpr ClassIdentity kLossless = DecoderNamed(L"Rokka Lossless Decoder", FourCC("QLLC"));
constexpr ClassIdentity kMpegIntra = DecoderNamed(L"Rokka MPEG2-Intra Decoder", FourCC("QMIC"));
constexpr ClassIdentity kZeta2 = DecoderNamed(L"Rokka Zeta2 Decoder", FourCC("QZT2"));
constexpr ClassIdentity kTenBit = DecoderNamed(L"Rokka Q210 Decoder", FourCC("Q210"));
constexpr ClassIdentity kZetaEncoder = Named(L"Rokka Zeta Encoder", CLSID_NyxZetaEncoder);
constexpr ClassIdentity kZetaProp =
    Named(L"Rokka Zeta Encoder Property Page", CLSID_NyxZetaPropertyPage);

template <DWORD fourcc>
constexpr GUID kCoded = FourCCSubtype(fourcc);
constexpr GUID kAnyVideo = {};

/// The registered types of a pin: major type Video with each of `subtypes`.
template <const GUID&... subtypes>
struct Types {
    static constexpr AMOVIESETUP_MEDIATYPE kRows[] = {{&MEDIATYPE_Video, &subtypes}...};
};

// The records hold names as non-const text.
wchar_t inputName[] = L"Input";
wchar_t outputName[] = L"Output";

template <class Input, class Output>
constexpr AMOVIESETUP_PIN kPins[] = {SetupPin(inputName, FALSE, FALSE, Input::kRows),
                                     SetupPin(outputName, TRUE, FALSE, Output::kRows)};

template <const ClassIdentity& identity, DWORD merit, class Input, class Output,
          const CLSID* category = nullptr>
constexpr AMOVIESETUP_FILTER kSetup = {.clsID = &identity.clsid,
                                       .strName = identity.friendlyName,
                                       .dwMerit = merit,
                                       .nPins = 2,
                                       .lpPin = kPins<Input, Output>,
                                       .clsCategory = category};

/// The creation function of a filter class, for the class factory. Construction binds the engine;
/// without an engine the new object is destroyed. Null with `E_OUTOFMEMORY` both for a failed
/// allocation and for a missing engine.
template <class Filter, const ClassIdentity& identity, EngineMode mode>
CUnknown* WINAPI CreateFilter(IUnknown* outer, HRESULT* result) {
    Filter* filter = new (std::nothrow) Filter(identity.objectName, outer, identity.clsid);
    if (filter && Filter::IsEngineAvailable(mode)) {
        return filter;
    }
    delete filter;
    *result = E_OUTOFMEMORY;
    return nullptr;
}

/// The creation function of a class without an engine. Null with `E_OUTOFMEMORY` without memory.
template <class Object, const ClassIdentity& identity>
CUnknown* WINAPI CreateObject(IUnknown* outer, HRESULT* result) {
    Object* object = new (std::nothrow) Object(identity.objectName, outer);
    if (!object) {
        *result = E_OUTOFMEMORY;
    }
    return object;
}

constexpr CFactoryTemplate Class(const ClassIdentity& identity, LPFNNewCOMObject create,
                                 const AMOVIESETUP_FILTER* setup) {
    return {identity.friendlyName, &identity.clsid, create, setup};
}

template <class Filter, const ClassIdentity& identity>
constexpr CFactoryTemplate Decoder() {
    return Class(
        identity, CreateFilter<Filter, identity, kEngineForDecoding>,
        &kSetup<identity, kDecoderMerit, Types<kCoded<identity.fourcc>>, Types<kAnyVideo>>);
}

constexpr AMOVIESETUP_FILTER kEncoderSetup =
    kSetup<kZetaEncoder, MERIT_DO_NOT_USE, Types<MEDIASUBTYPE_YUY2, MEDIASUBTYPE_RGB32>,
           Types<kCoded<kZeta.fourcc>>, &CLSID_VideoCompressorCategory>;

}  // namespace
}  // namespace nyx

using namespace nyx;

CFactoryTemplate g_Templates[] = {
    Decoder<CDv25Decoder, kDv25>(),
    Decoder<CDv50Decoder, kDv50>(),
    Decoder<CDvHdDecoder, kDvHd>(),
    Decoder<CZetaDecoder, kZeta>(),
    Decoder<CLosslessDecoder, kLossless>(),
    Decoder<CMpegIntraDecoder, kMpegIntra>(),
    Decoder<CZeta2Decoder, kZeta2>(),
    Decoder<CTenBitDecoder, kTenBit>(),
    Class(kZetaEncoder, CreateFilter<CZetaEncoder, kZetaEncoder, kEngineForEncoding>,
          &kEncoderSetup),
    Class(kZetaProp, CreateObject<CZetaProp, kZetaProp>, nullptr),
};
int g_cTemplates = ARRAYSIZE(g_Templates);
