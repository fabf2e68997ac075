#include "shell/footage_properties.h"

#include <initguid.h>
#include <propkey.h>

#include <string>

#include "shell/decoders.h"

namespace nyx::shell {
namespace {

using source::StreamFormat;

/// Stores values of the types that the keys are documented with; keeps the first failure.
class Writer {
  public:
    explicit Writer(IPropertyStore* store) : store_(store) {}

    void Number(REFPROPERTYKEY key, std::int64_t number) {
        PROPVARIANT value{};
        value.vt = VT_UI4;
        value.ulVal = static_cast<ULONG>(std::clamp<std::int64_t>(number, 0, UINT32_MAX));
        Store(key, value);
    }
    void LongNumber(REFPROPERTYKEY key, std::int64_t number) {
        PROPVARIANT value{};
        value.vt = VT_UI8;
        value.uhVal.QuadPart = static_cast<ULONGLONG>(number);
        Store(key, value);
    }
    void Text(REFPROPERTYKEY key, const std::wstring& text) {
        PROPVARIANT value{};
        value.vt = VT_LPWSTR;
        value.pwszVal = const_cast<LPWSTR>(text.c_str());  // copied
        Store(key, value);
    }
    HRESULT result() const { return result_; }

  private:
    void Store(REFPROPERTYKEY key, const PROPVARIANT& value) {
        const HRESULT stored = store_->SetValue(key, value);
        result_ = SUCCEEDED(result_) ? stored : result_;
    }

    IPropertyStore* const store_;
    HRESULT result_ = S_OK;
};

std::wstring Counted(std::int64_t count, const wchar_t* what) {
    return std::to_wstring(count) + L" " + what + (count == 1 ? L" stream" : L" streams");
}

/// "Timecode 01:00:00:00, 1 video stream, 4 audio streams"; the timecode is that of the first
/// picture.
std::wstring Summary(const source::FootageFile& file) {
    const std::string timecode = file.Tag("timecode");
    std::wstring text = timecode.empty() ? L"" : L"Timecode ";
    text.append(timecode.begin(), timecode.end());  // ASCII: libavformat writes it
    const AVFormatContext& all = file.container();
    for (const auto& [kind, name] :
         {std::pair(AVMEDIA_TYPE_VIDEO, L"video"), {AVMEDIA_TYPE_AUDIO, L"audio"}}) {
        const auto count = std::count_if(
            all.streams, all.streams + all.nb_streams,
            [&](const AVStream* stream) { return stream->codecpar->codec_type == kind; });
        text += count == 0 ? L"" : (text.empty() ? L"" : L", ") + Counted(count, name);
    }
    return text;
}

void WriteVideo(const source::FootageFile& file, const source::VideoFormat& video, Writer* to) {
    const REFERENCE_TIME duration = file.duration();
    to->Number(PKEY_Video_FrameWidth, video.width);
    to->Number(PKEY_Video_FrameHeight, video.height);
    to->Number(PKEY_Video_FrameRate, av_rescale(1000, video.rate.num, video.rate.den));
    to->Number(PKEY_Video_FourCC, video.fourcc);
    to->Text(PKEY_Video_Compression, CompressionName(video.fourcc));
    if (video.bitRate > 0) {
        to->Number(PKEY_Video_EncodingBitrate, video.bitRate);
    }
    if (duration > 0) {
        to->Number(PKEY_Video_TotalBitrate, av_rescale(file.size(), 80000000, duration));
    }
}

/// Of all streams of audio: cameras store each channel as one.
void WriteAudio(const std::vector<StreamFormat>& streams, Writer* to) {
    std::int64_t channels = 0;
    const source::AudioFormat* first = nullptr;
    for (const StreamFormat& stream : streams) {
        if (!stream.video) {
            channels += stream.audio.channels;
            first = first ? first : &stream.audio;
        }
    }
    if (first) {
        to->Number(PKEY_Audio_ChannelCount, channels);
        to->Number(PKEY_Audio_SampleRate, first->rate);
        to->Number(PKEY_Audio_SampleSize, first->pcm.storedBytes * 8);
    }
}

}  // namespace

CUnknown* WINAPI FootageProperties::Create(IUnknown* outer, HRESULT*) {
    return new FootageProperties(NAME("Nyx footage properties"), outer);
}

HRESULT STDMETHODCALLTYPE FootageProperties::NonDelegatingQueryInterface(REFIID iid,
                                                                         void** object) {
    if (iid == __uuidof(IPropertyStore)) {
        return GetInterface(static_cast<IPropertyStore*>(this), object);
    }
    if (iid == __uuidof(IPropertyStoreCapabilities)) {
        return GetInterface(static_cast<IPropertyStoreCapabilities*>(this), object);
    }
    return FootageObject::NonDelegatingQueryInterface(iid, object);
}

HRESULT FootageProperties::Begin() {
    source::FootageFile file;
    const TimedBytes* time = nullptr;
    std::unique_ptr<source::ByteSource> bytes;
    HRESULT result = OpenBytes(&bytes);
    result = SUCCEEDED(result) ? OpenInTime(std::move(bytes), &file, &time) : result;
    CloseFile();  // the shell may keep the properties for long
    ComPtr<IPropertyStore> store;
    if (SUCCEEDED(result)) {
        result = PSCreateMemoryPropertyStore(IID_PPV_ARGS(&store));
    }
    if (FAILED(result)) {
        return result;
    }
    Writer to(store.Get());
    to.LongNumber(PKEY_Media_Duration, file.duration());
    if (file.streams().front().video) {
        WriteVideo(file, *file.streams().front().video, &to);
    }
    WriteAudio(file.streams(), &to);
    to.Text(PKEY_Comment, Summary(file));
    store_ = SUCCEEDED(to.result()) ? store : nullptr;
    return to.result();
}

ComPtr<IPropertyStore> FootageProperties::Store() {
    CAutoLock lock(&lock_);
    return store_;
}

HRESULT STDMETHODCALLTYPE FootageProperties::GetCount(DWORD* count) {
    const auto store = Store();
    return store ? store->GetCount(count) : E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE FootageProperties::GetAt(DWORD index, PROPERTYKEY* key) {
    const auto store = Store();
    return store ? store->GetAt(index, key) : E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE FootageProperties::GetValue(REFPROPERTYKEY key, PROPVARIANT* value) {
    const auto store = Store();
    return store ? store->GetValue(key, value) : E_UNEXPECTED;
}

}  // namespace nyx::shell
