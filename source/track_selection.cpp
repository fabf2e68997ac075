/// @file
/// FootageSource's tracks of audio.

#include "platform/com.h"
#include "source/source_filter.h"

namespace nyx::source {

HRESULT STDMETHODCALLTYPE FootageSource::Count(DWORD* count) {
    CheckPointer(count, E_POINTER);
    for (*count = 0; AudioPin(static_cast<long>(*count));) {
        ++*count;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FootageSource::Info(long index, AM_MEDIA_TYPE** type, DWORD* flags,
                                              LCID* language, DWORD* group, LPWSTR* name,
                                              IUnknown** object, IUnknown** unknown) {
    constexpr DWORD kAudioGroup = 1;  // hosts expect pictures in group 0
    SourcePin* pin = AudioPin(index);
    if (!pin) {
        return S_FALSE;
    }
    CMediaType offered;
    HRESULT result = pin->GetMediaType(0, &offered);
    if (type && SUCCEEDED(result)) {
        *type = CreateMediaType(&offered);
        result = *type ? S_OK : E_OUTOFMEMORY;
    }
    if (name && SUCCEEDED(result)) {
        result = AMGetWideString(pin->Name(), name);
        if (FAILED(result) && type) {
            DeleteMediaType(std::exchange(*type, nullptr));
        }
    }
    if (FAILED(result)) {
        return result;
    }
    const auto store = [](auto* to, auto value) {
        if (to) {
            *to = value;
        }
    };
    store(flags, pin->isAudible() ? DWORD{AMSTREAMSELECTINFO_ENABLED} : 0);
    store(language, LCID{0});
    store(group, kAudioGroup);
    store(unknown, nullptr);
    return object ? GetInterface(static_cast<IPin*>(pin), reinterpret_cast<void**>(object)) : S_OK;
}

HRESULT STDMETHODCALLTYPE FootageSource::Enable(long index, DWORD flags) {
    if (!AudioPin(index) || flags > AMSTREAMSELECTENABLE_ENABLEALL) {
        return E_INVALIDARG;
    }
    for (long at = 0; SourcePin* pin = AudioPin(at); ++at) {
        const bool chosen = flags == AMSTREAMSELECTENABLE_ENABLE && at == index;
        pin->SetAudible(chosen || flags == AMSTREAMSELECTENABLE_ENABLEALL);
    }
    return S_OK;
}

}  // namespace nyx::source
