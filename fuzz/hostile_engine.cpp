#include "fuzz/hostile_engine.h"

#include <cstddef>
#include <cstring>

#include "codecs/engine_guard.h"
#include "codecs/engine_library.h"
#include "codecs/engine_records.h"
#include "fuzz/byte_source.h"

namespace nyx {
namespace fuzz {

EngineScript engineScript;

namespace {

int decodeCalls = 0;

/// A fault of the engine, as far as this side of the guard can show one.
struct EngineFault {};

/// Fills the picture as an engine does: rows of the compressed width.
void FillPicture(void* destination, LONG stride, LONG bytesPerPixel) {
    ++decodeCalls;
    const LONG rows = engineScript.throwsInDecode ? engineScript.height / 2 : engineScript.height;
    for (LONG y = 0; y < rows; ++y) {
        std::memset(
            static_cast<BYTE*>(destination) + std::ptrdiff_t{y} * stride, 0x77,
            static_cast<std::size_t>(engineScript.width) * static_cast<std::size_t>(bytesPerPixel));
    }
    if (engineScript.throwsInDecode) {
        throw EngineFault();
    }
}

void RequireFrame(const void* frame, DWORD length) {
    Require(frame == engineScript.frame.data() && length == engineScript.frame.size());
}

void AnswerProbe() {
    if (engineScript.throwsInProbe) {
        throw EngineFault();
    }
}

LONG __stdcall CoreDecode(void* call) {
    auto* record = static_cast<ZetaCoreDecodeRecord*>(call);
    if (record->command == kCommandProbe) {
        Require(record->frame == engineScript.frame.data());
        record->codedLength = engineScript.codedLength;
        AnswerProbe();
        return 0;
    }
    RequireFrame(record->frame, record->codedLength);
    FillPicture(record->destination, record->stride, record->bytesPerPixel);
    return 0;
}

LONG __stdcall AlphaDecode(void* call) {
    const LONG command = *static_cast<LONG*>(call);
    if (command == kCommandProbe) {
        auto* record = static_cast<ZetaAlphaProbeRecord*>(call);
        Require(record->frame == engineScript.frame.data());
        record->codedLength = engineScript.codedLength;
        AnswerProbe();
        return 0;
    }
    auto* record = static_cast<ZetaAlphaDecodeRecord*>(call);
    Require(record->frame == engineScript.frame.data());
    FillPicture(record->destination, record->stride, record->bytesPerPixel);
    return 0;
}

LONG __stdcall Zeta2Decode(void* call) {
    auto* record = static_cast<Zeta2DecodeRecord*>(call);
    if (!record->plane) {
        Require(record->frame == engineScript.frame.data());
        record->codedLength = engineScript.codedLength;
        record->alphaKind = engineScript.alphaKind;
        AnswerProbe();
        return 0;
    }
    RequireFrame(record->frame, record->codedLength);
    // The record has no bytes per pixel: the picture's rows are as far apart as they are long.
    const LONG stride = record->plane->stride;
    const LONG row = stride < 0 ? -stride : stride;
    FillPicture(record->plane->data, stride, engineScript.width > 0 ? row / engineScript.width : 0);
    return 0;
}

// No encode entries: nothing here encodes.
constexpr EngineDescription kZetaTable[] = {{L"core", nullptr, "core", 0},
                                            {L"alpha", nullptr, "alpha", 0}};
constexpr EngineDescription kZeta2Table[] = {{L"zeta2", nullptr, "zeta2", 0}};

using DecodeEntry = LONG(__stdcall*)(void*);

DecodeEntry EntryOf(const EngineDescription& engine) {
    if (&engine == &kZetaTable[kZetaCoreEngine]) {
        return &CoreDecode;
    }
    return &engine == &kZetaTable[kZetaAlphaEngine] ? &AlphaDecode : &Zeta2Decode;
}

EngineFamily zetaFamily(kZetaTable);
EngineFamily zeta2Family(kZeta2Table);

}  // namespace

int TakeDecodeCalls() {
    const int calls = decodeCalls;
    decodeCalls = 0;
    return calls;
}

}  // namespace fuzz

void EngineBinding::Load(const EngineDescription& engine) {
    decode_ = reinterpret_cast<void*>(fuzz::EntryOf(engine));
}

void EngineFamily::Join() {
    instances_ = instances_ + 1;
    for (std::size_t i = 0; i < count_; ++i) {
        bindings_[i].Load(engines_[i]);
    }
}

void EngineFamily::Leave() {
    instances_ = instances_ - 1;
}

bool EngineFamily::IsComplete() const {
    return true;
}

EngineFamily& ZetaEngines() {
    return fuzz::zetaFamily;
}

EngineFamily& Zeta2Engines() {
    return fuzz::zeta2Family;
}

HRESULT CallGuarded(void (*function)(void* context), void* context) {
    try {
        function(context);
        return S_OK;
    } catch (...) {
        return E_FAIL;
    }
}

void RaiseCallbackFailure() {
    std::abort();
}

}  // namespace nyx
