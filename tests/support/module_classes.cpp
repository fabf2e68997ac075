#include "tests/support/module_classes.h"

#include "platform/fourcc.h"
#include "tests/support/media_type.h"

namespace nyx::test {
namespace {

constexpr DWORD kDecoderMerit = 0x00800000;

ModuleClass Decoder(const wchar_t* name, DWORD fourcc, bool needsEngine, const CLSID& clsid) {
    return {clsid, name, true, kDecoderMerit, {FourCCSubtype(fourcc)}, false, needsEngine};
}

}  // namespace

const std::vector<ModuleClass>& ModuleClasses() {
    static const std::vector<ModuleClass> classes = {
        Decoder(L"Rokka DV Decoder", FourCC("QDVC"), true,
                {0x194BF9E2, 0x3566, 0x43C0, {0xAA, 0x21, 0xEE, 0xC7, 0x27, 0x8E, 0xA7, 0xD8}}),
        Decoder(L"DVCPRO50 Decoder", FourCC("QDV5"), true,
                {0xB3106B88, 0x8D62, 0x4B34, {0x8F, 0xDF, 0x6C, 0xA7, 0x86, 0x7B, 0xB9, 0x9F}}),
        Decoder(L"DVCPRO HD Decoder", FourCC("QDVH"), true,
                {0x43749036, 0x6EBA, 0x4A63, {0x9B, 0x9B, 0x2E, 0xDC, 0x0D, 0x07, 0x3B, 0x2B}}),
        Decoder(L"Rokka Zeta Decoder", FourCC("QZTA"), true,
                {0xF8C71073, 0x10DB, 0x4DFF, {0x8E, 0xA6, 0xCE, 0xA2, 0x64, 0x00, 0xAF, 0xFB}}),
        Decoder(L"Rokka Lossless Decoder", FourCC("QLLC"), true,
                {0x9770AADC, 0x2F6D, 0x4586, {0x90, 0x59, 0xF8, 0x47, 0xE4, 0x6D, 0x38, 0x33}}),
        Decoder(L"Rokka MPEG2-Intra Decoder", FourCC("QMIC"), true,
                {0x48BC3ED7, 0x498D, 0x4F7C, {0xA1, 0x21, 0xEE, 0x72, 0xA9, 0xEF, 0xC4, 0x83}}),
        Decoder(L"Rokka Zeta2 Decoder", FourCC("QZT2"), true,
                {0x05B95B6B, 0xC3CD, 0x4B91, {0xAF, 0x3B, 0xBB, 0xBB, 0x7D, 0xF6, 0x4C, 0xD0}}),
        Decoder(L"Rokka Q210 Decoder", FourCC("Q210"), false,
                {0x3D1F4E99, 0x3ADF, 0x471E, {0x8C, 0x1A, 0xB7, 0xD6, 0x78, 0xB4, 0xA2, 0x38}}),
        {{0xF891D31F, 0x209D, 0x4AF8, {0xAE, 0xBC, 0xFF, 0x24, 0x72, 0xBC, 0x14, 0xC3}},
         L"Rokka Zeta Encoder",
         true,
         MERIT_DO_NOT_USE,
         {MEDIASUBTYPE_YUY2, MEDIASUBTYPE_RGB32},
         true,
         true},
        {{0x55B150FB, 0x86E8, 0x4B96, {0x98, 0x49, 0x73, 0xB7, 0x6D, 0x26, 0x0D, 0x2A}},
         L"Rokka Zeta Encoder Property Page",
         false,
         0,
         {},
         false,
         false},
    };
    return classes;
}

}  // namespace nyx::test
