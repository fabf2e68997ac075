#include "shell/footage_handler.h"

#include <shlwapi.h>

#include <initguid.h>
#include <propkey.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "media/video_block.h"
#include "shell/stream_bytes.h"

namespace nyx::shell {
namespace {

HRESULT CopyToBitmap(const Picture& picture, HBITMAP* bitmap) {
    BITMAPINFO format{};
    format.bmiHeader = PictureHeader(picture.width, -picture.height, 32, BI_RGB, 0);
    void* bits = nullptr;
    HBITMAP made = CreateDIBSection(nullptr, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (made) {
        std::copy(picture.pixels.begin(), picture.pixels.end(), static_cast<BYTE*>(bits));
    }
    *bitmap = made;
    return made ? S_OK : E_OUTOFMEMORY;
}

/// "Timecode 01:00:00:00; streams: 1 video, 4 audio". The timecode is the first picture's.
std::wstring Summary(const source::FootageFile& file) {
    const std::string timecode = file.Tag("timecode");  // ASCII: libavformat writes it
    std::wstring text(timecode.begin(), timecode.end());
    text = text.empty() ? L"" : L"Timecode " + text + L"; ";
    int video = 0, audio = 0;
    for (unsigned i = 0; i < file.container().nb_streams; ++i) {
        const AVMediaType kind = file.container().streams[i]->codecpar->codec_type;
        video += kind == AVMEDIA_TYPE_VIDEO ? 1 : 0;
        audio += kind == AVMEDIA_TYPE_AUDIO ? 1 : 0;
    }
    return text + L"streams: " + std::to_wstring(video) + L" video, " + std::to_wstring(audio) +
           L" audio";
}

}  // namespace

HRESULT STDMETHODCALLTYPE FootageHandler::NonDelegatingQueryInterface(REFIID iid, void** object) {
    const QITAB interfaces[] = {QITABENT(FootageHandler, IInitializeWithStream),
                                QITABENT(FootageHandler, IInitializeWithFile),
                                QITABENT(FootageHandler, IThumbnailProvider),
                                QITABENT(FootageHandler, IPropertyStore),
                                QITABENT(FootageHandler, IPropertyStoreCapabilities),
                                {}};
    return iid == IID_IUnknown ? CUnknown::NonDelegatingQueryInterface(iid, object)
                               : QISearch(this, interfaces, iid, object);
}

HRESULT STDMETHODCALLTYPE FootageHandler::Initialize(IStream* stream, DWORD) {
    CheckPointer(stream, E_INVALIDARG);
    if (stream_) {
        return HRESULT_FROM_WIN32(ERROR_ALREADY_INITIALIZED);
    }
    stream_ = stream;
    read_ = S_FALSE;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FootageHandler::Initialize(LPCWSTR path, DWORD mode) {
    CheckPointer(path, E_INVALIDARG);
    ComPtr<IStream> stream;
    const HRESULT opened =
        SHCreateStreamOnFileEx(path, STGM_READ | STGM_SHARE_DENY_NONE, 0, FALSE, nullptr, &stream);
    return SUCCEEDED(opened) ? Initialize(stream.Get(), mode) : opened;
}

HRESULT STDMETHODCALLTYPE FootageHandler::GetThumbnail(UINT size, HBITMAP* bitmap,
                                                       WTS_ALPHATYPE* alpha) try {
    CheckPointer(bitmap, E_POINTER);
    CheckPointer(alpha, E_POINTER);
    CheckPointer(stream_, E_UNEXPECTED);
    *bitmap = nullptr;
    *alpha = WTSAT_RGB;
    Picture picture;
    const HRESULT made = MakeThumbnail(std::make_unique<StreamBytes>(stream_),
                                       static_cast<LONG>(std::min<UINT>(size, kMaxThumbnail)),
                                       DecodeByCodec, &picture);
    return SUCCEEDED(made) ? CopyToBitmap(picture, bitmap) : made;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

/// Stores values of the types that their keys are documented with.
HRESULT FootageHandler::ReadProperties() {
    HRESULT result = PSCreateMemoryPropertyStore(IID_PPV_ARGS(store_.ReleaseAndGetAddressOf()));
    auto bytes = std::make_unique<StreamBytes>(stream_);
    const StreamBytes& clock = *bytes;
    source::FootageFile file;
    result = SUCCEEDED(result) ? file.Open(std::move(bytes)) : result;
    if (FAILED(result) || clock.isOver()) {  // what is read late may lack its end
        return FAILED(result) ? result : HRESULT_FROM_WIN32(ERROR_TIMEOUT);
    }
    const auto put = [&](REFPROPERTYKEY key, VARTYPE type, auto content) {
        PROPVARIANT value{};
        value.vt = type;
        std::memcpy(&value.hVal, &content, sizeof(content));  // a number begins with its low half
        const HRESULT stored = store_->SetValue(key, value);
        result = SUCCEEDED(result) ? stored : result;
    };
    const REFERENCE_TIME duration = file.duration();
    put(PKEY_Media_Duration, VT_UI8, duration);
    put(PKEY_Comment, VT_LPWSTR, Summary(file).c_str());
    int channels = 0;  // of all streams: cameras store each channel as one
    for (const source::StreamFormat& stream : file.streams()) {
        if (!stream.video) {
            put(PKEY_Audio_ChannelCount, VT_UI4, channels += stream.audio.channels);
            put(PKEY_Audio_SampleRate, VT_UI4, stream.audio.rate);
            put(PKEY_Audio_SampleSize, VT_UI4, stream.audio.pcm.storedBytes * 8);
        }
    }
    if (const auto& video = file.streams().front().video) {
        put(PKEY_Video_FrameWidth, VT_UI4, video->width);
        put(PKEY_Video_FrameHeight, VT_UI4, video->height);
        put(PKEY_Video_FrameRate, VT_UI4, av_rescale(1000, video->rate.num, video->rate.den));
        put(PKEY_Video_FourCC, VT_UI4, video->fourcc);
        put(PKEY_Video_Compression, VT_LPWSTR, CompressionName(video->fourcc));
        if (duration > 0) {
            put(PKEY_Video_TotalBitrate, VT_UI4,
                std::min<std::int64_t>(av_rescale(file.size(), 80000000, duration), UINT32_MAX));
        }
    }
    return result;
}

bool FootageHandler::IsRead() try {
    read_ = read_ == S_FALSE ? ReadProperties() : read_;
    return SUCCEEDED(read_);
} catch (const std::bad_alloc&) {
    read_ = E_OUTOFMEMORY;
    return false;
}

}  // namespace nyx::shell
