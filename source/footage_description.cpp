#include "source/footage_description.h"

#include <oleauto.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <new>
#include <utility>

#include "baseclasses/streams.h"
#include "platform/com.h"

namespace nyx::source {

void FootageDescription::Describe(Opened opened) {
    const std::lock_guard lock(mutex_);
    opened_ = std::move(opened);
}

/// An empty text gives `S_FALSE`.
HRESULT FootageDescription::StoreText(std::string FootageFacts::*text, BSTR* to) {
    CheckPointer(to, E_POINTER);
    *to = nullptr;
    const std::lock_guard lock(mutex_);
    if (!opened_) {
        return VFW_E_WRONG_STATE;
    }
    const std::string& from = opened_->facts.*text;
    const int length = static_cast<int>(from.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, from.data(), length, nullptr, 0);
    *to = SysAllocStringLen(nullptr, static_cast<UINT>(units));
    if (!*to) {
        return E_OUTOFMEMORY;
    }
    MultiByteToWideChar(CP_UTF8, 0, from.data(), length, *to, units);
    return units > 0 ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetContainer(BSTR* name) {
    return StoreText(&FootageFacts::container, name);
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetReelName(BSTR* name) {
    return StoreText(&FootageFacts::reel, name);
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetClipName(BSTR* name) {
    return StoreText(&FootageFacts::clip, name);
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetTimecode(LONGLONG position, NyxTimecode* timecode,
                                                          NyxTimecodeOrigin* origin) try {
    CheckPointer(timecode, E_POINTER);
    CheckPointer(origin, E_POINTER);
    *timecode = {};
    *origin = NyxTimecodeNone;
    const std::lock_guard lock(mutex_);
    if (!opened_) {
        return VFW_E_WRONG_STATE;
    }
    const REFERENCE_TIME last = std::max<REFERENCE_TIME>(opened_->duration - 1, 0);
    const REFERENCE_TIME time = std::clamp<REFERENCE_TIME>(position, 0, last);
    if (const auto& track = opened_->facts.timecode) {
        *timecode = CountTimecode(*track, time);
        *origin = NyxTimecodeContainer;
    } else if (const auto found = opened_->dv ? frames_.Read(opened_->path, time) : std::nullopt) {
        *timecode = *found;
        *origin = NyxTimecodeFrame;
    }
    return *origin == NyxTimecodeNone ? S_FALSE : S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetFrameRate(DWORD* numerator, DWORD* denominator) {
    CheckPointer(numerator, E_POINTER);
    CheckPointer(denominator, E_POINTER);
    const std::lock_guard lock(mutex_);
    const AVRational rate = opened_ ? opened_->rate : AVRational{};
    *numerator = static_cast<DWORD>(rate.num);
    *denominator = static_cast<DWORD>(rate.den);
    return !opened_ ? VFW_E_WRONG_STATE : rate.num > 0 ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetStreamCount(DWORD* count) {
    CheckPointer(count, E_POINTER);
    const std::lock_guard lock(mutex_);
    *count = opened_ ? static_cast<DWORD>(opened_->facts.streams.size()) : 0;
    return opened_ ? S_OK : VFW_E_WRONG_STATE;
}

HRESULT STDMETHODCALLTYPE FootageDescription::GetStream(DWORD index, NyxStreamInfo* info) {
    CheckPointer(info, E_POINTER);
    *info = {};
    const std::lock_guard lock(mutex_);
    if (!opened_) {
        return VFW_E_WRONG_STATE;
    }
    if (index >= opened_->facts.streams.size()) {
        return E_INVALIDARG;
    }
    const StreamFacts& stream = opened_->facts.streams[index];
    *info = {.majorType = stream.video ? MEDIATYPE_Video : MEDIATYPE_Audio,
             .fourcc = stream.fourcc,
             .pins = stream.supported ? 1u : 0u,
             .channels = static_cast<DWORD>(stream.channels),
             .samplesPerSecond = static_cast<DWORD>(stream.rate),
             .bitsPerSample = static_cast<DWORD>(stream.bits),
             .name = {}};
    constexpr std::size_t kRoom = std::size(NyxStreamInfo{}.name) - 1;
    std::copy_n(stream.name.begin(), std::min(stream.name.size(), kRoom), info->name);
    return S_OK;
}

}  // namespace nyx::source
